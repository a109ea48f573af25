#include <authoring/effects.h>
#include <authoring/panel_record.h>
#include <core/ascii_case.h>
#include <destructibles/database_format.h>
#include <destructibles/panel_names.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

#include <algorithm>

namespace Tal::authoring {
namespace {

constexpr std::ptrdiff_t kWithoutEffect = 2;  // the options in front of the effects: nothing, and "none"

bool holdsInAnyCase(BasicStringRef name, BasicStringRef key) {
  const auto isSame = [](char a, char b) { return toLowerAscii(a) == toLowerAscii(b); };
  return key.empty() || std::search(name.begin(), name.end(), key.begin(), key.end(), isSame) != name.end();
}

Result<SmartPointer<DataSection>> openEffects() {
  auto effects = FS::Utils::openResource(database_format::kEffectsFile);
  if (effects || effects.fault().kind != FaultKind::missing) return effects;
  return Fault{FaultKind::missing, std::string("no resource root holds ") + database_format::kEffectsFile,
               "make one to offer effects"};
}

bool holdsEffects(const DataSection& effects, KsDestructibleType category) {
  const auto section = effects.findChild(database_format::sectionOfCategory(category));
  return section && section->childCount() > 0;
}

}  // namespace

Result<std::vector<std::string>> effectNames(KsDestructibleType category, BasicStringRef key) {
  const auto effects = openEffects();
  if (!effects) return effects.fault();
  // The record of a module offers every effect of whatever category its parent names.
  mio::DynamicObject model;
  offerToRecords(
      model, [category] { return category; }, [] { return std::vector<std::string>(); });
  KsDestructibleModuleDesc record;
  record.setParent(&model);
  const auto options =
      tyk::Variant(record.property(panel_names::kHitEffect).options()).castTo<std::vector<std::string>>();
  std::vector<std::string> names;
  if (static_cast<std::ptrdiff_t>(options.size()) <= kWithoutEffect) {
    // A list that could not be read looks like an empty one.
    if (!holdsEffects(**effects, category)) return names;
    return Fault{FaultKind::system, std::string(database_format::kEffectsFile) + " could not be read",
                 "try again"};
  }
  std::copy_if(options.begin() + kWithoutEffect, options.end(), std::back_inserter(names),
               [key](const std::string& name) { return holdsInAnyCase(name, key); });
  return names;
}

Result<void> checkEffects() {
  if (const auto effects = openEffects(); !effects) return effects.fault();
  return {};
}

}  // namespace Tal::authoring
