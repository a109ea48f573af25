#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <string>
#include <vector>

namespace Tal::authoring {

/// The effects that panels offer for a category (not DT_NON_DESTRUCTIBLE), in the order of
/// "scripts/destructibles_effects.xml". Only names that contain `key`, ignoring case; an empty `key` selects
/// all. A fault when the file is missing or cannot be read. Main thread only.
Result<std::vector<std::string>> effectNames(KsDestructibleType category, BasicStringRef key);

/// A fault when the effects cannot be listed; of the kind `missing` when there is no such file.
Result<void> checkEffects();

}  // namespace Tal::authoring
