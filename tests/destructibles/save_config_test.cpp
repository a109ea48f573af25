#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::Key;

class SavingTheModel : public DestructiblesTest {
 protected:
  static KsDestructibleFragileDesc fullFragile() {
    KsDestructibleFragileDesc desc;
    desc.health = 7;
    desc.effectScale = 0.1F;
    desc.effectHP = "HP_a";
    desc.achievementTag = "tag";
    desc.matName = "wood";
    desc.effect = "main";
    desc.hitEffect = "hit";
    desc.decayEffect = "decay";
    desc.lifetimeEffect = "life";
    return desc;
  }
};

// --- Fragiles ---

TEST_F(SavingTheModel, AddsTheEntryOfANewFragileBehindTheOthersWithItsKeysInOrder) {
  writeDatabase(R"(<root>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, "crate.model");
  crate->setAsFragile();
  Access::fragileMap()["crate.model"] = fullFragile();
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
    <entry>
      <filename>crate.model</filename>
      <health>7</health>
      <decayEffect>decay</decayEffect>
      <effect>main</effect>
      <hitEffect>hit</hitEffect>
      <effectHP>HP_a</effectHP>
      <effectScale>0.1</effectScale>
      <matName>wood</matName>
      <lifetimeEffect>life</lifetimeEffect>
      <achievementTag>tag</achievementTag>
    </entry>
  </fragiles>
</root>
)");
}

TEST_F(SavingTheModel, WritesNoKeysForAFragilesEmptyHitEffectMaterialAndTag) {
  writeDatabase(R"(<root>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, "crate.model");
  crate->setAsFragile();
  KsDestructibleFragileDesc& desc = Access::fragileMap()["crate.model"];
  desc = KsDestructibleFragileDesc();
  desc.effectHP = "HP_a";
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
    <entry>
      <filename>crate.model</filename>
      <health>5</health>
      <decayEffect>none</decayEffect>
      <effect>none</effect>
      <effectHP>HP_a</effectHP>
      <effectScale>1</effectScale>
      <lifetimeEffect>none</lifetimeEffect>
    </entry>
  </fragiles>
</root>
)");
}

TEST_F(SavingTheModel, UpdatesAFragileInPlaceAndKeepsUnknownKeysAndComments) {
  writeDatabase(R"(<?xml version="1.0" encoding="utf-8"?>
<!-- by hand -->
<root>
  <fragiles>
    <entry>
      <mass>12</mass>
      <effectScale>3</effectScale>
      <hitEffect>old</hitEffect>
      <!-- the crate -->
      <filename>crate.model</filename>
      <matName>old</matName>
      <effectHP>HP_old</effectHP>
      <health>1</health>
      <achievementTag>old</achievementTag>
      <effect>old</effect>
      <decayEffect>old</decayEffect>
      <lifetimeEffect>old</lifetimeEffect>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, "crate.model");
  KsDestructibleFragileDesc desc;
  desc.health = 6;
  desc.effectHP = "HP_new";
  desc.achievementTag = "none";
  ASSERT_TRUE(crate->updateFragileParameters(desc));
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<?xml version="1.0" encoding="utf-8"?>
<!-- by hand -->
<root>
  <fragiles>
    <entry>
      <mass>12</mass>
      <effectScale>1</effectScale>
      <!-- the crate -->
      <filename>crate.model</filename>
      <effectHP>HP_new</effectHP>
      <health>6</health>
      <effect>none</effect>
      <decayEffect>none</decayEffect>
      <lifetimeEffect>none</lifetimeEffect>
    </entry>
  </fragiles>
</root>
)");
}

TEST_F(SavingTheModel, WritesAFragilesHardPointAlsoWhenItIsEmpty) {
  writeDatabase(
      "<root><fragiles><entry><filename>crate</filename><effectHP>HP_a</effectHP></entry></fragiles></root>");
  const OpenModel crate({}, "crate");
  ASSERT_TRUE(crate->updateFragileParameters(KsDestructibleFragileDesc()));
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_THAT(readDatabase(), ::testing::ContainsRegex("<effectHP ?/>|<effectHP></effectHP>"));
}

TEST_F(SavingTheModel, EscapesNamesThatHoldSpecialCharacters) {
  const std::string name = "a&b <100%s> \"é\".model";
  writeDatabase(R"(<root>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, name);
  crate->setAsFragile();
  ASSERT_TRUE(crate->saveConfig());
  ASSERT_TRUE(crate->saveConfig());
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key(name), Key("other.model")));
  EXPECT_THAT(readDatabase(), ::testing::HasSubstr("a&amp;b &lt;100%s"));
}

