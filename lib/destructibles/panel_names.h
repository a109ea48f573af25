#pragma once

#include <core/string_ref.h>
#include <destructibles/database_format.h>

#include <algorithm>
#include <array>

/// The names of the records' properties in panels. Usable on any thread; nothing here is exported by
/// the module's shared library.
namespace Tal::panel_names {

/// The properties that a record asks its parent for; see ks_destructibles_helper.h.
inline constexpr char kDestructibleType[] = "Destructible Type";
inline constexpr char kHardPoints[] = "_hardPoints";

/// The properties of the records, as panels display them.
inline constexpr char kHealth[] = "Health";
inline constexpr char kEffectHardPoint[] = "Effect hardpoint";
inline constexpr char kEffect[] = "Effect";
inline constexpr char kHitEffect[] = "Hit effect";
inline constexpr char kRamEffect[] = "Ram effect";
inline constexpr char kDecayEffect[] = "Decay effect";
inline constexpr char kLifetimeEffect[] = "Lifetime effect";
inline constexpr char kFractureEffect[] = "Fracture effect";
inline constexpr char kTouchdownEffect[] = "Touchdown effect";
inline constexpr char kTouchdownBreakEffect[] = "Touchdown break effect";

/// A property and the field that it shows, by its key in the database.
struct FieldOfProperty {
  BasicStringRef property;
  BasicStringRef key;
};
inline constexpr std::array<FieldOfProperty, 10> kFieldsOfProperties = {
    {{kHealth, database_format::keys::kHealth},
     {kEffectHardPoint, database_format::keys::kEffectHardPoint},
     {kEffect, database_format::keys::kEffect},
     {kHitEffect, database_format::keys::kHitEffect},
     {kRamEffect, database_format::keys::kRamEffect},
     {kDecayEffect, database_format::keys::kDecayEffect},
     {kLifetimeEffect, database_format::keys::kLifetimeEffect},
     {kFractureEffect, database_format::keys::kFractureEffect},
     {kTouchdownEffect, database_format::keys::kTouchdownEffect},
     {kTouchdownBreakEffect, database_format::keys::kTouchdownBreakEffect}}};

/// The key of the field that a property shows; empty for any other name.
constexpr BasicStringRef keyOfProperty(BasicStringRef property) noexcept {
  const auto* const found = std::ranges::find(kFieldsOfProperties, property, &FieldOfProperty::property);
  return found != kFieldsOfProperties.end() ? found->key : BasicStringRef();
}

}  // namespace Tal::panel_names
