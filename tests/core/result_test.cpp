#include <core/result.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace Tal {
namespace {

const Fault kFull{FaultKind::system, "writing \"a.xml\": No space left on device", "free some space"};

Result<int> numberIn(const std::string& text) {
  if (text.empty()) return Fault{FaultKind::malformed, "is empty", "write a number"};
  return static_cast<int>(text.size());
}

TEST(AResult, HoldsTheValueOfASuccess) {
  const Result<int> result = numberIn("abc");
  ASSERT_TRUE(result);
  EXPECT_EQ(*result, 3);
}

TEST(AResult, HoldsTheFaultOfAFailure) {
  const Result<int> result = numberIn("");
  ASSERT_FALSE(result);
  EXPECT_EQ(result.fault().kind, FaultKind::malformed);
  EXPECT_EQ(result.fault().what, "is empty");
  EXPECT_EQ(result.fault().remedy, "write a number");
}

TEST(AResult, HoldsAValueThatIsItselfFalse) {
  EXPECT_TRUE(Result<bool>(false));
  EXPECT_FALSE(*Result<bool>(false));
}

TEST(AResult, GivesAwayAValueThatCannotBeCopied) {
  Result<std::unique_ptr<int>> result(std::make_unique<int>(7));
  const std::unique_ptr<int> taken = *std::move(result);
  EXPECT_EQ(*taken, 7);
}

TEST(AResult, GivesAwayItsFault) {
  Result<int> result(kFull);
  const Fault taken = std::move(result).fault();
  EXPECT_EQ(textOf(taken), textOf(kFull));
}

TEST(AResultWithoutAValue, IsASuccessUnlessItHoldsAFault) {
  EXPECT_TRUE(Result<void>());
  const Result<void> failed(kFull);
  ASSERT_FALSE(failed);
  EXPECT_EQ(failed.fault().kind, FaultKind::system);
}

TEST(AResult, IsMadeOfAValueOrAFaultAlone) {
  EXPECT_FALSE((std::is_constructible_v<Result<int>>));
  EXPECT_FALSE((std::is_constructible_v<Result<void>, std::string>));
}

TEST(TheTextOfAFault, SaysWhatHappenedAndWhatToDo) {
  EXPECT_EQ(textOf(kFull), "writing \"a.xml\": No space left on device; free some space");
}

TEST(TheTextOfAFault, EndsWithWhatHappenedWhereThatSaysWhatToDo) {
  EXPECT_EQ(textOf({FaultKind::refused, "there is no state \"x\"", ""}), "there is no state \"x\"");
}

TEST(TheTextOfAFault, BeginsWithItsPlace) {
  EXPECT_EQ(textOf({FaultKind::malformed, "a tag is not closed", "mend it", "a.xml", 3, 7}),
            "a.xml:3:7: a tag is not closed; mend it");
  EXPECT_EQ(textOf({FaultKind::malformed, "is empty", "fill it", "a.xml"}), "a.xml: is empty; fill it");
}

TEST(ThePlaceOfAFault, IsAsMuchAsIsKnown) {
  EXPECT_EQ(placeOf({FaultKind::malformed, "", "", "a.xml", 3, 7}), "a.xml:3:7");
  EXPECT_EQ(placeOf({FaultKind::malformed, "", "", "a.xml"}), "a.xml");
  EXPECT_EQ(placeOf(kFull), "");
}

}  // namespace
}  // namespace Tal
