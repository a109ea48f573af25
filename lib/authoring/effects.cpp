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

// Whether the file has effects of a category, or cannot be read.
bool mayHoldEffects(KsDestructibleType category) {
  const auto file = FS::Utils::openSection(database_format::kEffectsFile, false, nullptr);
  const auto section = file ? file->findChild(database_format::sectionOfCategory(category)) : nullptr;
  return !file || (section && section->childCount() > 0);
}

Fault unreadable() {
  if (auto checked = checkEffects(); !checked) return std::move(checked).fault();
  return {FaultKind::system, std::string(database_format::kEffectsFile) + " could not be read", "try again"};
}

}  // namespace

Result<std::vector<std::string>> effectNames(KsDestructibleType category, BasicStringRef key) {
  // The record of a module offers every effect of whatever category its parent names.
  mio::DynamicObject model;
  offerToRecords(
      model, [category] { return category; }, [] { return std::vector<std::string>(); });
  KsDestructibleModuleDesc record;
  record.setParent(&model);
  const auto options =
      tyk::Variant(record.property(panel_names::kHitEffect).options()).castTo<std::vector<std::string>>();
  // A list that could not be read looks like an empty one.
  const bool isEmpty = static_cast<std::ptrdiff_t>(options.size()) <= kWithoutEffect;
  if (isEmpty && mayHoldEffects(category)) return unreadable();
  if (auto checked = checkEffects(); !checked) return std::move(checked).fault();
  std::vector<std::string> names;
  std::copy_if(options.begin() + kWithoutEffect, options.end(), std::back_inserter(names),
               [key](const std::string& name) { return holdsInAnyCase(name, key); });
  return names;
}

Result<void> checkEffects() {
  if (FS::Utils::openSection(database_format::kEffectsFile, false, nullptr)) return {};
  const std::string file = database_format::kEffectsFile;
  if (const FS::MultiFileSystem* const files = FS::fileSystem()) {
    const auto place = files->find(file);
    if (place) return Fault{FaultKind::malformed, file + " cannot be read", "mend it first"};
    if (place.fault().kind != FaultKind::missing)
      return Fault{place.fault().kind, file + ' ' + place.fault().what, "mend that first"};
  }
  return Fault{FaultKind::missing, "no resource root holds " + file, "make one to offer effects"};
}

}  // namespace Tal::authoring
