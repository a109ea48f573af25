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

/// Whether a model name is that of a variant (in a folder "lod1", "lod2", "crash" or "merged"). Variants have
/// no category of their own, whatever the database holds of them.
bool isVariantName(BasicStringRef modelName) noexcept;

}  // namespace Tal::authoring
