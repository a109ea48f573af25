#include <authoring/effects.h>
#include <authoring/panel_record.h>
#include <authoring/record_table.h>
#include <authoring/session_fixture.h>
#include <destructibles/panel_names.h>
#include <mio/meta_object.h>
#include <mio/property.h>

#include <optional>

namespace Tal::authoring {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class APanelRecord : public SessionTest {
 protected:
  static std::unique_ptr<PanelRecord> record(Session& session,
                                             const std::optional<std::string>& module = std::nullopt) {
    auto record = PanelRecord::open(session, module);
    EXPECT_EQ(faultText(record), "");
    return record ? *std::move(record) : nullptr;
  }

  static std::string refusal(Session& session, const std::optional<std::string>& module = std::nullopt) {
    const auto record = PanelRecord::open(session, module);
    EXPECT_FALSE(record);
    return faultText(record);
  }

  static std::unique_ptr<Session> opened(const char* model, KsDestructibleType category) {
    auto session = open(model);
    expectDone(session->convert(category));
    return session;
  }

  static std::vector<std::string> options(mio::Object& object, const char* property) {
    return tyk::Variant(object.property(property).options()).castTo<std::vector<std::string>>();
  }
};

TEST_F(APanelRecord, ShowsTheRecordOfTheModelOrOfAModule) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  EXPECT_EQ(record(*crate)->object().metaObject()->typeName(), "Tal::KsDestructibleFragileDesc");
  const auto lamp = opened(kLamp, DT_FALLING_ATOMS);
  EXPECT_EQ(record(*lamp)->object().metaObject()->typeName(), "Tal::KsDestructibleFallingAtomDesc");
  const auto house = opened(kHouse, DT_STRUCTURE);
  const auto wall = record(*house, "n_wall_1");
  EXPECT_EQ(wall->object().metaObject()->typeName(), "Tal::KsDestructibleModuleDesc");
  EXPECT_EQ(wall->object().property("Health").get(), tyk::Variant(50));
}

// Every field of the record gets another value.
template <class Record>
Record distinctRecord() {
  Record record;
  int number = 70;
  for (const RecordField<Record>& field : recordFields<Record>()) {
    ++number;
    std::visit(
        [&](auto member) {
          using Value = std::decay_t<decltype(record.*member)>;
          if constexpr (std::is_same_v<Value, std::string>) {
            record.*member = std::string(field.key) + "_value";
          } else {
            record.*member = static_cast<Value>(number);
          }
        },
        field.member);
  }
  return record;
}

template <class Record>
void expectPropertiesToShowTheirFields(std::size_t count) {
  Record record = distinctRecord<Record>();
  const auto properties = record.properties();
  EXPECT_EQ(properties.size(), count);
  for (const mio::BoundProperty& property : properties) {
    const std::string name = property.property()->name();
    const RecordField<Record>* const field = fieldOf<Record>(panel_names::keyOfProperty(name));
    ASSERT_NE(field, nullptr) << name;
    EXPECT_EQ(property.get().text(), textOf(valueOf(record, *field))) << name;
  }
}

TEST_F(APanelRecord, ShowsTheFieldThatAnAssignmentToItsPropertySets) {
  expectPropertiesToShowTheirFields<KsDestructibleModuleDesc>(5);
  expectPropertiesToShowTheirFields<KsDestructibleFragileDesc>(6);
  expectPropertiesToShowTheirFields<KsDestructibleFallingAtomDesc>(5);
  EXPECT_EQ(panel_names::keyOfProperty("health"), "");
}

TEST_F(APanelRecord, OffersTheEffectsOfTheCategoryAndTheHardPointsOfTheModel) {
  root_.write("scripts/destructibles_effects.xml",
              "<root><structures><s/></structures><fragiles><f/></fragiles></root>");
  const auto house = opened(kHouse, DT_STRUCTURE);
  const auto wall = record(*house, "n_wall_1");
  EXPECT_THAT(options(wall->object(), "Effect hardpoint"), ElementsAre("", "HP_wall_1", "HP_wall_2"));
  EXPECT_THAT(options(wall->object(), "Hit effect"), ElementsAre("", "none", "s"));
  const auto crate = opened(kCrate, DT_FRAGILE);
  EXPECT_THAT(options(record(*crate)->object(), "Hit effect"), ElementsAre("", "none", "f"));
}

