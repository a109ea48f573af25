#include <destructibles/fixture.h>

#include <algorithm>
#include <limits>

namespace Tal {
namespace {

constexpr const char* kFile = R"(<root>
  <fragiles>
    <entry>
      <filename>crate</filename>
      <health>5</health>
    </entry>
  </fragiles>
</root>
)";

class AValueThatTheFileCannotHold : public DestructiblesTest {
 protected:
  static int criticalMessages(const std::vector<DebugMessage>& messages) {
    return static_cast<int>(std::count_if(messages.begin(), messages.end(),
                                          [](const DebugMessage& message) { return message.isCritical; }));
  }

  void expectRefusedThenSaved(const KsDestructibleFragileDesc& refused,
                              const KsDestructibleFragileDesc& mended) {
    writeDatabase(kFile);
    const OpenModel crate({}, "crate");
    ASSERT_TRUE(crate->updateFragileParameters(refused));
    EXPECT_FALSE(crate->saveConfig());
    EXPECT_EQ(readDatabase(), kFile);
    EXPECT_EQ(criticalMessages(messages_.messages()), 1);
    KsDestructibleFragileDesc kept;
    ASSERT_TRUE(crate->getFragileParameters(kept));
    EXPECT_EQ(kept.health, refused.health);
    EXPECT_EQ(kept.effect, refused.effect);
    ASSERT_TRUE(crate->updateFragileParameters(mended));
    EXPECT_TRUE(crate->saveConfig());
    EXPECT_THAT(readDatabase(), ::testing::HasSubstr("<health>77</health>"));
  }
};

TEST_F(AValueThatTheFileCannotHold, MakesTheSaveFailAndKeepsTheEdits) {
  KsDestructibleFragileDesc desc;
  desc.health = 77;
  desc.effect = "bad\x01";
  KsDestructibleFragileDesc mended = desc;
  mended.effect = "good";
  expectRefusedThenSaved(desc, mended);
}

TEST_F(AValueThatTheFileCannotHold, MayBeANumberThatIsNotFinite) {
  KsDestructibleFragileDesc desc;
  desc.health = 77;
  desc.effectScale = std::numeric_limits<float>::infinity();
  KsDestructibleFragileDesc mended = desc;
  mended.effectScale = 2.0F;
  mended.effect = "other";  // a difference from infinity that is not a number counts as none
  expectRefusedThenSaved(desc, mended);
}

}  // namespace
}  // namespace Tal
