#include <durability/studio_database.h>
#include <support/model_builder.h>

#include <gtest/gtest.h>

#include <vector>

namespace durability {
namespace {

constexpr int kModules = 14;
constexpr unsigned kFirstKind = 73;
constexpr int kUntouched = 100;
constexpr std::array<const char*, 4> kNames = {"props/crate.model", "buildings/house.model",
                                               "street/lamp.model", "props/barrel.model"};

std::string nameOf(Kind kind) {
  return kNames.at(static_cast<std::size_t>(kind));
}

/// The last version up to the given one that was about a kind; 0 when there was none.
int lastOf(Kind kind, int version) {
  while (version > 0 && StudioDatabase::kindOf(version) != kind) --version;
  return version;
}

bool isBarrelThere(int version) {
  const int last = lastOf(Kind::comingAndGoing, version);
  return last > 0 && last / 4 % 2 == 0;
}

std::string moduleName(int module) {
  return "n_wall_" + std::to_string(10 + module);
}

std::string stateName(int version) {
  return "state" + std::to_string(version);
}

std::string fragile(const std::string& name, int health) {
  return "    <entry>\n      <filename>" + name + "</filename>\n      <health>" + std::to_string(health) +
         "</health>\n      <decayEffect>none</decayEffect>\n      <effect>none</effect>\n"
         "      <effectHP/>\n      <effectScale>1</effectScale>\n"
         "      <lifetimeEffect>none</lifetimeEffect>\n    </entry>\n";
}

std::string fallingAtom(const std::string& name, int health) {
  return "    <entry>\n      <filename>" + name + "</filename>\n      <health>" + std::to_string(health) +
         "</health>\n      <physicParams>200 3.2 0.03 150000 10000 0 0.05</physicParams>\n"
         "      <lifetimeEffect>none</lifetimeEffect>\n      <fractureEffect>none</fractureEffect>\n"
         "      <touchdownEffect>none</touchdownEffect>\n"
         "      <touchdownBreakEffect>none</touchdownBreakEffect>\n"
         "      <effectScale>1</effectScale>\n    </entry>\n";
}

std::string structure(const std::string& name, int version) {
  std::string text =
      "    <entry>\n      <filename>" + name + "</filename>\n      <states>\n        <state>\n" +
      "          <name>" + stateName(version) + "</name>\n          <destroyedMaterials>" + moduleName(0) +
      ' ' + moduleName(1) + " </destroyedMaterials>\n        </state>\n      </states>\n      <modules>\n";
  for (int module = 0; module < kModules; ++module) {
    text += "        <module>\n          <matName>" + moduleName(module) + "</matName>\n          <health>" +
            std::to_string(version) +
            "</health>\n          <decayEffect>none</decayEffect>\n"
            "          <ramEffect>none</ramEffect>\n          <effectHP/>\n"
            "          <effectScale>1</effectScale>\n        </module>\n";
  }
  return text + "      </modules>\n    </entry>\n";
}

support::ModelParts partsOf(Kind kind) {
  support::ModelParts parts;
  if (kind != Kind::structure) return parts;
  for (int module = 0; module < kModules; ++module) {
    parts.materials.push_back({moduleName(module), kFirstKind + static_cast<unsigned>(module)});
    parts.bsp.push_back(moduleName(module));
  }
  return parts;
}

void editFragile(Tal::KsDestructiblesHelper& helper, int version) {
  Tal::KsDestructibleFragileDesc desc;
  desc.health = version;
  EXPECT_TRUE(helper.updateFragileParameters(desc));
}

void editFallingAtom(Tal::KsDestructiblesHelper& helper, int version) {
  Tal::KsDestructibleFallingAtomDesc desc;
  desc.health = version;
  EXPECT_TRUE(helper.updateFallingAtomParameters(desc));
}

void editStructure(Tal::KsDestructiblesHelper& helper, int version) {
  for (int module = 0; module < kModules; ++module) {
    Tal::KsDestructibleModuleDesc desc;
    desc.health = version;
    EXPECT_TRUE(helper.updateDestructibleModule(moduleName(module), desc, false));
  }
  const std::string before = stateName(lastOf(Kind::structure, version - 1));
  EXPECT_TRUE(helper.delDestructibleState(before));
  EXPECT_TRUE(helper.addDestructibleState(stateName(version)));
  for (const int module : {0, 1})
    EXPECT_TRUE(helper.addMaterialToDestrState(stateName(version), moduleName(module)));
}

}  // namespace

std::string StudioDatabase::textOf(int version) {
  std::string text = "<root>\n  <fragiles>\n";
  for (int i = 0; i < kUntouched; ++i) text += fragile("other/" + std::to_string(i) + ".model", i);
  text += fragile(nameOf(Kind::fragile), lastOf(Kind::fragile, version));
  if (isBarrelThere(version))
    text += fragile(nameOf(Kind::comingAndGoing), lastOf(Kind::comingAndGoing, version));
  text += "  </fragiles>\n  <fallingAtoms>\n";
  text += fallingAtom(nameOf(Kind::fallingAtom), lastOf(Kind::fallingAtom, version));
  text += "  </fallingAtoms>\n  <structures>\n";
  text += structure(nameOf(Kind::structure), lastOf(Kind::structure, version));
  return text + "  </structures>\n</root>\n";
}

Tal::KsDestructiblesHelper& StudioDatabase::helperOf(Kind kind) {
  Model& open = models_.at(static_cast<std::size_t>(kind));
  if (!open.helper) {
    open.model = support::buildModel(partsOf(kind));
    open.disabler = std::make_unique<Tal::KsMaterialDisabler>(open.model.get());
    open.helper =
        std::make_unique<Tal::KsDestructiblesHelper>(open.model.get(), nameOf(kind), open.disabler.get());
  }
  return *open.helper;
}

void StudioDatabase::edit(int version) {
  const Kind kind = kindOf(version);
  Tal::KsDestructiblesHelper& helper = helperOf(kind);
  if (kind == Kind::fragile) {
    editFragile(helper, version);
  } else if (kind == Kind::structure) {
    editStructure(helper, version);
  } else if (kind == Kind::fallingAtom) {
    editFallingAtom(helper, version);
  } else if (isBarrelThere(version)) {
    helper.setAsFragile();
    editFragile(helper, version);
  } else {
    helper.setAsNonDestructible(true);
  }
}

bool StudioDatabase::save(int version) {
  Tal::KsDestructiblesHelper& helper = helperOf(kindOf(version));
  const bool isSaved = helper.saveConfig();
  if (helper.destructibleType() != Tal::DT_NON_DESTRUCTIBLE) return isSaved;
  EXPECT_FALSE(isSaved);
  return true;
}

}  // namespace durability
