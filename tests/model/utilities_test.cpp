#include <gtest/gtest.h>
#include <model/utilities.h>

namespace Tal {
namespace {

TEST(TheVisualPath, ReplacesTheModelsExtension) {
  EXPECT_EQ(Utilities::getVisualPath("content/house.model"), "content/house.visual");
  EXPECT_EQ(Utilities::getVisualPath(".model"), ".visual");
  EXPECT_EQ(Utilities::getVisualPath("a.model.model"), "a.model.visual");
}

TEST(TheVisualPath, IsAppendedToAnyOtherName) {
  EXPECT_EQ(Utilities::getVisualPath("content/house"), "content/house.visual");
  EXPECT_EQ(Utilities::getVisualPath("content/house.MODEL"), "content/house.MODEL.visual");
  EXPECT_EQ(Utilities::getVisualPath("house.models"), "house.models.visual");
  EXPECT_EQ(Utilities::getVisualPath(""), ".visual");
}

}  // namespace
}  // namespace Tal
