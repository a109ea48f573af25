#include <authoring/record_table.h>
#include <resources/number_text.h>

#include <array>

namespace Tal::authoring {
namespace {

using Module = KsDestructibleModuleDesc;
using Fragile = KsDestructibleFragileDesc;
using FallingAtom = KsDestructibleFallingAtomDesc;

constexpr std::array<RecordField<Module>, 6> kModuleFields = {{{"health", &Module::health},
                                                               {"effectScale", &Module::effectScale},
                                                               {"effectHP", &Module::effectHP},
                                                               {"ramEffect", &Module::ramEffect},
                                                               {"hitEffect", &Module::hitEffect},
                                                               {"decayEffect", &Module::decayEffect}}};

constexpr std::array<RecordField<Fragile>, 9> kFragileFields = {
    {{"health", &Fragile::health},
     {"effectScale", &Fragile::effectScale},
     {"effectHP", &Fragile::effectHP},
     {"achievementTag", &Fragile::achievementTag},
     {"matName", &Fragile::matName},
     {"effect", &Fragile::effect},
     {"hitEffect", &Fragile::hitEffect},
     {"decayEffect", &Fragile::decayEffect},
     {"lifetimeEffect", &Fragile::lifetimeEffect}}};

constexpr std::array<RecordField<FallingAtom>, 8> kFallingAtomFields = {
    {{"health", &FallingAtom::health},
     {"effectScale", &FallingAtom::effectScale},
     {"physicParams", &FallingAtom::physicParams},
     {"achievementTag", &FallingAtom::achievementTag},
     {"lifetimeEffect", &FallingAtom::lifetimeEffect},
     {"fractureEffect", &FallingAtom::fractureEffect},
     {"touchdownEffect", &FallingAtom::touchdownEffect},
     {"touchdownBreakEffect", &FallingAtom::touchdownBreakEffect}}};

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
