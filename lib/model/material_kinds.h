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

/// Whether a kind is assigned that belongs to no part, so that the material neither breaks nor appears.
constexpr bool isOfNoPart(unsigned kind) noexcept {
  return kind != kNone && !partOf(kind);
}

/// The kinds of the parts' looks, as messages name them: "73 to 86" and "87 to 100".
std::string undamagedKinds();
std::string destroyedKinds();

/// The text for a message about a material whose kind belongs to no part, to follow its name.
std::string noPartText(unsigned kind);

/// The same for a material that is static by its name but has the kind of a part (see isStaticName).
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

/// The kind that an import gives a material of this name: that of its part, or kNone when the name is not a
/// part's.
///
/// - The part's number is the one that the third piece of the name between underscores begins with
/// ("n_wall_1_2" is
///   part 1), else the one at the end of the name ("partN12" is part 12), else 0.
/// - A number above 13 gives kNone.
unsigned kindByName(BasicStringRef name) noexcept;

}  // namespace Tal::material_kinds
