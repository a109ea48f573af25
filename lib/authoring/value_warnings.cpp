#include <authoring/category.h>
#include <authoring/effects.h>
#include <authoring/value_warnings.h>
#include <core/ascii_case.h>
#include <core/contains.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <core/white_space.h>
#include <destructibles/database_format.h>
#include <destructibles/health_rules.h>
#include <resources/number_text.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;
using Code = ValueWarning::Code;

constexpr std::size_t kPhysicParams = 7;
constexpr std::array<KsDestructibleType, 3> kCategories = {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS};
constexpr std::array<BasicStringRef, 8> kEffectKeys = {
    keys::kEffect,         keys::kHitEffect,      keys::kRamEffect,       keys::kDecayEffect,
    keys::kLifetimeEffect, keys::kFractureEffect, keys::kTouchdownEffect, keys::kTouchdownBreakEffect};

bool isSevenNumbers(BasicStringRef text) {
  std::size_t count = 0;
  while (true) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    if (text.empty()) return count == kPhysicParams;
    const auto* const end = std::find_if(text.begin(), text.end(), isSpace);
    const auto length = static_cast<std::size_t>(end - text.begin());
    if (!parseFloat(text.substr(0, length))) return false;
    text.remove_prefix(length);
    ++count;
  }
}

/// A warning that is not yet attributed to a field.
struct Finding {
  Code code;
  std::string text;
};

/// What the values of a model can name; without a model, as far as that does not take one.
class NamesOfModel {
 public:
  NamesOfModel() = default;
  explicit NamesOfModel(KsDestructiblesHelper& helper)
      : hasModel_(true), hardPoints_(helper.getHardpointNames()), materials_(helper.bspMaterialNames()) {
    for (const auto& [name, kind] : helper.getMaterialNames()) materials_.insert(name);
  }

  std::vector<ValueWarning> warningsOf(KsDestructibleType category, const std::string& module,
                                       const std::vector<NamedField>& fields) {
    std::vector<ValueWarning> warnings;
    for (const NamedField& field : fields) {
      std::optional<Finding> finding = findingOf(category, field);
      if (!finding) continue;
      std::string key(field.key);
      std::string text = key + ": " + finding->text;
      warnings.push_back({finding->code, module, std::move(key), std::move(text)});
    }
    return warnings;
  }

 private:
  std::optional<Finding> findingOf(KsDestructibleType category, const NamedField& field) {
    if (const auto* const health = std::get_if<std::int32_t>(&field.value)) return ofHealth(*health);
    if (const auto* const scale = std::get_if<float>(&field.value)) return ofScale(*scale);
    const auto& value = std::get<std::string>(field.value);
    if (field.key == keys::kPhysicParams) return ofPhysics(value);
    if (value.empty()) return std::nullopt;
    if (field.key == keys::kAchievementTag) return ofTag(value);
    if (field.key == keys::kEffectHardPoint) return ofHardPoint(value);
    if (field.key == keys::kMaterialName) return ofMaterial(value);
    const bool isEffect = std::ranges::find(kEffectKeys, field.key) != kEffectKeys.end();
    return isEffect ? ofEffect(category, value) : std::nullopt;
  }

  static std::optional<Finding> ofHealth(std::int32_t health) {
    if (health > 0) return std::nullopt;
    if (health == health_rules::kUnknownHealth)
      return Finding{Code::unknownHealth, "-1 stands for \"could not be estimated\"; set one"};
    return Finding{Code::noHealth, intText(health) + " leaves no hit points; give 1 or more"};
  }

  static std::optional<Finding> ofScale(float scale) {
    if (scale > 0.0F) return std::nullopt;
    return Finding{Code::noScale, floatText(scale) + " leaves effects no size; give a number above 0"};
  }

  static std::optional<Finding> ofPhysics(const std::string& value) {
    if (isSevenNumbers(value)) return std::nullopt;
    return Finding{Code::malformedPhysics,
                   quotedName(value) +
                       " is not seven numbers with spaces between them, which the game expects; give seven"};
  }

  static std::optional<Finding> ofTag(const std::string& value) {
    if (value != UNDEFINED_EFFECT) return std::nullopt;
    return Finding{Code::tagThatIsNotStored, "\"none\" stands for no tag and is not stored"};
  }

  std::optional<Finding> ofHardPoint(const std::string& value) const {
    if (!hasModel_ || contains(hardPoints_, value)) return std::nullopt;
    return Finding{Code::unknownHardPoint,
                   "the model has no hard point " + quotedName(value) + nameSuggestion(value, hardPoints_)};
  }

  std::optional<Finding> ofMaterial(const std::string& value) const {
    if (!hasModel_ || materials_.contains(value)) return std::nullopt;
    return Finding{Code::unknownMaterial, "the model has no material " + quotedName(value) +
                                              nameSuggestion(value, {materials_.begin(), materials_.end()})};
  }

