#pragma once

#include <authoring/record_fields.h>
#include <authoring/value_warnings.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Tal::cli {

/// JSON objects keep the order in which their keys were added.
using Json = nlohmann::ordered_json;

/// The fields of a record by their names.
Json toJson(const std::vector<authoring::NamedField>& fields);

/// A warning of a value: which one, of which module and key, and its text.
Json toJson(const authoring::ValueWarning& warning);

/// A single-precision number with no more digits than it has.
Json toJson(float value);

/// The text of a document, indented, with a line end. Bytes that are not UTF-8 are replaced, so that it is
/// valid whatever the names hold.
std::string jsonText(const Json& document);

}  // namespace Tal::cli
