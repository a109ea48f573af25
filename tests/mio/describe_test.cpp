#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mio/lamp.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::SizeIs;
using Type = tyk::Variant::Type;

template <class Members>
std::vector<std::string> namesOf(const Members& members) {
  std::vector<std::string> names;
  for (const auto& member : members) names.push_back(member.name());
  return names;
}

class ADescription : public ::testing::Test {
 protected:
  mio::Registration registration_{describeLamp()};
  const mio::MetaObject& meta_ = registration_.metaObject();
};

TEST_F(ADescription, ListsPropertiesAndMethodsInTheOrderOfTheChain) {
  EXPECT_EQ(meta_.typeName(), "Test::Lamp");
  EXPECT_THAT(namesOf(meta_.properties()), ElementsAre("Health", "Scale", "Lit", "Effect"));
  EXPECT_THAT(namesOf(meta_.methods()), ElementsAre("_notify", "_notifyEffect", "damage"));
}

TEST_F(ADescription, FindsPropertiesAndMethodsByTheirNames) {
  EXPECT_EQ(meta_.property("Lit"), &meta_.properties()[2]);
  EXPECT_EQ(meta_.property("lit"), nullptr);
  EXPECT_EQ(meta_.method("damage"), &meta_.methods()[2]);
  EXPECT_EQ(meta_.method(""), nullptr);
}

TEST_F(ADescription, KnowsTheTypeOfEachProperty) {
  EXPECT_EQ(meta_.property("Health")->type(), Type::signedInteger);
  EXPECT_EQ(meta_.property("Scale")->type(), Type::singleFloat);
  EXPECT_EQ(meta_.property("Lit")->type(), Type::boolean);
  EXPECT_EQ(meta_.property("Effect")->type(), Type::string);
  EXPECT_TRUE(meta_.property("Effect")->isWritable());
}

TEST_F(ADescription, HoldsTheAnnotationsOfClassAndPropertiesInTheirOrder) {
  ASSERT_THAT(meta_.annotations().all(), SizeIs(1));
  EXPECT_EQ(meta_.annotations().find<mio::ChangeNotification>()->method(), "_notify");
  EXPECT_EQ(meta_.property("Scale")->annotations().find<mio::Precision>()->decimals, 2);
  EXPECT_THAT(meta_.property("Lit")->annotations().all(), SizeIs(0));
  const mio::Annotations& effect = meta_.property("Effect")->annotations();
  ASSERT_THAT(effect.all(), SizeIs(3));
  EXPECT_NE(dynamic_cast<const mio::Autocomplete*>(effect.all()[0].get()), nullptr);
  EXPECT_NE(dynamic_cast<const mio::ComboBox*>(effect.all()[1].get()), nullptr);
  EXPECT_NE(dynamic_cast<const mio::OnChange*>(effect.all()[2].get()), nullptr);
  EXPECT_TRUE(effect.find<mio::Autocomplete>()->isOn);
  EXPECT_EQ(effect.find<mio::Precision>(), nullptr);
  EXPECT_EQ(effect.find<mio::ChangeNotification>(), nullptr) << "of the class, not of the property";
}

TEST(AHostsOwnAnnotation, IsFoundLikeTheOthers) {
  struct Unit : mio::Annotation {
    explicit Unit(std::string text) : name(std::move(text)) {}
    std::string name;
  };
  const mio::Registration registration(
      mio::describe<Crate>("Test::Crate").property("Health", &Crate::health, Unit("hit points")));
  const mio::Property& health = registration.metaObject().properties()[0];
  ASSERT_NE(health.annotations().find<Unit>(), nullptr);
  EXPECT_EQ(health.annotations().find<Unit>()->name, "hit points");
}

}  // namespace
