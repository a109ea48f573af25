#pragma once

#include <core/string_ref.h>
#include <core/vector3.h>

#include <optional>
#include <string>

namespace Tal {

/// Numbers as the text of data sections, independent of the locale. A text is a number only as a whole: an
/// optional sign and digits, for a float also a fraction and an exponent. Out of range, "inf" and "nan" are
/// none.

std::optional<int> parseInt(BasicStringRef text) noexcept;
std::optional<float> parseFloat(BasicStringRef text) noexcept;
/// Three floats separated by white space.
std::optional<Vector3> parseVector3(BasicStringRef text) noexcept;

std::string intText(int value);
/// The shortest text that parses to the same value; `value` is finite.
std::string floatText(float value);
/// Three floats as parseVector3 reads them, one space between two; all three are finite.
std::string vector3Text(const Vector3& value);

}  // namespace Tal
