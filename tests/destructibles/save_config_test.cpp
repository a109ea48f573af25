#include <destructibles/fixture.h>

namespace Tal {
namespace {

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
  writeDatabase(R"(<root>
  <fragiles>
    <entry>
      <filename>crate</filename>
      <effectHP>HP_a</effectHP>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, "crate");
  ASSERT_TRUE(crate->updateFragileParameters(KsDestructibleFragileDesc()));
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fragiles>
    <entry>
      <filename>crate</filename>
      <effectHP></effectHP>
      <health>5</health>
      <decayEffect>none</decayEffect>
      <effect>none</effect>
      <effectScale>1</effectScale>
      <lifetimeEffect>none</lifetimeEffect>
    </entry>
  </fragiles>
</root>
)");
}

TEST_F(SavingTheModel, EscapesNamesThatHoldSpecialCharacters) {
  const std::string name = "a&b <100%s> \"é\".model";
  writeDatabase(R"(<root>
  <fallingAtoms>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fallingAtoms>
</root>
)");
  const OpenModel lamp({}, name);
  lamp->setAsFallingAtoms();
  Access::fallingAtomMap()[name].achievementTag = "<&>";
  ASSERT_TRUE(lamp->saveConfig());
  ASSERT_TRUE(lamp->saveConfig()) << "it finds its entry again";
  EXPECT_EQ(Access::fallingAtomMap().at(name).achievementTag, "<&>");
  EXPECT_EQ(readDatabase(), R"(<root>
  <fallingAtoms>
    <entry>
      <filename>other.model</filename>
    </entry>
    <entry>
      <filename>a&amp;b &lt;100%s&gt; "é".model</filename>
      <health>20</health>
      <physicParams>200 3.2 0.03 150000 10000 0 0.05</physicParams>
      <lifetimeEffect>none</lifetimeEffect>
      <fractureEffect>inf_streetlamp_fracture</fractureEffect>
      <touchdownEffect>inf_streetlamp_touchdown</touchdownEffect>
      <touchdownBreakEffect>none</touchdownBreakEffect>
      <effectScale>1</effectScale>
      <achievementTag>&lt;&amp;&gt;</achievementTag>
    </entry>
  </fallingAtoms>
</root>
)");
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
  writeDatabase(R"(<root>
  <fallingAtoms>
    <entry>
      <filename>lamp</filename>
      <achievementTag>old</achievementTag>
    </entry>
  </fallingAtoms>
</root>
)");
  const OpenModel lamp({}, "lamp");
  KsDestructibleFallingAtomDesc desc;
  desc.physicParams = "";
  desc.lifetimeEffect = "";
  desc.fractureEffect = "";
  desc.touchdownEffect = "none";
  desc.touchdownBreakEffect = "";
  desc.achievementTag = "none";
  ASSERT_TRUE(lamp->updateFallingAtomParameters(desc));
  EXPECT_TRUE(lamp->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fallingAtoms>
    <entry>
      <filename>lamp</filename>
      <health>20</health>
      <physicParams/>
      <lifetimeEffect/>
      <fractureEffect/>
      <touchdownEffect>none</touchdownEffect>
      <touchdownBreakEffect/>
      <effectScale>1</effectScale>
    </entry>
  </fallingAtoms>
</root>
)");
}

}  // namespace
}  // namespace Tal
