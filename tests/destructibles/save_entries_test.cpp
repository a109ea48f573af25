#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::Key;

class TheEntriesOfTheModel : public DestructiblesTest {};

TEST_F(TheEntriesOfTheModel, AmongTheStructuresAreRemovedWhenTheModelIsSavedAsAFragile) {
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
  KsDestructibleFragileDesc desc;
  desc.health = 7;
  desc.effectHP = "HP_a";
  ASSERT_TRUE(crate->updateFragileParameters(desc));
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

TEST_F(TheEntriesOfTheModel, OfItsOwnCategoryAreReducedToTheFirstOfThree) {
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
      <fractureEffect/>
      <touchdownEffect/>
      <touchdownBreakEffect/>
      <effectScale>1</effectScale>
    </entry>
    <entry>
      <filename>last.model</filename>
    </entry>
  </fallingAtoms>
</root>
)");
}

TEST_F(TheEntriesOfTheModel, AmongTheTreesAreLeftUntouched) {
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

TEST_F(TheEntriesOfTheModel, OfNoCategoryAreRemovedEverywhereAndTheSaveReportsFalse) {
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

TEST_F(TheEntriesOfTheModel, OfNoCategoryThatAreNotThereLeaveTheFileAsItIs) {
  const std::string text = "<root><!-- odd --><fragiles ><entry/></fragiles></root>";
  writeDatabase(text);
  const OpenModel crate({}, "crate.model");
  EXPECT_FALSE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), text);
}

TEST_F(TheEntriesOfTheModel, DirectlyUnderTheRootAreRemoved) {
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

TEST_F(TheEntriesOfTheModel, DirectlyUnderTheRootAreRemovedAlsoWhenTheyAreTrees) {
  const std::string others = R"(  <trees>
    <filename>other.model</filename>
  </trees>
  <fragiles>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fragiles>
</root>
)";
  writeDatabase(R"(<root>
  <trees>
    <filename>crate.model</filename>
    <entry>
      <filename>tree.model</filename>
    </entry>
  </trees>
)" + others);
  const OpenModel crate({}, "crate.model");
  EXPECT_FALSE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), "<root>\n" + others);
}

TEST_F(TheEntriesOfTheModel, AreFoundInASecondSectionOfTheirCategoryUnderAnyTag) {
  writeDatabase(R"(<root>
  <fallingAtoms>
    <entry>
      <filename>other.model</filename>
    </entry>
  </fallingAtoms>
  <fallingAtoms>
    <lamp>
      <filename>lamp.model</filename>
      <physicParams>1</physicParams>
      <lifetimeEffect>a</lifetimeEffect>
      <fractureEffect>b</fractureEffect>
      <touchdownEffect>c</touchdownEffect>
      <touchdownBreakEffect>d</touchdownBreakEffect>
      <effectScale>2</effectScale>
    </lamp>
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
    <lamp>
      <filename>lamp.model</filename>
      <physicParams>1</physicParams>
      <lifetimeEffect>a</lifetimeEffect>
      <fractureEffect>b</fractureEffect>
      <touchdownEffect>c</touchdownEffect>
      <touchdownBreakEffect>d</touchdownBreakEffect>
      <effectScale>2</effectScale>
      <health>20</health>
    </lamp>
  </fallingAtoms>
</root>
)");
}

TEST_F(TheEntriesOfTheModel, InTwoSectionsOfTheirCategoryAreRewrittenInTheLater) {
  writeDatabase(R"(<root>
  <fragiles>
    <entry>
      <filename>crate.model</filename>
      <health>1</health>
    </entry>
  </fragiles>
  <fragiles>
    <entry>
      <filename>crate.model</filename>
      <health>2</health>
      <decayEffect>a</decayEffect>
      <effect>b</effect>
      <effectHP>c</effectHP>
      <effectScale>3</effectScale>
      <lifetimeEffect>d</lifetimeEffect>
    </entry>
  </fragiles>
</root>
)");
  const OpenModel crate({}, "crate.model");
  Access::fragileMap()["crate.model"].health = 4;
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_EQ(readDatabase(), R"(<root>
  <fragiles>
    <entry>
      <filename>crate.model</filename>
      <health>1</health>
    </entry>
  </fragiles>
  <fragiles>
    <entry>
      <filename>crate.model</filename>
      <health>4</health>
      <decayEffect>a</decayEffect>
      <effect>b</effect>
      <effectHP>c</effectHP>
      <effectScale>3</effectScale>
      <lifetimeEffect>d</lifetimeEffect>
    </entry>
  </fragiles>
</root>
)");
  EXPECT_EQ(Access::fragileMap().at("crate.model").health, 4);
}

}  // namespace
}  // namespace Tal
