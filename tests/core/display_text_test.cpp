#include <core/display_text.h>
#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using Tal::escapeControls;

TEST(EscapeControls, LeavesPrintableAsciiAsItIs) {
  std::string printable;
  for (char character = ' '; character <= '~'; ++character) {
    if (character != '\\') printable += character;
  }
  EXPECT_EQ(escapeControls(printable), printable);
  EXPECT_EQ(escapeControls(""), "");
}

TEST(EscapeControls, WritesLineEndsTabsAndBackslashesByName) {
  EXPECT_EQ(escapeControls("a\nb\rc\td\\e"), "a\\nb\\rc\\td\\\\e");
}

TEST(EscapeControls, WritesEveryOtherControlByteInHexadecimal) {
  EXPECT_EQ(escapeControls("\0\x01\x07\x08\x0b\x1b[31m\x1f\x7f"sv),
            "\\x00\\x01\\x07\\x08\\x0b\\x1b[31m\\x1f\\x7f");
}

TEST(EscapeControls, LeavesNoByteThatATerminalActsOn) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string pair = {static_cast<char>(first), static_cast<char>(second)};
      const std::string escaped = escapeControls(pair);
      for (std::size_t i = 0; i < escaped.size(); ++i) {
        const auto byte = static_cast<unsigned char>(escaped[i]);
        ASSERT_TRUE(byte >= 0x20 && byte != 0x7f) << first << ' ' << second;
        const bool isRawC1 = byte >= 0x80 && byte <= 0x9f;
        const bool isInsideACharacter = i > 0 && static_cast<unsigned char>(escaped[i - 1]) >= 0xc3;
        ASSERT_TRUE(!isRawC1 || isInsideACharacter) << first << ' ' << second;
      }
    }
  }
}

TEST(EscapeControls, EscapesTheControlsAboveAsciiAsCharacters) {
  EXPECT_EQ(escapeControls("\u0080"), "\\u0080");
  EXPECT_EQ(escapeControls("a\u0085b"), "a\\u0085b");
  EXPECT_EQ(escapeControls("\u009b31m"), "\\u009b31m");
  EXPECT_EQ(escapeControls("\u009f"), "\\u009f");
  EXPECT_EQ(escapeControls("\u00a0"), "\u00a0") << "the first character behind them is none of them";
}

TEST(EscapeControls, EscapesWhatSetsTheDirectionOfText) {
  EXPECT_EQ(escapeControls("a\u202egpj.exe"), "a\\u202egpj.exe");
  EXPECT_EQ(escapeControls("\u202a\u202b\u202c\u202d"), "\\u202a\\u202b\\u202c\\u202d");
  EXPECT_EQ(escapeControls("\u2066\u2067\u2068\u2069"), "\\u2066\\u2067\\u2068\\u2069");
  EXPECT_EQ(escapeControls("\u061c\u200e\u200f"), "\\u061c\\u200e\\u200f") << "marks";
  EXPECT_EQ(escapeControls("\u2027\u202f\u2065\u206a"), "\u2027\u202f\u2065\u206a") << "their neighbours";
  EXPECT_EQ(escapeControls("\u05d0\u05d1"), "\u05d0\u05d1") << "letters that run from right to left";
}

TEST(EscapeControls, EscapesWhatEndsALine) {
  EXPECT_EQ(escapeControls("a\u2028b\u2029"), "a\\u2028b\\u2029");
}

TEST(EscapeControlsOfJson, WritesThemAsJsonDoes) {
  EXPECT_EQ(Tal::escapeControlsOfJson("[\"a\u009bb\u202ec\x7f\"]"), "[\"a\\u009bb\\u202ec\\u007f\"]");
  const std::string harmless = "{\n  \"Stra\u00dfe\\n\": \"\u6797 \U0001f3da\"\n}";
  EXPECT_EQ(Tal::escapeControlsOfJson(harmless), harmless);
}

