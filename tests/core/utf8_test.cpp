#include <core/utf8.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using Tal::appendCharacter;
using Tal::firstCharacter;

TEST(ACharacter, ReadsBackAsItWasAppended) {
  for (std::uint32_t code = 0; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    std::string text;
    appendCharacter(code, text);
    const auto character = firstCharacter(text + 'a');
    ASSERT_TRUE(character) << code;
    ASSERT_EQ(character->code, code);
    ASSERT_EQ(character->length, text.size());
  }
}

TEST(ACharacter, IsNoneWhenItIsNotWellFormed) {
  for (const char* const text : {"\x80", "\xBF", "\xC3", "\xC3(", "\xE2\x82", "\xE2(\xA1", "\xE2\x82(",
                                 "\xF0\x9F\x98", "\xF0\x9F\x98(", "\xFE", "\xFF"})
    EXPECT_FALSE(firstCharacter(text)) << text;
}

TEST(ACharacter, IsNoneWhenItIsWrittenTooLongIsASurrogateOrIsTooLarge) {
  for (const char* const text : {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80",
                                 "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"})
    EXPECT_FALSE(firstCharacter(text)) << text;
}

}  // namespace
