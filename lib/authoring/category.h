#pragma once

#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <optional>
#include <string>
#include <vector>

namespace Tal::authoring {

/// The name of a category as tools show it and take it: "structure", "fragile", "falling-atom" or "none".
BasicStringRef categoryName(KsDestructibleType category) noexcept;

/// The category of such a name; nothing for any other text.
std::optional<KsDestructibleType> categoryFromName(BasicStringRef name) noexcept;

/// The four names, in the order of the enumeration.
std::vector<std::string> categoryNames();

}  // namespace Tal::authoring
