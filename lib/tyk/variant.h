#pragma once

#include <core/string_ref.h>
#include <tyk/bad_cast.h>

#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace tyk {

class Variant;
using VariantList = std::vector<Variant>;

/// A value whose type is known at run time: nothing, a bool, an integer, a floating-point number, a text (of
/// any bytes) or a list of such values.
///
/// A cast gives exactly the same value in another type, or fails:
/// - integers of every width become each other, floating-point numbers and texts as long as nothing is lost;
/// - a floating-point number becomes an integer when it is whole; a double becomes a float when that is equal
///   to it or is written with the same digits (0.1);
/// - a text becomes a number when all of it is one decimal number of the type, with a point and without white
///   space or a sign "+"; what is out of range or not finite fails. Floating-point numbers take the nearest
///   value, and become the shortest text that reads back equal. Nothing depends on the locale;
/// - an enumeration is held as its underlying type; if that is fixed, whatever number it holds becomes the
///   enumeration again, also one that no enumerator has;
/// - a bool becomes 0 or 1, "false" or "true", and the other way round;
/// - a list becomes a vector when each of its values does. Nothing else becomes a list, and an empty variant
///   becomes nothing else.
class Variant {
 public:
  enum class Type : std::uint8_t {
    empty,
    boolean,
    signedInteger,
    unsignedInteger,
    singleFloat,
    doubleFloat,
    string,
    list,
  };

  Variant() noexcept = default;
  /// Takes only a bool, nothing that converts to one, such as a pointer.
  template <std::same_as<bool> Bool>
  Variant(Bool value) noexcept : value_(value) {}
  template <std::signed_integral Number>
  Variant(Number value) noexcept : value_(std::int64_t{value}) {}
  template <std::unsigned_integral Number>
  requires(!std::same_as<Number, bool>) Variant(Number value)
  noexcept : value_(std::uint64_t{value}) {}
  template <class Enumeration>
  requires std::is_enum_v<Enumeration> Variant(Enumeration value)
  noexcept : Variant(static_cast<std::underlying_type_t<Enumeration>>(value)) {}
  Variant(float value) noexcept : value_(value) {}
  Variant(double value) noexcept : value_(value) {}
  Variant(std::string value) noexcept : value_(std::move(value)) {}
  Variant(Tal::BasicStringRef value) : value_(std::string(value)) {}
  /// `value` ends with a NUL and is not null.
  Variant(const char* value) : value_(std::string(value)) {}
  Variant(VariantList value) noexcept : value_(std::move(value)) {}
  template <class Element>
  Variant(const std::vector<Element>& values) : value_(VariantList(values.begin(), values.end())) {}

  Type type() const noexcept { return static_cast<Type>(value_.index()); }
  bool isEmpty() const noexcept { return type() == Type::empty; }

  /// The value as a T: bool, an integer, an enumeration with a fixed underlying type, float, double,
  /// std::string, or a std::vector of those or of variants. Throws BadCast when the cast fails.
  template <class T>
  T castTo() const {
    std::optional<T> value = tryCastTo<T>();
    if (!value) throwBadCast(nameOf<T>());
    return *std::move(value);
  }

  /// The same; empty when the cast fails.
  template <class T>
  std::optional<T> tryCastTo() const;

  /// The value for a person; a list as "[1, 2]". Empty for an empty variant.
  std::string text() const;

  /// Whether type and value are equal.
  friend bool operator==(const Variant&, const Variant&) = default;

  /// "bool", "string" and the like.
  static const char* typeName(Type type) noexcept;

  /// The name of a type that castTo knows: "int32", "string" and the like; of an enumeration that of its
  /// underlying type.
  template <class T>
  static const char* nameOf() noexcept;

  /// The type of variant that holds a T.
  template <class T>
  static Type typeOf() noexcept {
    return Variant(T()).type();
  }

 private:
  [[noreturn]] void throwBadCast(const char* to) const;
  std::optional<bool> toBool() const;
  std::optional<std::int64_t> toSigned() const;
  std::optional<std::uint64_t> toUnsigned() const;
  std::optional<float> toFloat() const;
  std::optional<double> toDouble() const;
  std::optional<std::string> toText() const;
  template <class Element>
  std::optional<std::vector<Element>> toVector() const;

  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, float, double, std::string, VariantList>
      value_;
};

namespace details {

template <class T>
inline constexpr bool isVector = false;
template <class Element>
inline constexpr bool isVector<std::vector<Element>> = true;

/// Whether an enumeration may have any value of its underlying type.
template <class Enumeration>
inline constexpr bool hasFixedType = requires {
  Enumeration{0};
};

/// Whether a type, also one of characters, holds a number.
template <class T, class Number>
constexpr bool holds(Number number) noexcept {
  return number >= static_cast<Number>(std::numeric_limits<T>::min()) &&
         number <= static_cast<Number>(std::numeric_limits<T>::max());
}

}  // namespace details

template <class T>
std::optional<T> Variant::tryCastTo() const {
  if constexpr (std::is_same_v<T, Variant>) {
    return *this;
  } else if constexpr (std::is_enum_v<T>) {
    static_assert(details::hasFixedType<T>, "give the enumeration an underlying type, or cast to a number");
    const auto number = tryCastTo<std::underlying_type_t<T>>();
    return number ? std::optional(static_cast<T>(*number)) : std::nullopt;
  } else if constexpr (std::is_same_v<T, bool>) {
    return toBool();
  } else if constexpr (std::is_same_v<T, float>) {
    return toFloat();
  } else if constexpr (std::is_same_v<T, double>) {
    return toDouble();
  } else if constexpr (std::is_same_v<T, std::string>) {
    return toText();
  } else if constexpr (details::isVector<T>) {
    return toVector<typename T::value_type>();
  } else if constexpr (std::is_signed_v<T>) {
    const std::optional<std::int64_t> number = toSigned();
    return number && details::holds<T>(*number) ? std::optional(static_cast<T>(*number)) : std::nullopt;
  } else {
    static_assert(std::is_unsigned_v<T>, "a variant holds bools, numbers, texts and lists");
    const std::optional<std::uint64_t> number = toUnsigned();
    return number && details::holds<T>(*number) ? std::optional(static_cast<T>(*number)) : std::nullopt;
  }
}

template <class Element>
std::optional<std::vector<Element>> Variant::toVector() const {
  const auto* const list = std::get_if<VariantList>(&value_);
  if (list == nullptr) return std::nullopt;
  std::vector<Element> values;
  values.reserve(list->size());
  for (const Variant& each : *list) {
    std::optional<Element> value = each.tryCastTo<Element>();
    if (!value) return std::nullopt;
    values.push_back(*std::move(value));
  }
  return values;
}

template <class T>
const char* Variant::nameOf() noexcept {
  if constexpr (std::is_enum_v<T>) {
    return nameOf<std::underlying_type_t<T>>();
  } else if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
    constexpr const char* kSigned[] = {"int8", "int16", "int32", "int64"};
    constexpr const char* kUnsigned[] = {"uint8", "uint16", "uint32", "uint64"};
    constexpr int kWidth = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3;
    return std::is_signed_v<T> ? kSigned[kWidth] : kUnsigned[kWidth];
  } else {
    return typeName(typeOf<T>());
  }
}

}  // namespace tyk
