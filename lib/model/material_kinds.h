#pragma once

#include <core/string_ref.h>

#include <optional>
#include <string>

/// The kind of a material is a number that says whether the material shows a breakable part, and which. A
/// part, numbered from 0 to 13, has one kind for its undamaged look and one for its destroyed look. Artists
/// choose the kind by the name of the material. Everything here may be used on any thread.
namespace Tal::material_kinds {

/// The material has no kind assigned.
inline constexpr unsigned kNone = 0;
/// There is no such material.
inline constexpr unsigned kUnknown = 0xFFFFFFFFU;
inline constexpr unsigned kFirstUndamaged = 73;
inline constexpr unsigned kLastUndamaged = 86;
inline constexpr unsigned kFirstDestroyed = 87;
inline constexpr unsigned kLastDestroyed = 100;
/// From the undamaged kind of a part to its destroyed kind.
inline constexpr unsigned kToDestroyed = kFirstDestroyed - kFirstUndamaged;
inline constexpr unsigned kLastPart = kLastUndamaged - kFirstUndamaged;

constexpr bool isUndamaged(unsigned kind) noexcept {
  return kind >= kFirstUndamaged && kind <= kLastUndamaged;
}
constexpr bool isDestroyed(unsigned kind) noexcept {
  return kind >= kFirstDestroyed && kind <= kLastDestroyed;
}

/// The number of the part, 0 to 13, that an undamaged or a destroyed kind belongs to; none for every other
/// kind.
constexpr std::optional<unsigned> partOf(unsigned kind) noexcept {
  if (isUndamaged(kind)) return kind - kFirstUndamaged;
  if (isDestroyed(kind)) return kind - kFirstDestroyed;
  return std::nullopt;
}

/// Whether a kind is assigned, but none that a part has, so that the material neither breaks nor appears when
/// something else does.
constexpr bool isOfNoPart(unsigned kind) noexcept {
  return kind != kNone && !partOf(kind);
}

/// What a message says of a material whose kind is of no part, behind the material's name.
std::string noPartText(unsigned kind);

/// What a message says of a material that is static by its name but has the kind of a part (see
/// isStaticName), behind the material's name.
std::string staticPartText(unsigned kind);

/// How the names of materials begin. Something must follow the long prefixes: "partN" is no part's name.
inline constexpr BasicStringRef kStaticPrefix = "s";
inline constexpr BasicStringRef kUndamagedPrefix = "n";
inline constexpr BasicStringRef kLongUndamagedPrefix = "partN";
inline constexpr BasicStringRef kDestroyedPrefix = "d";
inline constexpr BasicStringRef kLongDestroyedPrefix = "partD";

/// Whether a material of this name belongs to no part, whatever its kind.
constexpr bool isStaticName(BasicStringRef name) noexcept {
  return name.starts_with(kStaticPrefix);
}

/// Whether the name is that of an undamaged part.
constexpr bool isUndamagedName(BasicStringRef name) noexcept {
  return name.starts_with(kUndamagedPrefix) ||
         (name.starts_with(kLongUndamagedPrefix) && name.size() > kLongUndamagedPrefix.size());
}

/// Whether the name is that of a destroyed part.
constexpr bool isDestroyedName(BasicStringRef name) noexcept {
  return name.starts_with(kDestroyedPrefix) ||
         (name.starts_with(kLongDestroyedPrefix) && name.size() > kLongDestroyedPrefix.size());
}

/// The kind that an import gives a material of this name: that of a part when the name is an undamaged or a
/// destroyed part's, else kNone; kNone also when the part's number is above 13. The number is the third of
/// the name's pieces between underscores, or what digits that piece begins with ("n_wall_1_2" is part 1);
/// when it begins with no digit, the number at the end of the name ("partN12" is part 12); without one, 0.
unsigned kindByName(BasicStringRef name) noexcept;

}  // namespace Tal::material_kinds
