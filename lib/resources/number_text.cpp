#include <core/white_space.h>
#include <resources/number_text.h>

#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace Tal {
namespace {

/// std::from_chars takes no plus sign, which people write.
BasicStringRef withoutPlus(BasicStringRef text) noexcept {
  const bool isSigned = text.size() > 1 && text[0] == '+' && text[1] != '-';
  return isSigned ? text.substr(1) : text;
}

template <class Number>
std::optional<Number> parseWhole(BasicStringRef text) noexcept {
  const BasicStringRef digits = withoutPlus(text);
  const char* const end = digits.data() + digits.size();
  Number number{};
  const auto [rest, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

/// Takes the first word off `text`.
BasicStringRef takeWord(BasicStringRef& text) noexcept {
  text = trimmed(text);
  std::size_t end = 0;
  while (end < text.size() && !isSpace(text[end])) ++end;
  const BasicStringRef word = text.substr(0, end);
  text.remove_prefix(end);
  return word;
}

}  // namespace

std::optional<int> parseInt(BasicStringRef text) noexcept {
  return parseWhole<int>(text);
}

std::optional<float> parseFloat(BasicStringRef text) noexcept {
  const std::optional<float> number = parseWhole<float>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<Vector3> parseVector3(BasicStringRef text) noexcept {
  const auto x = parseFloat(takeWord(text));
  const auto y = parseFloat(takeWord(text));
  const auto z = parseFloat(takeWord(text));
  if (!x || !y || !z || !trimmed(text).empty()) return std::nullopt;
  return Vector3{*x, *y, *z};
}

std::string intText(int value) {
  return std::to_string(value);
}

std::string floatText(float value) {
  std::array<char, 32> text{};  // the longest float takes 15 characters
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), result.ptr};
}

std::string vector3Text(const Vector3& value) {
  return floatText(value.x) + ' ' + floatText(value.y) + ' ' + floatText(value.z);
}

}  // namespace Tal
