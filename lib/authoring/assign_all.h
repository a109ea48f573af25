#pragma once

#include <authoring/assignment.h>
#include <authoring/outcome.h>
#include <authoring/record_table.h>
#include <core/white_space.h>
#include <destructibles/panel_names.h>
#include <mio/property.h>

#include <string>
#include <utility>
#include <vector>

namespace Tal::authoring {

/// The value of an assignment as the database keeps it, without surrounding white space; a warning is added
/// when there was some. A fault when XML cannot hold the value.
Result<std::string> storedValue(const Assignment& assignment, std::vector<std::string>& warnings);

/// Puts text into a number or string. A fault, which goes on from the key, when it cannot be one.
Result<void> parseValue(const std::string& text, std::int32_t& value);
Result<void> parseValue(const std::string& text, float& value);
Result<void> parseValue(const std::string& text, std::string& value);

/// Replaces each assignment to a display name, such as "Hit effect", with an assignment to its key. The new
/// value is the record's value at its change signal. A fault when a property refuses its value.
template <class Record>
Result<std::vector<Assignment>> withoutDisplayNames(const Record& record,
                                                    std::vector<Assignment> assignments);

/// The fault of a key that a record of this kind ("a fragile") does not have.
Fault unknownKey(const std::string& key, BasicStringRef recordKind, const std::vector<std::string>& keys);

/// A fault when a key is assigned twice.
Result<void> checkKeysAreDistinct(const std::vector<Assignment>& assignments);

/// The assignments, by their keys, that make one record of another.
template <class Record>
std::vector<Assignment> differences(const Record& before, const Record& after) {
  std::vector<Assignment> assignments;
  for (const RecordField<Record>& field : recordFields<Record>()) {
    if (!isSameField(field, before, after))
      assignments.push_back({std::string(field.key), textOf(valueOf(after, field))});
  }
  return assignments;
}

template <class Record>
Result<std::vector<Assignment>> withoutDisplayNames(const Record& record,
                                                    std::vector<Assignment> assignments) {
  for (Assignment& assignment : assignments) {
    Record edited = record;
    const mio::BoundProperty property = edited.property(assignment.key);
    const auto* const field = fieldOf<Record>(panel_names::keyOfProperty(assignment.key));
    if (!property.isValid() || field == nullptr) continue;
    Assignment byKey{std::string(field->key), textOf(valueOf(record, *field))};
    const ks::Connection told =
        edited.changed.connect([&](mio::SetterFlags) { byKey.value = textOf(valueOf(edited, *field)); });
    try {
      property.set(trimmed(assignment.value));
    } catch (const tyk::BadCast& error) {
      return refused(assignment.key + ": " + error.what(), "give a value that fits");
    }
    assignment = byKey;
  }
  return assignments;
}

/// The record with every assignment made; warnings are added. Says nothing of whether the names among the
/// values exist.
template <class Record>
Result<Record> assigned(Record record, BasicStringRef recordKind, const std::vector<Assignment>& assignments,
                        std::vector<std::string>& warnings) {
  if (auto checked = checkKeysAreDistinct(assignments); !checked) return std::move(checked).fault();
  for (const Assignment& assignment : assignments) {
    const RecordField<Record>* const named = fieldOf<Record>(assignment.key);
    if (named == nullptr) return unknownKey(assignment.key, recordKind, settableNames<Record>());
    const Result<std::string> value = storedValue(assignment, warnings);
    if (!value) return value.fault();
    Result<void> parsed =
        std::visit([&](auto member) { return parseValue(*value, record.*member); }, named->member);
    if (!parsed) return refused(assignment.key + ": " + parsed.fault().what, parsed.fault().remedy);
  }
  return record;
}

}  // namespace Tal::authoring