  std::optional<Finding> ofEffect(KsDestructibleType category, const std::string& value) {
    if (value == UNDEFINED_EFFECT) return std::nullopt;
    readEffects();
    if (unreadable_) {
      if (std::exchange(isUnreadableTold_, true)) return std::nullopt;
      return Finding{Code::uncheckedEffect,
                     quotedName(value) + " was not looked up: " + textOf(*unreadable_)};
    }
    const std::vector<std::string>& own = effects_[category];
    if (!hasEffects_ || contains(own, value)) return std::nullopt;
    std::vector<std::string> owners;
    for (const auto& [other, names] : effects_) {
      if (contains(names, value)) owners.emplace_back(categoryName(other));
    }
    const std::string wanted(categoryName(category));
    if (owners.empty()) return Finding{Code::unknownEffect, textOfUnknown(value, wanted, own)};
    return Finding{Code::foreignEffect, quotedName(value) + " is an effect for a " + owners.front() +
                                            (owners.size() > 1 ? " or a " + owners.back() : "") +
                                            ", not for a " + wanted +
                                            (own.empty() ? "; set \"none\"" : nameSuggestion(value, own))};
  }

  static std::string textOfUnknown(const std::string& value, const std::string& wanted,
                                   std::vector<std::string> meant) {
    if (lowerAscii(value) == UNDEFINED_EFFECT) meant.emplace_back(UNDEFINED_EFFECT);
    if (meant.empty()) {
      return std::string(database_format::kEffectsFile) + " has no effects for a " + wanted + " at all, so " +
             quotedName(value) + " is none; add it there, or set \"none\"";
    }
    return std::string(database_format::kEffectsFile) + " has no effect " + quotedName(value) + " for a " +
           wanted + nameSuggestion(value, meant);
  }

  // Once there is an effect to look for: whoever needs none is not told of a file that cannot be read.
  void readEffects() {
    if (!effects_.empty()) return;
    for (const KsDestructibleType category : kCategories) {
      auto names = effectNames(category, "");
      if (!names && names.fault().kind != FaultKind::missing) unreadable_ = names.fault();
      effects_[category] = names ? *std::move(names) : std::vector<std::string>();
    }
    hasEffects_ = std::ranges::any_of(effects_, [](const auto& entry) { return !entry.second.empty(); });
  }

  bool hasModel_ = false;
  std::vector<std::string> hardPoints_;
  std::set<std::string> materials_;
  std::map<KsDestructibleType, std::vector<std::string>> effects_;
  bool hasEffects_ = false;
  std::optional<Fault> unreadable_;
  bool isUnreadableTold_ = false;
};

void append(std::vector<ValueWarning>& warnings, std::vector<ValueWarning> more) {
  std::ranges::move(more, std::back_inserter(warnings));
}

std::vector<ValueWarning> warningsOfRecords(NamesOfModel names, const Description& description) {
  if (description.fragile) return names.warningsOf(DT_FRAGILE, "", fieldsOf(*description.fragile));
  if (description.fallingAtom)
    return names.warningsOf(DT_FALLING_ATOMS, "", fieldsOf(*description.fallingAtom));
  std::vector<ValueWarning> warnings;
  if (description.category != DT_STRUCTURE) return warnings;
  append(warnings, names.warningsOf(DT_STRUCTURE, "", {{keys::kAchievementTag, description.achievementTag}}));
  for (const auto& [name, module] : description.modules)
    append(warnings, names.warningsOf(DT_STRUCTURE, name, fieldsOf(module)));
  return warnings;
}

}  // namespace

BasicStringRef valueWarningName(ValueWarning::Code code) noexcept {
  switch (code) {
    case Code::unknownHealth:
      return "unknown-health";
    case Code::noHealth:
      return "no-health";
    case Code::noScale:
      return "no-scale";
    case Code::unknownEffect:
      return "unknown-effect";
    case Code::foreignEffect:
      return "foreign-effect";
    case Code::uncheckedEffect:
      return "unchecked-effect";
    case Code::unknownHardPoint:
      return "unknown-hard-point";
    case Code::unknownMaterial:
      return "unknown-material";
    case Code::malformedPhysics:
      return "malformed-physics";
    case Code::tagThatIsNotStored:
      break;
  }
  return "tag-not-stored";
}

std::vector<ValueWarning> valueWarningsOf(KsDestructiblesHelper& helper, KsDestructibleType category,
                                          const std::vector<NamedField>& fields) {
  return NamesOfModel(helper).warningsOf(category, "", fields);
}

std::vector<ValueWarning> valueWarningsOf(KsDestructiblesHelper& helper, const Description& description) {
  return warningsOfRecords(NamesOfModel(helper), description);
}

std::vector<ValueWarning> valueWarningsOf(const Description& description) {
  return warningsOfRecords(NamesOfModel(), description);
}

std::vector<std::string> namesLacking(KsDestructiblesHelper& helper, const Description& description) {
  const std::map<std::string, unsigned>& materials = helper.getMaterialNames();
  std::vector<std::string> lines;
  const auto note = [&](const std::string& what, const std::string& material) {
    if (!materials.contains(material) && !helper.bspMaterialNames().contains(material))
      lines.push_back(what + ": the model has no material " + quotedName(material));
  };
  if (description.category == DT_STRUCTURE)
    for (const auto& [name, module] : description.modules) note("module " + quotedName(name), name);
  for (const auto& [state, names] : description.states)
    for (const std::string& name : names) note("state " + quotedName(state), name);
  for (const ValueWarning& warning : valueWarningsOf(helper, description)) {
    if (warning.code == Code::unknownHardPoint || warning.code == Code::unknownMaterial)
      lines.push_back((warning.module.empty() ? "" : "module " + quotedName(warning.module) + ", ") +
                      warning.text);
  }
  return lines;
}

}  // namespace Tal::authoring