TEST_F(SavingTheModel, MakesTheCategorySectionWhenTheFileLacksIt) {
  writeDatabase(R"(<root>
  <trees>
    <entry>
      <filename>oak</filename>
    </entry>
  </trees>
</root>
)");
  const OpenModel lamp({}, "lamp.model");
  lamp->setAsFallingAtoms();
  EXPECT_TRUE(lamp->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <trees>
    <entry>
      <filename>oak</filename>
    </entry>
  </trees>
  <fallingAtoms>
    <entry>
      <filename>lamp.model</filename>
      <health>20</health>
      <physicParams>200 3.2 0.03 150000 10000 0 0.05</physicParams>
      <lifetimeEffect>none</lifetimeEffect>
      <fractureEffect>inf_streetlamp_fracture</fractureEffect>
      <touchdownEffect>inf_streetlamp_touchdown</touchdownEffect>
      <touchdownBreakEffect>none</touchdownBreakEffect>
      <effectScale>1</effectScale>
    </entry>
  </fallingAtoms>
</root>
)");
}

// --- Falling atoms ---

TEST_F(SavingTheModel, WritesTheKeysOfAFallingAtomInOrder) {
  writeDatabase(R"(<root>
  <fallingAtoms>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fallingAtoms>
</root>
)");
  const OpenModel lamp({}, "lamp.model");
  lamp->setAsFallingAtoms();
  KsDestructibleFallingAtomDesc desc;
  desc.health = 7;
  desc.effectScale = 2.5F;
  desc.physicParams = "1 2 3 4 5 6 7";
  desc.achievementTag = "tag";
  desc.lifetimeEffect = "life";
  desc.fractureEffect = "fracture";
  desc.touchdownEffect = "touchdown";
  desc.touchdownBreakEffect = "break";
  ASSERT_TRUE(lamp->updateFallingAtomParameters(desc));
  EXPECT_TRUE(lamp->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fallingAtoms>
    <entry>
      <filename>other.model</filename>
    </entry>
    <entry>
      <filename>lamp.model</filename>
      <health>7</health>
      <physicParams>1 2 3 4 5 6 7</physicParams>
      <lifetimeEffect>life</lifetimeEffect>
      <fractureEffect>fracture</fractureEffect>
      <touchdownEffect>touchdown</touchdownEffect>
      <touchdownBreakEffect>break</touchdownBreakEffect>
      <effectScale>2.5</effectScale>
      <achievementTag>tag</achievementTag>
    </entry>
  </fallingAtoms>
</root>
)");
}

TEST_F(SavingTheModel, WritesEveryEffectOfAFallingAtomAlsoWhenItIsEmpty) {
  writeDatabase(
      "<root><fallingAtoms><entry><filename>lamp</filename><achievementTag>x</achievementTag></entry></"
      "fallingAtoms></root>");
  const OpenModel lamp({}, "lamp");
  KsDestructibleFallingAtomDesc desc;
  desc.lifetimeEffect = "";
  desc.fractureEffect = "";
  desc.touchdownEffect = "";
  desc.touchdownBreakEffect = "";
  ASSERT_TRUE(lamp->updateFallingAtomParameters(desc));
  EXPECT_TRUE(lamp->saveConfig());
  const std::string text = readDatabase();
  for (const char* key : {"lifetimeEffect", "fractureEffect", "touchdownEffect", "touchdownBreakEffect"}) {
    EXPECT_THAT(text, ::testing::ContainsRegex(std::string("<") + key + " ?/>|<" + key + "></")) << key;
  }
  EXPECT_THAT(text, ::testing::Not(::testing::HasSubstr("achievementTag")));
}

// --- Other entries of the model ---

TEST_F(SavingTheModel, AsAFragileRemovesItsStructureAndRewritesItsFragile) {
  writeDatabase(R"(<root>
  <structures>
    <entry>
      <filename>crate.model</filename>
      <achievementTag>x</achievementTag>
    </entry>
    <entry>
      <filename>house.model</filename>
    </entry>
  </structures>
  <fragiles>
    <entry>
      <filename>crate.model</filename>
      <health>1</health>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, "crate.model");
  ASSERT_EQ(crate->destructibleType(), DT_FRAGILE);
  ASSERT_TRUE(crate->updateFragileParameters(fullFragile()));
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <filename>house.model</filename>
    </entry>
  </structures>
  <fragiles>
    <entry>
      <filename>crate.model</filename>
      <health>7</health>
      <decayEffect>decay</decayEffect>
      <effect>main</effect>
      <hitEffect>hit</hitEffect>
      <effectHP>HP_a</effectHP>
      <effectScale>0.1</effectScale>
      <matName>wood</matName>
      <lifetimeEffect>life</lifetimeEffect>
      <achievementTag>tag</achievementTag>
    </entry>
  </fragiles>
</root>
)");
}

