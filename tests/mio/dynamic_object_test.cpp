#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mio/dynamic_object.h>
#include <mio/lamp.h>

#include <string>
#include <vector>

namespace {

using mio::DynamicObject;
using testing::ElementsAre;
using tyk::Variant;
using Type = tyk::Variant::Type;

std::vector<std::string> namesOf(mio::Object& object) {
  std::vector<std::string> names;
  for (const mio::BoundProperty& property : object.properties()) names.push_back(property.property()->name());
  return names;
}

TEST(ADynamicObject, HasThePropertiesThatItsHostAdds) {
  int category = 1;
  DynamicObject model;
  model.addProperty("Destructible Type", Type::signedInteger, [&category] { return Variant(category); });
  model.addProperty("_hardPoints", Type::list, [] { return Variant(std::vector<std::string>{"HP_1"}); });
  EXPECT_THAT(namesOf(model), ElementsAre("Destructible Type", "_hardPoints"));
  EXPECT_EQ(model.property("Destructible Type").get(), Variant(1));
  category = 2;
  EXPECT_EQ(model.property("Destructible Type").get(), Variant(2)) << "computed when it is read";
  EXPECT_EQ(model.property("_hardPoints").property()->type(), Type::list);
  EXPECT_FALSE(model.property("_hardpoints").isValid());
}

TEST(ADynamicObject, RefusesToHaveItsPropertiesWritten) {
  DynamicObject model;
  model.addProperty("Destructible Type", Type::signedInteger, [] { return Variant(1); });
  const mio::BoundProperty property = model.property("Destructible Type");
  EXPECT_FALSE(property.property()->isWritable());
  try {
    property.set(2);
    FAIL() << "it was written";
  } catch (const tyk::BadCast& error) {
    EXPECT_STREQ(error.what(),
                 "cannot convert the integer \"2\" to property Destructible Type, which can only be read");
  }
}

TEST(ADynamicObject, KeepsItsPropertiesInPlaceAsMoreAreAdded) {
  DynamicObject model;
  model.addProperty("First", Type::signedInteger, [] { return Variant(1); });
  const mio::BoundProperty first = model.property("First");
  for (int number = 0; number < 1000; ++number)
    model.addProperty("P" + std::to_string(number), Type::signedInteger,
                      [number] { return Variant(number); });
  EXPECT_EQ(first.get(), Variant(1));
  EXPECT_EQ(model.property("P999").get(), Variant(999));
}

TEST(ADynamicObject, ListsWhatItsClassDescribesFirst) {
  class ShownLamp : public DynamicObject {
   public:
    int health = 3;
  };
  const mio::Registration registration(
      mio::describe<ShownLamp>("Test::ShownLamp").property("Health", &ShownLamp::health));
  ShownLamp lamp;
  lamp.addProperty("Health", Type::signedInteger, [] { return Variant(9); });
  lamp.addProperty("Category", Type::signedInteger, [] { return Variant(1); });
  EXPECT_THAT(namesOf(lamp), ElementsAre("Health", "Health", "Category"));
  EXPECT_EQ(lamp.property("Health").get(), Variant(3));
}

}  // namespace
