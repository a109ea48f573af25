#include <core/interned_string.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using Tal::interned_string;

TEST(AnInternedString, IsEmptyByDefault) {
  EXPECT_EQ(interned_string().getString(), "");
  EXPECT_EQ(interned_string(), interned_string(""));
}

TEST(AnInternedString, KeepsItsTextAfterTheSourceIsGone) {
  std::string source = "HP_roof_with_a_name_that_no_small_buffer_holds";
  const interned_string name(source);
  source.assign(source.size(), 'x');
  EXPECT_EQ(name.getString(), "HP_roof_with_a_name_that_no_small_buffer_holds");
}

TEST(AnInternedString, SharesOneTextWithItsEquals) {
  const interned_string first("HP_gun");
  const interned_string second(std::string("HP_") + "gun");
  EXPECT_EQ(first, second);
  EXPECT_EQ(&first.getString(), &second.getString());
}

TEST(AnInternedString, DiffersByCaseLengthAndBytes) {
  const interned_string name("HP_gun");
  EXPECT_NE(name, interned_string("hp_gun"));
  EXPECT_NE(name, interned_string("HP_gun "));
  EXPECT_NE(name, interned_string("HP_gu"));
  EXPECT_NE(name, interned_string());
}

TEST(AnInternedString, MayHoldZeroBytes) {
  using namespace std::string_view_literals;
  const interned_string name("a\0b"sv);
  EXPECT_EQ(name.getString(), std::string("a\0b", 3));
  EXPECT_NE(name, interned_string("a"));
}

TEST(AnInternedString, CopiesAsOnePointer) {
  EXPECT_EQ(sizeof(interned_string), sizeof(void*));
  EXPECT_TRUE(std::is_trivially_copyable_v<interned_string>);
}

TEST(AnInternedString, KeepsTheReferenceToItsTextWhileOthersAreMade) {
  const std::string& text = interned_string("stays where it is").getString();
  for (int i = 0; i < 10'000; ++i) interned_string("filler " + std::to_string(i));
  EXPECT_EQ(text, "stays where it is");
  EXPECT_EQ(&text, &interned_string("stays where it is").getString());
}

TEST(AnInternedString, IsTheSameWhicheverThreadMakesItFirst) {
  constexpr int kThreads = 4;
  constexpr int kNames = 200;
  std::vector<std::vector<interned_string>> made(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (auto& names : made) {
    threads.emplace_back([&names] {
      for (int i = 0; i < kNames; ++i) names.emplace_back("shared name " + std::to_string(i));
    });
  }
  for (auto& thread : threads) thread.join();
  for (const auto& names : made) EXPECT_EQ(names, made.front());
  EXPECT_EQ(made.front()[7].getString(), "shared name 7");
}

}  // namespace