TEST(EscapeControls, LeavesOtherUtf8AsItIs) {
  for (const std::string_view text :
       {"Stra\u00dfe"sv, "\u00a0"sv, "\u07ff"sv, "\u0800"sv, "\u6797\u6a39"sv, "\ud7ff"sv, "\ue000"sv,
        "\uffff"sv, "\U00010000"sv, "\U0001f3da"sv, "\U0010ffff"sv, "e\u0301"sv})
    EXPECT_EQ(escapeControls(text), text);
}

struct InvalidUtf8 {
  const char* description;
  std::string_view bytes;
  std::string_view escaped;

  friend std::ostream& operator<<(std::ostream& stream, const InvalidUtf8& row) {
    return stream << row.escaped;
  }
};

class EscapeControlsOfInvalidUtf8 : public testing::TestWithParam<InvalidUtf8> {};

TEST_P(EscapeControlsOfInvalidUtf8, WritesEveryStrayByteInHexadecimal) {
  EXPECT_EQ(escapeControls(GetParam().bytes), GetParam().escaped);
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, EscapeControlsOfInvalidUtf8,
    testing::Values(InvalidUtf8{"ARawControl", "\x9b\x33\x31m"sv, "\\x9b31m"sv},
                    InvalidUtf8{"AStrayContinuation", "a\xbf\x62"sv, "a\\xbfb"sv},
                    InvalidUtf8{"ATruncatedPair", "a\xc3"sv, "a\\xc3"sv},
                    InvalidUtf8{"ATruncatedTriple", "\xe6\x9e"sv, "\\xe6\\x9e"sv},
                    InvalidUtf8{"ATruncatedQuadruple", "\xf0\x9f\x8f"sv, "\\xf0\\x9f\\x8f"sv},
                    InvalidUtf8{"ALeadBeforeAscii", "\xc3(\xe6\x9e("sv, "\\xc3(\\xe6\\x9e("sv},
                    InvalidUtf8{"ALeadBeforeACharacter", "\xe6\xc3\x9f"sv, "\\xe6\xc3\x9f"sv},
                    InvalidUtf8{"AnOverlongEscape", "\xc0\x9b[m"sv, "\\xc0\\x9b[m"sv},
                    InvalidUtf8{"AnOverlongPair", "\xc1\xbf"sv, "\\xc1\\xbf"sv},
                    InvalidUtf8{"AnOverlongTriple", "\xe0\x82\x9b"sv, "\\xe0\\x82\\x9b"sv},
                    InvalidUtf8{"AnOverlongQuadruple", "\xf0\x8f\xbf\xbf"sv, "\\xf0\\x8f\\xbf\\xbf"sv},
                    InvalidUtf8{"ASurrogate", "\xed\xa0\x80"sv, "\\xed\\xa0\\x80"sv},
                    InvalidUtf8{"BeyondTheLastCharacter", "\xf4\x90\x80\x80"sv, "\\xf4\\x90\\x80\\x80"sv},
                    InvalidUtf8{"BytesThatAreNeverUsed", "\xf5\xfe\xff"sv, "\\xf5\\xfe\\xff"sv}),
    [](const testing::TestParamInfo<InvalidUtf8>& row) { return row.param.description; });

TEST(AQuotedName, ShowsControlCharactersEscaped) {
  EXPECT_EQ(Tal::quotedName("a\n%s\x1b"), "\"a\\n%s\\x1b\"");
}

TEST(AQuotedName, IsShortenedWhenItIsVeryLong) {
  EXPECT_EQ(Tal::quotedName(std::string(100'000, 'n')),
            "\"" + std::string(120, 'n') + "..." + std::string(60, 'n') + "\"");
}

TEST(AQuotedName, IsNotCutInsideACharacter) {
  std::string name = "x";
  std::string head = "x";
  for (int count = 0; count < 100; ++count) name += "\xc3\xa4";
  for (int count = 0; count < 59; ++count) head += "\xc3\xa4";
  std::string tail;
  for (int count = 0; count < 30; ++count) tail += "\xc3\xa4";
  EXPECT_EQ(Tal::quotedName(name), "\"" + head + "..." + tail + "\"");
}

}  // namespace
