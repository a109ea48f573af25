#pragma once

#include <authoring/record_fields.h>
#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>
#include <mio/property.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace Tal::authoring {

/// One field of a record: its XML key and its member.
template <class Record>
struct RecordField {
  BasicStringRef key;
  std::variant<std::int32_t Record::*, float Record::*, std::string Record::*> member;
};

/// The fields of a record type, in the order of its declaration.
template <class Record>
std::span<const RecordField<Record>> recordFields() noexcept;
template <>
std::span<const RecordField<KsDestructibleModuleDesc>> recordFields() noexcept;
template <>
std::span<const RecordField<KsDestructibleFragileDesc>> recordFields() noexcept;
template <>
std::span<const RecordField<KsDestructibleFallingAtomDesc>> recordFields() noexcept;

/// The field with a key; null when the record has none.
template <class Record>
const RecordField<Record>* fieldOf(BasicStringRef key) noexcept {
  for (const RecordField<Record>& field : recordFields<Record>())
    if (field.key == key) return &field;
  return nullptr;
}

template <class Record>
FieldValue valueOf(const Record& record, const RecordField<Record>& field) {
  return std::visit([&record](auto member) { return FieldValue(record.*member); }, field.member);
}

template <class Record>
void copyField(const RecordField<Record>& field, const Record& from, Record& to) {
  std::visit([&](auto member) { to.*member = from.*member; }, field.member);
}

template <class Record>
bool isSameField(const RecordField<Record>& field, const Record& a, const Record& b) {
  return std::visit([&](auto member) { return a.*member == b.*member; }, field.member);
}

/// Whether every field is equal, numbers exactly.
template <class Record>
bool isSameRecord(const Record& a, const Record& b) {
  return std::ranges::all_of(recordFields<Record>(),
                             [&](const RecordField<Record>& field) { return isSameField(field, a, b); });
}

/// The same of the materials of a state, which are one value.
inline bool isSameRecord(const std::vector<std::string>& a, const std::vector<std::string>& b) {
  return a == b;
}

/// `theirs` with every field in which `mine` differs from `base`.
template <class Record>
Record mergedRecord(const Record& base, const Record& mine, const Record& theirs) {
  Record merged = theirs;
  for (const RecordField<Record>& field : recordFields<Record>()) {
    if (!isSameField(field, base, mine)) copyField(field, mine, merged);
  }
  return merged;
}

/// `mine` if that is not `base`, else `theirs`.
inline std::vector<std::string> mergedRecord(const std::vector<std::string>& base,
                                             const std::vector<std::string>& mine,
                                             const std::vector<std::string>& theirs) {
  return isSameRecord(mine, base) ? theirs : mine;
}

template <class Record>
std::vector<std::string> keysOf() {
  std::vector<std::string> keys;
  for (const RecordField<Record>& field : recordFields<Record>()) keys.emplace_back(field.key);
  return keys;
}

/// Every name that a field is set by: the keys, then the names that panels display.
template <class Record>
std::vector<std::string> settableNames() {
  std::vector<std::string> names = keysOf<Record>();
  Record record;
  for (const mio::BoundProperty& property : record.properties()) names.push_back(property.property()->name());
  return names;
}

}  // namespace Tal::authoring
