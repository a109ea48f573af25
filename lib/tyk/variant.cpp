#include <tyk/variant.h>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace tyk {
namespace {

/// All of a text as one number; empty when it is none, or out of range.
template <class Number>
std::optional<Number> numberIn(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stopped != end) return std::nullopt;
  if constexpr (std::is_floating_point_v<Number>) {
    if (!std::isfinite(number)) return std::nullopt;
  }
  return number;
}

template <class Number>
std::string textOf(Number number) {
  std::array<char, 64> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  return {buffer.data(), result.ptr};
}

/// An integer that a floating-point number is; empty when it is not whole, or out of range.
template <class Integer>
std::optional<Integer> wholeIn(double number) {
  // Both limits are powers of two or 0, which a double holds; the greatest integer itself may be none.
  constexpr auto kBegin = static_cast<double>(std::numeric_limits<Integer>::min());
  constexpr Integer kHalf = std::numeric_limits<Integer>::max() / 2 + 1;
  constexpr double kEnd = 2.0 * static_cast<double>(kHalf);
  const bool isWhole = number >= kBegin && number < kEnd && std::trunc(number) == number;
  return isWhole ? std::optional(static_cast<Integer>(number)) : std::nullopt;
}

template <class Float, class Integer>
std::optional<Float> floatIn(Integer number) {
  const auto result = static_cast<Float>(number);
  const std::optional<Integer> back = wholeIn<Integer>(static_cast<double>(result));
  return back == number ? std::optional(result) : std::nullopt;
}

std::optional<float> singleIn(double number) {
  if (!std::isfinite(number) || std::abs(number) > std::numeric_limits<float>::max()) return std::nullopt;
  const auto result = static_cast<float>(number);
  const bool isSame = double{result} == number || textOf(result) == textOf(number);
  return isSame ? std::optional(result) : std::nullopt;
}

template <class Integer>
std::optional<Integer> integerIn(std::int64_t number) {
  return std::in_range<Integer>(number) ? std::optional(static_cast<Integer>(number)) : std::nullopt;
}

template <class Integer>
std::optional<Integer> integerIn(std::uint64_t number) {
  return std::in_range<Integer>(number) ? std::optional(static_cast<Integer>(number)) : std::nullopt;
}

/// The cast to an integer, from whatever the variant holds.
template <class Integer>
struct ToInteger {
  using Result = std::optional<Integer>;
  Result operator()(std::monostate) const { return std::nullopt; }
  Result operator()(bool value) const { return value ? 1 : 0; }
  Result operator()(std::int64_t value) const { return integerIn<Integer>(value); }
  Result operator()(std::uint64_t value) const { return integerIn<Integer>(value); }
  Result operator()(float value) const { return wholeIn<Integer>(value); }
  Result operator()(double value) const { return wholeIn<Integer>(value); }
  Result operator()(const std::string& value) const { return numberIn<Integer>(value); }
  Result operator()(const VariantList&) const { return std::nullopt; }
};

template <class Float>
struct ToFloat {
  using Result = std::optional<Float>;
  Result operator()(std::monostate) const { return std::nullopt; }
  Result operator()(bool value) const { return value ? Float{1} : Float{0}; }
  Result operator()(std::int64_t value) const { return floatIn<Float>(value); }
  Result operator()(std::uint64_t value) const { return floatIn<Float>(value); }
  Result operator()(float value) const { return Float{value}; }
  Result operator()(double value) const {
    if constexpr (std::is_same_v<Float, double>) return value;
    return singleIn(value);
  }
  Result operator()(const std::string& value) const { return numberIn<Float>(value); }
  Result operator()(const VariantList&) const { return std::nullopt; }
};

struct ToBool {
  using Result = std::optional<bool>;
  Result operator()(std::monostate) const { return std::nullopt; }
  Result operator()(bool value) const { return value; }
  Result operator()(const std::string& value) const {
    if (value == "true" || value == "1") return true;
    return value == "false" || value == "0" ? std::optional(false) : std::nullopt;
  }
  Result operator()(const VariantList&) const { return std::nullopt; }
  template <class Number>
  Result operator()(Number value) const {
    if (value == Number{1}) return true;
    return value == Number{0} ? std::optional(false) : std::nullopt;
  }
};

struct ToText {
  using Result = std::optional<std::string>;
  Result operator()(std::monostate) const { return std::nullopt; }
  Result operator()(bool value) const { return value ? "true" : "false"; }
  Result operator()(const std::string& value) const { return value; }
  Result operator()(const VariantList&) const { return std::nullopt; }
  template <class Number>
  Result operator()(Number value) const {
    if constexpr (std::is_floating_point_v<Number>) {
      if (!std::isfinite(value)) return std::nullopt;
    }
    return textOf(value);
  }
};

struct Shown {
  std::string operator()(std::monostate) const { return {}; }
  std::string operator()(const VariantList& values) const {
    std::string text = "[";
    for (const Variant& value : values) text += (&value == &values.front() ? "" : ", ") + value.text();
    return text + "]";
  }
  template <class Value>
  std::string operator()(const Value& value) const {
    if constexpr (std::is_floating_point_v<Value>) return textOf(value);
    return ToText()(value).value_or("");
  }
};

}  // namespace

void Variant::throwBadCast(const char* to) const {
  const std::string value = text();
  throw BadCast(typeName(type()), to, isEmpty() ? std::nullopt : std::optional<Tal::BasicStringRef>(value));
}

std::optional<bool> Variant::toBool() const {
  return std::visit(ToBool(), value_);
}
std::optional<std::int64_t> Variant::toSigned() const {
  return std::visit(ToInteger<std::int64_t>(), value_);
}
std::optional<std::uint64_t> Variant::toUnsigned() const {
  return std::visit(ToInteger<std::uint64_t>(), value_);
}
std::optional<float> Variant::toFloat() const {
  return std::visit(ToFloat<float>(), value_);
}
std::optional<double> Variant::toDouble() const {
  return std::visit(ToFloat<double>(), value_);
}
std::optional<std::string> Variant::toText() const {
  return std::visit(ToText(), value_);
}

std::string Variant::text() const {
  return std::visit(Shown(), value_);
}

const char* Variant::typeName(Type type) noexcept {
  switch (type) {
    case Type::boolean:
      return "bool";
    case Type::signedInteger:
      return "integer";
    case Type::unsignedInteger:
      return "unsigned integer";
    case Type::singleFloat:
      return "float";
    case Type::doubleFloat:
      return "double";
    case Type::string:
      return "string";
    case Type::list:
      return "list";
    case Type::empty:
      break;
  }
  return "empty value";
}

}  // namespace tyk