TEST_F(APanelRecord, MakesWhatIsSetAnEditOfTheSession) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  expectDone(crate->save());
  const auto panel = record(*crate);
  panel->object().property("Health").set("33");
  EXPECT_EQ(faultText(panel->lastOutcome()), "");
  ASSERT_EQ(panel->lastOutcome()->changes.size(), 1U);
  EXPECT_EQ(panel->lastOutcome()->changes[0].key, "health");
  EXPECT_EQ(crate->description().fragile->health, 33);
  EXPECT_TRUE(crate->hasUnsavedEdits());
  const auto house = opened(kHouse, DT_STRUCTURE);
  const std::string before = house->description().modules.at("n_wall_1").effectHP;
  record(*house, "n_wall_2")->object().property("Effect hardpoint").set("HP_wall_2");
  EXPECT_EQ(house->description().modules.at("n_wall_2").effectHP, "HP_wall_2");
  EXPECT_EQ(house->description().modules.at("n_wall_1").effectHP, before);
}

TEST_F(APanelRecord, HasTheOldValueAgainWhenTheSessionRefusesTheNewOne) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  const auto panel = record(*crate);
  panel->object().property("Hit effect").set("bad\x01");
  EXPECT_THAT(faultText(panel->lastOutcome()), HasSubstr("control character"));
  EXPECT_EQ(panel->object().property("Hit effect").get(),
            tyk::Variant(crate->description().fragile->hitEffect));
  panel->object().property("Hit effect").set("boom");
  EXPECT_EQ(faultText(panel->lastOutcome()), "");
  EXPECT_EQ(crate->description().fragile->hitEffect, "boom");
}

TEST_F(APanelRecord, IsRefusedAnEditWhenTheModelHasAnotherCategory) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  const auto panel = record(*crate);
  expectDone(crate->convert(DT_FALLING_ATOMS));
  const Description before = crate->description();
  const tyk::Variant health = panel->object().property("Health").get();
  panel->object().property("Health").set(99);
  EXPECT_EQ(faultText(panel->lastOutcome()), "the model has another category now; look at it anew");
  EXPECT_TRUE(isSame(crate->description(), before));
  EXPECT_EQ(panel->object().property("Health").get(), health);
  EXPECT_FALSE(panel->refresh());
  expectDone(crate->convert(DT_NON_DESTRUCTIBLE));
  panel->object().property("Health").set(99);
  EXPECT_THAT(faultText(panel->lastOutcome()), HasSubstr("is not destructible"));
  EXPECT_EQ(panel->object().property("Health").get(), health);
}

TEST_F(APanelRecord, LeavesWhatOthersEditedMeanwhile) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  const auto panel = record(*crate);
  const auto other = record(*crate);
  expectDone(crate->set({{"effectScale", "2"}, {"hitEffect", "boom"}}));
  other->object().property("Decay effect").set("dust");
  panel->object().property("Health").set(9);
  const auto fragile = *crate->description().fragile;
  EXPECT_EQ(fragile.health, 9);
  EXPECT_EQ(fragile.effectScale, 2.0F);
  EXPECT_EQ(fragile.hitEffect, "boom");
  EXPECT_EQ(fragile.decayEffect, "dust");
  EXPECT_EQ(panel->object().property("Hit effect").get(), tyk::Variant("boom"));
  EXPECT_TRUE(other->refresh());
  EXPECT_EQ(other->object().property("Health").get(), tyk::Variant(9));
}

TEST_F(APanelRecord, ShowsAValueAsItWasStored) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  const auto panel = record(*crate);
  panel->object().property("Hit effect").set(" boom ");
  EXPECT_EQ(panel->object().property("Hit effect").get(), tyk::Variant("boom"));
  EXPECT_THAT(panel->lastOutcome()->warnings, ElementsAre(HasSubstr("white space")));
  panel->object().property("Health").set(3);
  EXPECT_THAT(panel->lastOutcome()->warnings, IsEmpty());
}

TEST_F(APanelRecord, FollowsAReload) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  expectDone(crate->save());
  const auto panel = record(*crate);
  std::string text = readDatabase();
  text.replace(text.find("<effect>"), 8, "<effect>big_");
  root_.replace(kDatabase, text);
  expectDone(crate->set({{"health", "4"}}));
  expectDone(crate->save());
  EXPECT_THAT(panel->object().property("Effect").get().text(), testing::StartsWith("big_"));
  EXPECT_EQ(panel->object().property("Health").get(), tyk::Variant(4));
}

TEST_F(APanelRecord, IsRefusedWhereThereIsNone) {
  EXPECT_EQ(refusal(*open(kCrate)),
            "\"content/props/crate.model\" is not destructible and has no properties; convert it first");
  const auto crate = opened(kCrate, DT_FRAGILE);
  EXPECT_EQ(refusal(*crate, "n_wood"),
            "\"content/props/crate.model\" is no structure and has no modules; convert it first");
  const auto house = opened(kHouse, DT_STRUCTURE);
  EXPECT_THAT(refusal(*house), HasSubstr("is a structure, whose records are its modules; name one"));
  EXPECT_EQ(refusal(*house, "n_wal_1"),
            "\"content/buildings/house.model\" has no module \"n_wal_1\"; did you mean \"n_wall_1\"?");
}

