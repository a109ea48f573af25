#include <gtest/gtest.h>
#include <support/ratio_table.h>

#include <chrono>
#include <optional>
#include <vector>

namespace {

using bench::areKept;
using bench::evaluate;
using bench::median;
using bench::Ratio;
using bench::RatioResult;
using bench::Samples;
using bench::tableOf;

TEST(AMedian, IsTheMiddleValueWhateverTheOrder) {
  EXPECT_DOUBLE_EQ(median({7.0}), 7.0);
  EXPECT_DOUBLE_EQ(median({9.0, 1.0, 5.0}), 5.0);
  EXPECT_DOUBLE_EQ(median({1.0, 1000.0, 2.0, 3.0, 2.5}), 2.5);
}

TEST(AMedian, OfAnEvenNumberIsBetweenTheTwoInTheMiddle) {
  EXPECT_DOUBLE_EQ(median({4.0, 1.0}), 2.5);
  EXPECT_DOUBLE_EQ(median({1.0, 9.0, 3.0, 2.0}), 2.5);
}

TEST(ARatio, IsTheMedianOfThoseOfTheRepetitions) {
  // 2, 8 and 1.5; that of the medians would be 3.
  const Samples samples = {{"load/ours", {10.0, 40.0, 30.0}}, {"load/peer", {5.0, 5.0, 20.0}}};
  const auto results = evaluate({{"load", "load/ours", "load/peer", 4.0}}, samples);
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(results.front().value, std::optional(2.0));
  EXPECT_EQ(results.front().ratio.name, "load");
}

TEST(ARatio, CanBeThatToASum) {
  const std::vector<Ratio> ratios = {{"a / (1.5 b + c)", "a", {{{1.5, "b"}, {1.0, "c"}}}, {}},
                                     {"a / (b + d)", "a", {{{1.0, "b"}, {1.0, "d"}}}, {}}};
  const std::vector<RatioResult> results =
      bench::evaluate(ratios, {{"a", {8.0}}, {"b", {2.0}}, {"c", {1.0}}});
  EXPECT_EQ(results[0].value, 2.0);
  EXPECT_EQ(results[1].value, std::nullopt) << "d was not measured";
}

TEST(ARatio, CanBeThatToATimeThatIsTheSameOnEveryMachine) {
  const std::vector<Ratio> ratios = {{"a / 2 ms", "a", std::chrono::milliseconds(2), 10.0}};
  const RatioResult kept = evaluate(ratios, {{"a", {90e6, 19e6, 3e6}}}).front();
  EXPECT_EQ(kept.value, 9.5);
  EXPECT_FALSE(kept.isBroken());
  const RatioResult broken = evaluate(ratios, {{"a", {21e6}}}).front();
  EXPECT_EQ(broken.value, 10.5);
  EXPECT_TRUE(broken.isBroken());
  EXPECT_EQ(evaluate(ratios, {{"b", {1e6}}}).front().value, std::nullopt);
  EXPECT_EQ(tableOf({broken}), "a / 2 ms = 10.50 (promise: at most 10.00) BROKEN\n");
}

TEST(ARatio, HasNoValueWhenABenchmarkWasNotMeasured) {
  const Samples samples = {{"ours", {1.0}}, {"empty", {}}, {"zero", {0.0}}};
  for (const char* missing : {"peer", "empty", "zero"}) {
    EXPECT_EQ(evaluate({{"a", "ours", missing, 1.0}}, samples).front().value, std::nullopt) << missing;
  }
  EXPECT_EQ(evaluate({{"a", "peer", "ours", 1.0}}, samples).front().value, std::nullopt);
}

TEST(APromise, IsBrokenOnlyAboveItsBound) {
  const auto isBroken = [](std::optional<double> value, std::optional<double> promise) {
    return RatioResult{{"a", "b", "c", promise}, value}.isBroken();
  };
  EXPECT_FALSE(isBroken(0.99, 1.0));
  EXPECT_FALSE(isBroken(1.0, 1.0));
  EXPECT_TRUE(isBroken(1.01, 1.0));
  EXPECT_FALSE(isBroken(99.0, std::nullopt));
  EXPECT_FALSE(isBroken(std::nullopt, 1.0));
}

TEST(Promises, AreKeptWhenNoneIsBrokenAndAllWereMeasured) {
  const RatioResult kept = {{"a", "b", "c", 1.0}, 0.5};
  const RatioResult broken = {{"a", "b", "c", 1.0}, 1.5};
  const RatioResult shown = {{"a", "b", "c", std::nullopt}, 1.5};
  const RatioResult missing = {{"a", "b", "c", std::nullopt}, std::nullopt};
  EXPECT_TRUE(areKept({}, false));
  EXPECT_TRUE(areKept({kept, shown}, false));
  EXPECT_FALSE(areKept({kept, broken, shown}, false));
  EXPECT_FALSE(areKept({kept, missing}, false));
  EXPECT_TRUE(areKept({kept, missing}, true));
  EXPECT_FALSE(areKept({broken, missing}, true));
}

TEST(TheTable, SaysWhatWasMeasuredAndPromised) {
  const std::vector<Ratio> ratios = {{"raise, ours / peer", "a", "b", 1.0},
                                     {"load, ours / parse", "b", "a", 4.0},
                                     {"save", "a", "b", std::nullopt},
                                     {"gone", "a", "c", 2.5}};
  EXPECT_EQ(tableOf(evaluate(ratios, {{"a", {72.0}}, {"b", {100.0}}})),
            "raise, ours / peer =  0.72 (promise: at most 1.00)\n"
            "load, ours / parse =  1.39 (promise: at most 4.00)\n"
            "save               =  0.72\n"
            "gone               = not measured (promise: at most 2.50)\n");
  EXPECT_EQ(tableOf(evaluate({{"raise", "b", "a", 1.0}}, {{"a", {2.0}}, {"b", {250.0}}})),
            "raise = 125.00 (promise: at most 1.00) BROKEN\n");
  EXPECT_EQ(tableOf({}), "");
}

}  // namespace
