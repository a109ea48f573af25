#pragma once

#include <core/string_ref.h>
#include <core/vector3.h>
#include <destructibles/health_rules.h>
#include <destructibles/ks_destructibles_helper.h>

#include <optional>
#include <string>
#include <vector>

namespace Tal::authoring {

using HealthRule = health_rules::Rule;

/// "gates-and-fences", "environment", "small", "category" or "structure".
BasicStringRef healthRuleName(HealthRule rule) noexcept;

/// The size of a model's bounding box.
struct Extent {
  Vector3 min;
  Vector3 max;
  float volume = 0.0F;  ///< negative sizes count as they are
};

/// Why a health estimate is what it is. What the rule did not look at is absent.
struct HealthExplanation {
  int health = -1;  ///< the estimate; -1 when none is possible
  HealthRule rule = HealthRule::category;
  std::optional<std::vector<std::string>> materials;  ///< the undamaged materials that were looked at
  std::optional<std::vector<std::string>> words;      ///< which of "stone", "wood", "metal" their names hold
  std::optional<Extent> extent;                       ///< absent also when the visual cannot be opened
  bool isSizeUncertain = false;  ///< the visual could not be opened, though there may be one
  std::optional<KsDestructibleType> category;
  std::optional<int> bspMaterialCount;  ///< how many of the materials are collision materials
};

/// Explains the estimate for a helper's model as one of `category` with modules. Changes and logs nothing.
/// Reads the tables, which must be loaded.
HealthExplanation explainHealth(KsDestructiblesHelper& helper, KsDestructibleType category);

/// One sentence for a person: what decided, with its figures.
std::string healthReason(const HealthExplanation& explanation);

}  // namespace Tal::authoring
