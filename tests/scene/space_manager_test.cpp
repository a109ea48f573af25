#include <gtest/gtest.h>
#include <scene/space_manager.h>

namespace Tal {
namespace {

TEST(TheSpaceManager, FindsTheSpacesThatAreOpen) {
  SpaceManager manager;
  EXPECT_EQ(manager.space(7), nullptr);
  ClientSpace& space = manager.createSpace(7);
  EXPECT_EQ(manager.space(7), &space);
  EXPECT_EQ(space.id(), 7);
  EXPECT_EQ(manager.space(8), nullptr);
  manager.removeSpace(7);
  EXPECT_EQ(manager.space(7), nullptr);
}

TEST(TheSpaceManager, LetsASpaceLiveAsLongAsSomebodyHoldsIt) {
  SpaceManager manager;
  const SmartPointer<ClientSpace> held = &manager.createSpace(7);
  EXPECT_EQ(held->refCount(), 2U);
  manager.removeSpace(7);
  EXPECT_EQ(held->refCount(), 1U);
  EXPECT_EQ(held->id(), 7);
}

TEST(TheSpaceManager, PutsANewSpaceInPlaceOfTheOneOfItsIdentifier) {
  SpaceManager manager;
  const SmartPointer<ClientSpace> first = &manager.createSpace(7);
  const ClientSpace& second = manager.createSpace(7);
  EXPECT_NE(first.get(), &second);
  EXPECT_EQ(manager.space(7), &second);
}

TEST(TheSpaceManager, IsOneOfTheProcess) {
  EXPECT_EQ(&SpaceManager::instance(), &SpaceManager::instance());
}

}  // namespace
}  // namespace Tal
