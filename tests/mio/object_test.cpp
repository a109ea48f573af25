#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mio/object.h>
#include <mio/property.h>

#include <cstdint>
#include <memory>
#include <type_traits>

namespace {

using mio::Object;
using mio::SetterFlags;

class Record : public Object {
 public:
  explicit Record(bool* isDestroyed = nullptr) : isDestroyed_(isDestroyed) {}
  Record(const Record&) = default;
  Record& operator=(const Record&) = default;
  ~Record() override {
    if (isDestroyed_ != nullptr) *isDestroyed_ = true;
  }

  int value_ = 0;

 private:
  bool* isDestroyed_;
};

TEST(AnObject, IsDestroyedThroughItsBase) {
  bool isDestroyed = false;
  std::unique_ptr<Object> object = std::make_unique<Record>(&isDestroyed);
  object.reset();
  EXPECT_TRUE(isDestroyed);
}

TEST(AnObject, LetsARecordBeCopiedAndAssigned) {
  Record original;
  original.value_ = 7;
  Record copy(original);
  EXPECT_EQ(copy.value_, 7);
  original.value_ = 8;
  copy = original;
  EXPECT_EQ(copy.value_, 8);
}

TEST(AnObject, HasAParentThatKnowsItsChildrenInOrder) {
  Record parent;
  Record first;
  Record second;
  EXPECT_EQ(first.parent(), nullptr);
  EXPECT_THAT(parent.children(), testing::IsEmpty());
  EXPECT_TRUE(first.setParent(&parent));
  EXPECT_TRUE(second.setParent(&parent));
  EXPECT_EQ(first.parent(), &parent);
  EXPECT_THAT(parent.children(), testing::ElementsAre(&first, &second));
  EXPECT_TRUE(first.setParent(&parent));
  EXPECT_THAT(parent.children(), testing::ElementsAre(&second, &first)) << "it comes anew";
  EXPECT_TRUE(second.setParent(nullptr));
  EXPECT_THAT(parent.children(), testing::ElementsAre(&first));
  EXPECT_EQ(second.parent(), nullptr);
}

TEST(AnObject, IsNotPutBelowItself) {
  Record top;
  Record middle;
  Record bottom;
  middle.setParent(&top);
  bottom.setParent(&middle);
  EXPECT_FALSE(top.setParent(&bottom));
  EXPECT_FALSE(top.setParent(&top));
  EXPECT_EQ(top.parent(), nullptr);
  EXPECT_THAT(bottom.children(), testing::IsEmpty());
}

TEST(AnObject, LeavesItsChildrenWithoutAParentWhenItGoes) {
  Record child;
  {
    Record parent;
    child.setParent(&parent);
  }
  EXPECT_EQ(child.parent(), nullptr);
  EXPECT_FALSE(child.property("Health").isValid());
}

TEST(AnObject, LeavesItsParentWhenItGoes) {
  Record parent;
  Record stays;
  stays.setParent(&parent);
  {
    Record goes;
    goes.setParent(&parent);
  }
  EXPECT_THAT(parent.children(), testing::ElementsAre(&stays));
}

TEST(ACopyOfAnObject, IsOutsideOfTheTree) {
  Record parent;
  Record child;
  child.setParent(&parent);
  const Record copyOfChild(child);    // NOLINT(performance-unnecessary-copy-initialization)
  const Record copyOfParent(parent);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(copyOfChild.parent(), nullptr);
  EXPECT_THAT(copyOfParent.children(), testing::IsEmpty());
  Record other;
  child = other;
  EXPECT_EQ(child.parent(), &parent);
  other = child;
  EXPECT_EQ(other.parent(), nullptr);
}

TEST(AWeakObject, KnowsWhetherTheObjectLives) {
  auto record = std::make_unique<Record>();
  const mio::WeakObject weak(*record);
  const mio::WeakObject another(*record);
  EXPECT_TRUE(weak.isAlive());
  const Record copy(*record);  // NOLINT(performance-unnecessary-copy-initialization)
  record.reset();
  EXPECT_FALSE(weak.isAlive());
  EXPECT_FALSE(another.isAlive());
}

TEST(AnObjectOfAClassThatNobodyDescribed, HasNoProperties) {
  Record record;
  EXPECT_EQ(record.metaObject(), nullptr);
  EXPECT_THAT(record.properties(), testing::SizeIs(0));
  EXPECT_FALSE(record.property("").isValid());
}

TEST(SetterFlagsOfAProperty, AreThirtyTwoBitsAndNoneByDefault) {
  EXPECT_TRUE((std::is_same_v<std::underlying_type_t<SetterFlags>, std::uint32_t>));
  EXPECT_EQ(SetterFlags(), SetterFlags::none);
  EXPECT_EQ(static_cast<std::uint32_t>(SetterFlags::none), 0U);
  EXPECT_EQ(SetterFlags::none | SetterFlags::interactive, SetterFlags::interactive);
  EXPECT_TRUE(mio::hasFlags(SetterFlags::interactive, SetterFlags::interactive));
  EXPECT_FALSE(mio::hasFlags(SetterFlags::none, SetterFlags::interactive));
}

}  // namespace
