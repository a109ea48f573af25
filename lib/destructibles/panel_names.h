#pragma once

/// What a property panel's record asks its parent for; ks_destructibles_helper.h tells what the parent offers
/// under these names.
namespace Tal::panel_names {

inline constexpr char kDestructibleType[] = "Destructible Type";
inline constexpr char kHardPoints[] = "_hardPoints";

}  // namespace Tal::panel_names
