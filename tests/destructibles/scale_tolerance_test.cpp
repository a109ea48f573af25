#include <destructibles/fixture.h>

namespace Tal {
namespace {

class TheToleranceOfAnEffectScale : public DestructiblesTest {};

TEST_F(TheToleranceOfAnEffectScale, KeepsAModuleThatDiffersByLess) {
  const OpenModel open({}, "m");
  ASSERT_TRUE(open->updateDestructibleModule("wall", KsDestructibleModuleDesc(), false));
  KsDestructibleModuleDesc desc;
  desc.effectScale = 1.0003F;
  EXPECT_FALSE(open->updateDestructibleModule("wall", desc, false));
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").effectScale, 1.0F);
  desc.effectScale = 1.0005F;
  EXPECT_TRUE(open->updateDestructibleModule("wall", desc, false));
  EXPECT_EQ(Access::moduleMap().at("m").at("wall").effectScale, 1.0005F);
}

TEST_F(TheToleranceOfAnEffectScale, KeepsAFallingAtomThatDiffersByLess) {
  const OpenModel open({}, "m");
  open->setAsFallingAtoms();
  KsDestructibleFallingAtomDesc desc;
  ASSERT_TRUE(open->getFallingAtomParameters(desc));
  desc.effectScale = 1.0003F;
  EXPECT_FALSE(open->updateFallingAtomParameters(desc));
  EXPECT_EQ(Access::fallingAtomMap().at("m").effectScale, 1.0F);
  desc.effectScale = 1.0005F;
  EXPECT_TRUE(open->updateFallingAtomParameters(desc));
  EXPECT_EQ(Access::fallingAtomMap().at("m").effectScale, 1.0005F);
}

}  // namespace
}  // namespace Tal
