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

}  // namespace
}  // namespace Tal
