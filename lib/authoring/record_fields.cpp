#include <authoring/record_table.h>
#include <destructibles/database_format.h>
#include <resources/number_text.h>

#include <array>

namespace Tal::authoring {
namespace {

namespace keys = database_format::keys;

using Module = KsDestructibleModuleDesc;
using Fragile = KsDestructibleFragileDesc;
using FallingAtom = KsDestructibleFallingAtomDesc;

constexpr std::array<RecordField<Module>, 6> kModuleFields = {{{keys::kHealth, &Module::health},
                                                               {keys::kEffectScale, &Module::effectScale},
                                                               {keys::kEffectHardPoint, &Module::effectHP},
                                                               {keys::kRamEffect, &Module::ramEffect},
                                                               {keys::kHitEffect, &Module::hitEffect},
                                                               {keys::kDecayEffect, &Module::decayEffect}}};

constexpr std::array<RecordField<Fragile>, 9> kFragileFields = {
    {{keys::kHealth, &Fragile::health},
     {keys::kEffectScale, &Fragile::effectScale},
     {keys::kEffectHardPoint, &Fragile::effectHP},
     {keys::kAchievementTag, &Fragile::achievementTag},
     {keys::kMaterialName, &Fragile::matName},
     {keys::kEffect, &Fragile::effect},
     {keys::kHitEffect, &Fragile::hitEffect},
     {keys::kDecayEffect, &Fragile::decayEffect},
     {keys::kLifetimeEffect, &Fragile::lifetimeEffect}}};

constexpr std::array<RecordField<FallingAtom>, 8> kFallingAtomFields = {
    {{keys::kHealth, &FallingAtom::health},
     {keys::kEffectScale, &FallingAtom::effectScale},
     {keys::kPhysicParams, &FallingAtom::physicParams},
     {keys::kAchievementTag, &FallingAtom::achievementTag},
     {keys::kLifetimeEffect, &FallingAtom::lifetimeEffect},
     {keys::kFractureEffect, &FallingAtom::fractureEffect},
     {keys::kTouchdownEffect, &FallingAtom::touchdownEffect},
     {keys::kTouchdownBreakEffect, &FallingAtom::touchdownBreakEffect}}};

template <class Record>
std::vector<NamedField> namedFields(const Record& record) {
  std::vector<NamedField> fields;
  for (const RecordField<Record>& field : recordFields<Record>())
    fields.push_back({field.key, valueOf(record, field)});
  return fields;
}

}  // namespace

template <>
std::span<const RecordField<Module>> recordFields() noexcept {
  return kModuleFields;
}

template <>
std::span<const RecordField<Fragile>> recordFields() noexcept {
  return kFragileFields;
}

template <>
std::span<const RecordField<FallingAtom>> recordFields() noexcept {
  return kFallingAtomFields;
}

std::vector<NamedField> fieldsOf(const Module& record) {
  return namedFields(record);
}

std::vector<NamedField> fieldsOf(const Fragile& record) {
  return namedFields(record);
}

std::vector<NamedField> fieldsOf(const FallingAtom& record) {
  return namedFields(record);
}

std::string textOf(const FieldValue& value) {
  if (const auto* number = std::get_if<std::int32_t>(&value)) return intText(*number);
  if (const auto* scale = std::get_if<float>(&value)) return floatText(*scale);
  return std::get<std::string>(value);
}

}  // namespace Tal::authoring
