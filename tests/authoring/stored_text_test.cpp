#include <authoring/stored_text.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace Tal::authoring {
namespace {

TEST(AStoredText, HasNoFaultWhenTheDatabaseKeepsItAsItIs) {
  for (const char* const text : {"", "open", "two words", "a%s&<>\"'", "T\xc3\xbcr"})
    EXPECT_TRUE(checkStoredText(text)) << text;
}

TEST(AStoredText, IsRefusedWhenXmlCannotHoldIt) {
  for (const char* const text : {"a\x01z", "\xff", " a\x1b[31m "})
    EXPECT_EQ(textOf(checkStoredText(text).fault()),
              "holds a control character or is not UTF-8, which XML cannot hold");
}

TEST(AStoredText, IsRefusedWithWhiteSpaceAroundIt) {
  for (const char* const text : {" ", " a", "a\t", "\na", "a\r"}) {
    EXPECT_EQ(textOf(checkStoredText(text).fault()),
              "has white space around it, which the database does not keep; leave it out");
  }
}

TEST(AModelName, IsRefusedWithItsNameAndTheReasonWhenTheDatabaseCannotHoldIt) {
  EXPECT_TRUE(checkModelName("content/props/crate.model"));
  for (const auto& [name, quoted] :
       {std::pair(" a.model", "\" a.model\""), std::pair("a\x01", "\"a\\x01\"")}) {
    EXPECT_EQ(textOf(checkModelName(name).fault()),
              std::string("the model name ") + quoted +
                  " cannot stand in the database, which holds UTF-8 without control characters and without "
                  "white space around it");
  }
}

}  // namespace
}  // namespace Tal::authoring
