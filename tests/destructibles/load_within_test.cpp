// The end of one helper marks the database as not loaded, so that the next look at it by another one loads in
// the middle of an operation.

#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;

class ALoadWithinAnOperation : public DestructiblesTest {
 protected:
  /// Makes the next look at the database load it.
  static void endAnotherHelper() { const KsDestructiblesHelper other; }
};

TEST_F(ALoadWithinAnOperation, LeavesTheEstimateForTwoCollisionPartsAt35) {
  writeDatabase("<r/>");
  const OpenModel open({{{"roof", 74}, {"wall", 73}}, {"roof", "wall"}}, "m");
  endAnotherHelper();
  open->setAsStructure();
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").health, 35);
}

TEST_F(ALoadWithinAnOperation, LeavesAnEntryThatItDropsAndThatIsMadeAnewMissingInTheFile) {
  writeDatabase("<r/>");
  const OpenModel open({{{"wall", 73}}}, "m");
  ASSERT_TRUE(open->updateDestructibleModule("old", KsDestructibleModuleDesc(), false));
  ASSERT_FALSE(open->isMissingInDestructiblesXml());
  endAnotherHelper();
  open->setAsStructure();
  EXPECT_THAT(Access::moduleMap().at("m"), ElementsAre(Key("wall")));
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
}

TEST_F(ALoadWithinAnOperation, LetsItsCallbackSeeTheFormerState) {
  writeDatabase("<r/>");
  const OpenModel open({{{"wall", 73}}}, "m");
  std::string seen;
  const ks::Connection connection =
      open->connectLoadedConfigSignal([&] { seen = open->getDestructibleState(); });
  endAnotherHelper();
  EXPECT_TRUE(open->setDestructibleState("destroyed"));
  EXPECT_EQ(seen, "undamaged");
}

TEST_F(ALoadWithinAnOperation, ThatDropsTheRecordLeavesNoEmptyEntryBehindTheNextSave) {
  writeDatabase("<r/>");
  const OpenModel crate({}, "crate");
  crate->setAsFragile();
  writeDatabase(R"(<root>
  <fragiles>
    <entry>
      <filename>other</filename>
    </entry>
  </fragiles>
  <structures>
    <entry>
      <filename>crate</filename>
    </entry>
  </structures>
</root>
)");
  ASSERT_TRUE(crate->loadConfig(true));
  EXPECT_TRUE(crate->saveConfig());
  EXPECT_THAT(readDatabase(), Not(HasSubstr("<filename>crate")));
  EXPECT_THAT(readDatabase(), Not(HasSubstr("<entry/>")));
  EXPECT_THAT(readDatabase(), Not(HasSubstr("<entry></entry>")));
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("other")));
  EXPECT_THAT(Access::moduleMap(), IsEmpty());
}

TEST_F(ALoadWithinAnOperation, ThatBringsAnEntryHasItOverwrittenByTheOneThatIsMade) {
  constexpr const char* kGate = "a/gatesandfences/b";
  for (const bool isFragile : {false, true}) {
    writeDatabase("<r/>");
    const OpenModel gate({{{"n_wood", 73}}}, kGate);
    const std::string section = isFragile ? "fragiles" : "fallingAtoms";
    root_.replace(kDatabase, "<r><" + section + "><entry><filename>" + kGate +
                                 "</filename><health>77</health></entry></" + section + "></r>");
    endAnotherHelper();
    int loaded = 0;
    const ks::Connection listening = gate->connectLoadedConfigSignal([&] { ++loaded; });
    isFragile ? gate->setAsFragile() : gate->setAsFallingAtoms();
    EXPECT_EQ(loaded, 1);
    if (isFragile) {
      EXPECT_EQ(Access::fragiles().at(kGate).health, 1);
      EXPECT_EQ(Access::fragiles().at(kGate).hitEffect, "hd_bld_SU_206_Cellar");
    } else {
      EXPECT_EQ(Access::fallingAtoms().at(kGate).health, 1);
      EXPECT_EQ(Access::fallingAtoms().at(kGate).fractureEffect, "inf_streetlamp_fracture");
    }
    EXPECT_TRUE(gate->isMissingInDestructiblesXml());
  }
}

TEST_F(ALoadWithinAnOperation, ThatBringsModulesKeepsThemAndHasTheLackingOnesAdded) {
  writeDatabase("<r/>");
  const OpenModel house({{{"wall", 73}, {"roof", 74}}}, "house");
  root_.replace(kDatabase, R"(<r><structures><entry><filename>house</filename><modules>
    <module><matName>wall</matName><health>77</health></module></modules></entry></structures></r>)");
  endAnotherHelper();
  int loaded = 0;
  const ks::Connection listening = house->connectLoadedConfigSignal([&] { ++loaded; });
  house->setAsStructure();
  EXPECT_EQ(loaded, 1);
  EXPECT_THAT(Access::modules().at("house"), ElementsAre(Key("roof"), Key("wall")));
  EXPECT_EQ(Access::modules().at("house").at("wall").health, 77);
  EXPECT_EQ(Access::modules().at("house").at("wall").hitEffect, "");
  EXPECT_EQ(Access::modules().at("house").at("roof").health, 50);
  EXPECT_TRUE(house->isMissingInDestructiblesXml()) << "the table was made before the load";
}

}  // namespace
}  // namespace Tal
