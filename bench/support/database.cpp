#include "database.h"

#include <array>
#include <cstdint>

namespace bench {
namespace {

constexpr int kGroup = 10;
constexpr int kFallingAtomsPerGroup = 3;
constexpr int kModules = 9;
constexpr int kStates = 3;

bool isStructure(int index) {
  return index % kGroup == 0;
}
bool isFallingAtom(int index) {
  return index % kGroup > 0 && index % kGroup <= kFallingAtomsPerGroup;
}

void appendKey(std::string& text, int depth, const char* key, const std::string& value) {
  text.append(static_cast<std::size_t>(depth), '\t');
  text.append("<").append(key).append("> ").append(value).append(" </").append(key).append(">\n");
}

void openTag(std::string& text, int depth, const char* tag) {
  text.append(static_cast<std::size_t>(depth), '\t').append("<").append(tag).append(">\n");
}

void closeTag(std::string& text, int depth, const char* tag) {
  text.append(static_cast<std::size_t>(depth), '\t').append("</").append(tag).append(">\n");
}

std::string effectName(int number) {
  return "inf_bld_UNI_" + std::to_string(number % 700) + "_Base_02";
}

void appendFragile(std::string& text, int index) {
  openTag(text, 2, "entry");
  appendKey(text, 3, "filename", modelName(index));
  appendKey(text, 3, "health", std::to_string(1 + index % 90));
  appendKey(text, 3, "decayEffect", "none");
  appendKey(text, 3, "effect", effectName(index));
  appendKey(text, 3, "hitEffect", effectName(index + 1));
  appendKey(text, 3, "effectHP", "HP_fx_" + std::to_string(index % 7));
  appendKey(text, 3, "effectScale", "1.000000");
  appendKey(text, 3, "matName", "n_wood_" + std::to_string(index % 14));
  appendKey(text, 3, "lifetimeEffect", "none");
  closeTag(text, 2, "entry");
}

void appendFallingAtom(std::string& text, int index) {
  openTag(text, 2, "entry");
  appendKey(text, 3, "filename", modelName(index));
  appendKey(text, 3, "health", "20");
  appendKey(text, 3, "physicParams", "200 3.2 0.03 150000 10000 0 0.05");
  appendKey(text, 3, "lifetimeEffect", "none");
  appendKey(text, 3, "fractureEffect", "inf_streetlamp_fracture");
  appendKey(text, 3, "touchdownEffect", "inf_streetlamp_touchdown");
  appendKey(text, 3, "touchdownBreakEffect", "none");
  appendKey(text, 3, "effectScale", "1.5");
  closeTag(text, 2, "entry");
}

void appendModule(std::string& text, int index, int module) {
  openTag(text, 4, "module");
  appendKey(text, 5, "matName", "n_wall_" + std::to_string(module));
  appendKey(text, 5, "health", std::to_string(35 + index % 50));
  appendKey(text, 5, "decayEffect", "none");
  appendKey(text, 5, "ramEffect", effectName(module));
  appendKey(text, 5, "hitEffect", effectName(module + index));
  appendKey(text, 5, "effectHP", "HP_fx_" + std::to_string(module));
  appendKey(text, 5, "effectScale", "1.000000");
  closeTag(text, 4, "module");
}

void appendStructure(std::string& text, int index) {
  openTag(text, 2, "entry");
  appendKey(text, 3, "filename", modelName(index));
  appendKey(text, 3, "achievementTag", "house_" + std::to_string(index % 40));
  openTag(text, 3, "modules");
  for (int module = 0; module < kModules; ++module) appendModule(text, index, module);
  closeTag(text, 3, "modules");
  openTag(text, 3, "states");
  for (int state = 0; state < kStates; ++state) {
    openTag(text, 4, "state");
    appendKey(text, 5, "name", "ruined_" + std::to_string(state));
    appendKey(text, 5, "destroyedMaterials", "n_wall_0 n_wall_" + std::to_string(state + 1));
    closeTag(text, 4, "state");
  }
  closeTag(text, 3, "states");
  closeTag(text, 2, "entry");
}

template <class Holds>
void appendCategory(std::string& text, const char* tag, int modelCount, Holds holds,
                    void (*append)(std::string&, int)) {
  openTag(text, 1, tag);
  for (int index = 0; index < modelCount; ++index) {
    if (holds(index)) append(text, index);
  }
  closeTag(text, 1, tag);
}

}  // namespace

std::string modelName(int index) {
  static constexpr std::array<const char*, 5> kFolders = {"buildings", "environment", "militaryenvironment",
                                                          "railway", "gatesandfences"};
  const std::string number = std::to_string(index);
  return "content/" + std::string(kFolders[static_cast<std::size_t>(index) % kFolders.size()]) +
         "/district_" + std::to_string(index % 37) + "/bld_" + number + "/normal/lod0/bld_" + number +
         ".model";
}

std::string makeDatabase(int modelCount) {
  std::string text = "<destructibles.xml>\n";
  appendCategory(
      text, "fragiles", modelCount, [](int index) { return !isStructure(index) && !isFallingAtom(index); },
      appendFragile);
  appendCategory(text, "fallingAtoms", modelCount, isFallingAtom, appendFallingAtom);
  appendCategory(text, "structures", modelCount, isStructure, appendStructure);
  text += "</destructibles.xml>\n";
  return text;
}

}  // namespace bench