TEST_F(SavingTheModel, UpdatesTheFirstOfThreeEntriesAndRemovesTheOthers) {
  writeDatabase(R"(<root>
  <fallingAtoms>
    <entry>
      <filename>first.model</filename>
    </entry>
    <entry>
      <mark>kept</mark>
      <filename>lamp.model</filename>
    </entry>
    <entry>
      <filename>lamp.model</filename>
    </entry>
    <entry>
      <filename>lamp.model</filename>
      <health>9</health>
    </entry>
    <entry>
      <filename>last.model</filename>
    </entry>
  </fallingAtoms>
</root>
)");
  const OpenModel lamp({}, "lamp.model");
  EXPECT_TRUE(lamp->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fallingAtoms>
    <entry>
      <filename>first.model</filename>
    </entry>
    <entry>
      <mark>kept</mark>
      <filename>lamp.model</filename>
      <health>9</health>
      <physicParams>200 3.2 0.03 150000 10000 0 0.05</physicParams>
      <lifetimeEffect>none</lifetimeEffect>
      <fractureEffect></fractureEffect>
      <touchdownEffect></touchdownEffect>
      <touchdownBreakEffect></touchdownBreakEffect>
      <effectScale>1</effectScale>
    </entry>
    <entry>
      <filename>last.model</filename>
    </entry>
  </fallingAtoms>
</root>
)");
}

TEST_F(SavingTheModel, LeavesTreesOfItsNameUntouched) {
  writeDatabase(R"(<root>
  <trees>
    <entry>
      <filename>crate.model</filename>
      <health>99</health>
    </entry>
  </trees>
  <fragiles>
    <entry>
      <filename>crate.model</filename>
    </entry>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, "crate.model");
  crate->setAsNonDestructible(true);
  EXPECT_FALSE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <trees>
    <entry>
      <filename>crate.model</filename>
      <health>99</health>
    </entry>
  </trees>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fragiles>
</root>
)");
}

TEST_F(SavingTheModel, OfNoCategoryRemovesItsEntriesEverywhereAndReportsFalse) {
  writeDatabase(R"(<root>
  <structures>
    <entry>
      <filename>a.model</filename>
    </entry>
    <entry>
      <filename>crate.model</filename>
    </entry>
  </structures>
  <fragiles>
    <entry>
      <filename>crate.model</filename>
    </entry>
    <entry>
      <filename>b.model</filename>
    </entry>
  </fragiles>
  <fallingAtoms>
    <entry>
      <filename>crate.model</filename>
    </entry>
    <entry>
      <filename>crate.model</filename>
    </entry>
    <entry>
      <filename>c.model</filename>
    </entry>
  </fallingAtoms>
  <buildings>
    <entry>
      <filename>crate.model</filename>
    </entry>
    <entry>
      <filename>d.model</filename>
    </entry>
  </buildings>
</root>
)");
  const OpenModel crate({}, "crate.model");
  crate->setAsNonDestructible(true);
  Access::fragileMap()["only in memory"].health = 1;
  int told = 0;
  const ks::Connection listening = crate->connectLoadedConfigSignal([&] { ++told; });
  EXPECT_FALSE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <structures>
    <entry>
      <filename>a.model</filename>
    </entry>
  </structures>
  <fragiles>
    <entry>
      <filename>b.model</filename>
    </entry>
  </fragiles>
  <fallingAtoms>
    <entry>
      <filename>c.model</filename>
    </entry>
  </fallingAtoms>
  <buildings>
    <entry>
      <filename>d.model</filename>
    </entry>
  </buildings>
</root>
)");
  EXPECT_FALSE(crate->isMissingInDestructiblesXml());
  EXPECT_EQ(told, 0);
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("b.model"), Key("only in memory")));
}

TEST_F(SavingTheModel, OfNoCategoryAndWithoutEntriesLeavesTheFileAsItIs) {
  const std::string text = "<root><!-- odd --><fragiles ><entry/></fragiles></root>";
  writeDatabase(text);
  const OpenModel crate({}, "crate.model");
  EXPECT_FALSE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), text);
}

TEST_F(SavingTheModel, RemovesAnEntryThatStandsDirectlyUnderTheRoot) {
  writeDatabase(R"(<root>
  <entry>
    <filename>crate.model</filename>
  </entry>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, "crate.model");
  EXPECT_FALSE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fragiles>
</root>
)");
}

TEST_F(SavingTheModel, FindsItsEntryInASecondSectionOfItsCategory) {
  writeDatabase(R"(<root>
  <fallingAtoms>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fallingAtoms>
  <fallingAtoms>
    <entry>
      <filename>lamp.model</filename>
      <physicParams>1</physicParams>
      <lifetimeEffect>a</lifetimeEffect>
      <fractureEffect>b</fractureEffect>
      <touchdownEffect>c</touchdownEffect>
      <touchdownBreakEffect>d</touchdownBreakEffect>
      <effectScale>2</effectScale>
    </entry>
  </fallingAtoms>
</root>
)");
  const OpenModel lamp({}, "lamp.model");
  EXPECT_TRUE(lamp->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fallingAtoms>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fallingAtoms>
  <fallingAtoms>
    <entry>
      <filename>lamp.model</filename>
      <physicParams>1</physicParams>
      <lifetimeEffect>a</lifetimeEffect>
      <fractureEffect>b</fractureEffect>
      <touchdownEffect>c</touchdownEffect>
      <touchdownBreakEffect>d</touchdownBreakEffect>
      <effectScale>2</effectScale>
      <health>20</health>
    </entry>
  </fallingAtoms>
</root>
)");
}

}  // namespace
}  // namespace Tal
