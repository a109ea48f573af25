#pragma once

#include <authoring/record_fields.h>
#include <authoring/value_warnings.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Tal::cli {

/// JSON whose objects keep the order of their keys.
using Json = nlohmann::ordered_json;

/// The fields of a record by their names.
Json toJson(const std::vector<authoring::NamedField>& fields);

/// A warning about a value: its code, module, key and text.
Json toJson(const authoring::ValueWarning& warning);

/// A single-precision number in its shortest digits; null when it is not finite.
Json toJson(float value);

/// The text of a document, indented, with a line end. Bytes that are not UTF-8 are replaced, so it is always
/// valid.
std::string jsonText(const Json& document);

}  // namespace Tal::cli
