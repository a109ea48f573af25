#include <core/format.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdarg>
#include <ostream>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using Tal::formatString;

[[gnu::format(printf, 1, 2)]] std::string formatThroughAList(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = Tal::formatList(format, arguments);
  va_end(arguments);
  return text;
}

TEST(FormatString, CarriesOutThePrintfFormat) {
  EXPECT_EQ(formatString("%s has %d modules, scale %.2f, kind %u", "house", -3, 1.5, 86U),
            "house has -3 modules, scale 1.50, kind 86");
}

TEST(FormatString, OfATextWithoutConversionsIsTheText) {
  EXPECT_EQ(formatString("plain"), "plain");
}

TEST(FormatString, OfNothingIsEmpty) {
  EXPECT_EQ(formatString("%s", ""), "");
}

TEST(FormatString, WritesADoubledPercentSignOnce) {
  EXPECT_EQ(formatString("100%%"), "100%");
}

TEST(FormatString, TakesPercentSignsInAValueAsText) {
  EXPECT_EQ(formatString("model '%s'", "a%s%n%d.model"), "model 'a%s%n%d.model'");
}

TEST(FormatString, HasNoLimitOfLength) {
  const std::string name(1'000'000, 'n');
  EXPECT_EQ(formatString("<%s>", name.c_str()), "<" + name + ">");
}

TEST(FormatString, KeepsZeroBytesThatTheFormatProduces) {
  EXPECT_EQ(formatString("a%cb", 0), std::string("a\0b", 3));
}

TEST(FormatString, IsEmptyWhenTheFormatCannotBeCarriedOut) {
  constexpr std::array<wchar_t, 2> kNoCharacter = {static_cast<wchar_t>(0x110000), L'\0'};
  EXPECT_EQ(formatString("%ls", kNoCharacter.data()), "");
}

TEST(FormatList, FormatsTheArgumentsOfItsCaller) {
  EXPECT_EQ(formatThroughAList("%s %d %s", "one", 2, "three"), "one 2 three");
  EXPECT_EQ(formatThroughAList("none"), "none");
}

}  // namespace
