#pragma once

#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace Tal::authoring {

/// The value of one field of a record.
using FieldValue = std::variant<std::int32_t, float, std::string>;

/// A field by its XML key, which is also the name of the record's member.
struct NamedField {
  BasicStringRef key;  ///< valid for the whole run
  FieldValue value;
};

/// The fields of a record, in the order of its declaration.
std::vector<NamedField> fieldsOf(const KsDestructibleModuleDesc& record);
std::vector<NamedField> fieldsOf(const KsDestructibleFragileDesc& record);
std::vector<NamedField> fieldsOf(const KsDestructibleFallingAtomDesc& record);

/// A value as text: what the database would hold.
std::string textOf(const FieldValue& value);

}  // namespace Tal::authoring