// --- Display names ---

TEST_F(APanelRecord, NamesItsPropertiesForAnEditToo) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  const Result<Outcome> outcome =
      crate->set({{"Hit effect", "boom"}, {"health", "9"}, {"Decay effect", "dust"}});
  EXPECT_EQ(faultText(outcome), "");
  const auto fragile = *crate->description().fragile;
  EXPECT_EQ(fragile.hitEffect, "boom");
  EXPECT_EQ(fragile.health, 9);
  EXPECT_EQ(fragile.decayEffect, "dust");
  const auto house = opened(kHouse, DT_STRUCTURE);
  EXPECT_EQ(faultText(house->setModule("n_wall_1", {{"Ram effect", "bang"}})), "");
  EXPECT_EQ(house->description().modules.at("n_wall_1").ramEffect, "bang");
}

TEST_F(APanelRecord, RefusesAnEditByDisplayNameAsAWhole) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  const Description before = crate->description();
  EXPECT_EQ(faultText(crate->set({{"Hit effect", "boom"}, {"Health", "9x"}})),
            "Health: cannot convert the string \"9x\" to int32; give a value that fits");
  const std::string same = std::to_string(before.fragile->health);
  for (const std::string& health : {std::string("9"), same}) {
    EXPECT_EQ(faultText(crate->set({{"Health", health}, {"health", "8"}})),
              "the key \"health\" is given twice; give it once");
  }
  EXPECT_EQ(faultText(crate->set({{"Hit efect", "boom"}})),
            "a fragile has no key \"Hit efect\"; did you mean \"Hit effect\"?");
  EXPECT_NE(faultText(crate->set({{"Hit effect", "bad\x01"}})), "");
  EXPECT_TRUE(isSame(crate->description(), before));
}

TEST_F(APanelRecord, WarnsOfAHardPointThatTheModelLacks) {
  const auto crate = opened(kCrate, DT_FRAGILE);
  EXPECT_THAT(crate->set({{"Effect hardpoint", "HP_tap"}})->warnings,
              ElementsAre("effectHP: the model has no hard point \"HP_tap\"; did you mean \"HP_top\"?"));
}

TEST_F(APanelRecord, OfAStructureIsItsModules) {
  const auto house = opened(kHouse, DT_STRUCTURE);
  EXPECT_EQ(faultText(house->set({{"Hit effect", "boom"}})),
            "a structure has no Hit effect of its own, its modules have; name the module");
}

// --- Effects ---

using TheEffects = SessionTest;

TEST_F(TheEffects, AreThoseOfTheCategoryWhoseNamesHoldTheKeyInAnyCase) {
  root_.write("scripts/destructibles_effects.xml",
              "<root><structures><b/><Wood_a/></structures><fragiles><f_wood/><g/></fragiles>"
              "<fallingAtoms><h/></fallingAtoms></root>");
  EXPECT_THAT(*effectNames(DT_STRUCTURE, ""), ElementsAre("b", "Wood_a"));
  EXPECT_THAT(*effectNames(DT_FRAGILE, "WOOD"), ElementsAre("f_wood"));
  EXPECT_THAT(*effectNames(DT_STRUCTURE, "wood"), ElementsAre("Wood_a"));
  EXPECT_THAT(*effectNames(DT_FALLING_ATOMS, ""), ElementsAre("h"));
  EXPECT_THAT(*effectNames(DT_FALLING_ATOMS, "wood"), IsEmpty());
  EXPECT_EQ(faultText(checkEffects()), "");
}

TEST_F(TheEffects, AreRefusedWithWhatStandsInThePlaceOfTheFile) {
  const std::string file = "scripts/destructibles_effects.xml";
  std::filesystem::create_directory(root_ / file);
  EXPECT_THAT(faultText(checkEffects()),
              HasSubstr(file + "\" is no regular file; what stands there must be"));
  std::filesystem::remove(root_ / file);
  std::filesystem::create_symlink("/etc/passwd", root_ / file);
  EXPECT_THAT(faultText(checkEffects()), HasSubstr(file + "\" leads out of its root through a link; what"));
}

TEST_F(TheEffects, AreRefusedWithoutAFileThatCanBeRead) {
  EXPECT_EQ(faultText(checkEffects()),
            "no resource root holds scripts/destructibles_effects.xml; make one to offer effects");
  root_.write("scripts/destructibles_effects.xml", "<root>");
  EXPECT_THAT(faultText(checkEffects()),
              StartsWith("scripts/destructibles_effects.xml:1:7: no element found"));
  EXPECT_FALSE(effectNames(DT_FRAGILE, ""));
}

}  // namespace
}  // namespace Tal::authoring
