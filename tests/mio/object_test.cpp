#include <gtest/gtest.h>
#include <mio/object.h>

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

TEST(SetterFlagsOfAProperty, AreThirtyTwoBitsAndNoneByDefault) {
  EXPECT_TRUE((std::is_same_v<std::underlying_type_t<SetterFlags>, std::uint32_t>));
  EXPECT_EQ(SetterFlags(), SetterFlags::none);
  EXPECT_EQ(static_cast<std::uint32_t>(SetterFlags::none), 0U);
}

}  // namespace
