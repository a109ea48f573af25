#include <core/ascii_case.h>

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(LowerAscii, ChangesTheCapitalLettersAlone) {
  EXPECT_EQ(Tal::lowerAscii("AZ az @[`{ 09 \\/"), "az az @[`{ 09 \\/");
  EXPECT_EQ(Tal::lowerAscii("\xC3\x84gypten"), "\xC3\x84gypten");
  EXPECT_EQ(Tal::lowerAscii(std::string("A\0B", 3)), std::string("a\0b", 3));
  EXPECT_EQ(Tal::lowerAscii(""), "");
}

}  // namespace
