#include <authoring/category.h>
#include <authoring/health_explanation.h>
#include <destructibles/database_format.h>
#include <destructibles/health_rules.h>
#include <destructibles/look_rules.h>
#include <model/utilities.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/number_text.h>

#include <cmath>
#include <set>
#include <utility>

namespace Tal::authoring {
namespace {

std::optional<Extent> extentOf(const std::string& modelName) {
  const auto visual = FS::Utils::openSection(Utilities::getVisualPath(modelName), false, nullptr);
  if (!visual) return std::nullopt;
  Extent extent;
  extent.min = visual->readVector3("boundingBox/min", Vector3::zero());
  extent.max = visual->readVector3("boundingBox/max", Vector3::zero());
  extent.volume = health_rules::volumeOf(extent.min, extent.max);
  return extent;
}

std::vector<std::string> wordsIn(const std::vector<std::string>& names) {
  std::vector<std::string> words;
  for (const BasicStringRef word : health_rules::kMaterialWords) {
    if (health_rules::isAnyNamedAfter(names, word)) words.emplace_back(word);
  }
  return words;
}

std::string sizeText(const std::optional<Extent>& extent) {
  if (!extent) return "its visual cannot be opened, so its size is unknown";
  const std::string volume = std::isnan(extent->volume)   ? "not a number"
                             : std::isinf(extent->volume) ? "more than any number"
                                                          : floatText(extent->volume);
  return "its bounding box has a volume of " + volume +
         (health_rules::isSmall(extent->volume) ? " (below 3)" : " (3 or more)");
}

std::string gateText(const HealthExplanation& explanation) {
  if (explanation.words->empty())
    return "a gate or fence, but no undamaged material is named after stone, wood or metal";
  std::string text = "a gate or fence, its undamaged materials are named after";
  for (const std::string& word : *explanation.words)
    text += (word == explanation.words->front() ? " " : " and ") + word;
  return text;
}

}  // namespace

BasicStringRef healthRuleName(HealthRule rule) noexcept {
  switch (rule) {
    case HealthRule::gatesAndFences:
      return "gates-and-fences";
    case HealthRule::environment:
      return "environment";
    case HealthRule::small:
      return "small";
    case HealthRule::structure:
      return "structure";
    case HealthRule::category:
      break;
  }
  return "category";
}

HealthExplanation explainHealth(KsDestructiblesHelper& helper, KsDestructibleType category) {
  const std::string& name = helper.modelName();
  const std::set<std::string>& collision = helper.bspMaterialNames();
  HealthExplanation explanation;
  health_rules::Estimate estimate = health_rules::estimate({
      .path = health_rules::normalisedPath(name),
      .category = category,
      .volume =
          [&] {
            explanation.extent = extentOf(name);
            explanation.isSizeUncertain =
                !explanation.extent && !FS::fileSystem()->holdNoFile(Utilities::getVisualPath(name));
            return explanation.extent ? std::optional(explanation.extent->volume) : std::nullopt;
          },
      .undamaged =
          [&] {
            return look_rules::materialsOf(helper.getMaterialNames(), look_rules::Look::undamaged, category);
          },
      .isCollision = [&](const std::string& material) { return collision.contains(material); },
      .hasModules = [] { return true; },
  });
  explanation.health = estimate.health;
  explanation.rule = estimate.rule;
  explanation.materials = std::move(estimate.materials);
  if (estimate.rule == HealthRule::gatesAndFences) explanation.words = wordsIn(*explanation.materials);
  if (estimate.rule == HealthRule::structure)
    explanation.bspMaterialCount = static_cast<int>(estimate.collisionCount);
  const bool isByCategory = estimate.rule == HealthRule::structure || estimate.rule == HealthRule::category;
  if (isByCategory) explanation.category = category;
  return explanation;
}

std::string healthReason(const HealthExplanation& explanation) {
  switch (explanation.rule) {
    case HealthRule::gatesAndFences:
      return gateText(explanation);
    case HealthRule::environment:
      return "an environment object, " + sizeText(explanation.extent);
    case HealthRule::small:
      return "a small object, " + sizeText(explanation.extent);
    case HealthRule::structure:
      return "a structure, " + sizeText(explanation.extent) + "; " +
             std::to_string(*explanation.bspMaterialCount) + " of its " +
             std::to_string(explanation.materials->size()) +
             " undamaged materials are collision materials (exactly 2 make it 35, else it is 50)";
    case HealthRule::category:
      break;
  }
  const std::string category(categoryName(*explanation.category));
  return sizeText(explanation.extent) + ", and its category is " + category +
         (explanation.health < 0 ? "; no health is estimated for that, convert the model first" : "");
}

}  // namespace Tal::authoring
