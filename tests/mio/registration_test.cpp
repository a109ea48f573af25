#include <gtest/gtest.h>
#include <mio/lamp.h>

#include <memory>
#include <stdexcept>

namespace {

using mio::MetaObject;
using mio::Registration;

TEST(ARegistration, IsFoundByTypeAndByNameAsLongAsItLives) {
  EXPECT_EQ(MetaObject::of<Lamp>(), nullptr);
  EXPECT_EQ(MetaObject::find("Test::Lamp"), nullptr);
  {
    const Registration lamp(describeLamp());
    EXPECT_EQ(MetaObject::of<Lamp>(), &lamp.metaObject());
    EXPECT_EQ(MetaObject::find("Test::Lamp"), &lamp.metaObject());
    EXPECT_EQ(MetaObject::find(typeid(Lamp)), &lamp.metaObject());
    EXPECT_EQ(Lamp().metaObject(), &lamp.metaObject());
    EXPECT_EQ(MetaObject::of<Crate>(), nullptr);
    EXPECT_EQ(MetaObject::find("Test::Crate"), nullptr);
    EXPECT_EQ(MetaObject::find("Lamp"), nullptr);
  }
  EXPECT_EQ(MetaObject::of<Lamp>(), nullptr);
  EXPECT_EQ(MetaObject::find("Test::Lamp"), nullptr);
  EXPECT_EQ(Lamp().metaObject(), nullptr);
}

TEST(ARegistration, OfATypeThatHasOneAlreadyChangesNothing) {
  const Registration first(describeLamp());
  {
    const Registration second(describeLamp());
    EXPECT_EQ(MetaObject::of<Lamp>(), &first.metaObject());
  }
  EXPECT_EQ(MetaObject::of<Lamp>(), &first.metaObject());
  EXPECT_EQ(MetaObject::find("Test::Lamp"), &first.metaObject());
}

TEST(ARegistration, MayEndInAnyOrder) {
  auto lamp = std::make_unique<Registration>(describeLamp());
  auto crate = std::make_unique<Registration>(describeCrate());
  lamp.reset();
  EXPECT_EQ(MetaObject::of<Lamp>(), nullptr);
  EXPECT_EQ(MetaObject::of<Crate>(), &crate->metaObject());
}

TEST(ARegistration, RefusesNotificationsThatNoMethodTakes) {
  EXPECT_THROW(Registration(mio::describe<Crate>("C").annotation(mio::ChangeNotification("_notify"))),
               std::logic_error);
  EXPECT_THROW(
      Registration(mio::describe<Crate>("C").property("Health", &Crate::health, mio::OnChange("_notify"))),
      std::logic_error);
  EXPECT_THROW(
      Registration(
          mio::describe<Lamp>("L").annotation(mio::ChangeNotification("damage")).method("damage", &damage)),
      std::logic_error)
      << "it takes arguments";
  EXPECT_EQ(MetaObject::of<Crate>(), nullptr);
  EXPECT_EQ(MetaObject::find("L"), nullptr);
}

}  // namespace
