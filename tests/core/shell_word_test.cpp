#include <core/shell_word.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace Tal {
namespace {

// What a shell takes a word for.
std::string readByShell(const std::string& word) {
  ::setenv("COMMAND", ("printf %s " + word).c_str(), 1);
  std::FILE* const shell = ::popen("bash -c \"$COMMAND\"", "r");
  std::string result;
  for (int byte = std::fgetc(shell); byte != EOF; byte = std::fgetc(shell)) result += static_cast<char>(byte);
  ::pclose(shell);
  ::unsetenv("COMMAND");
  return result;
}

TEST(AShellWord, IsTheTextItselfWhereNothingInItMeansSomethingToAShell) {
  EXPECT_EQ(shellWord("content/props/barrel.model"), "content/props/barrel.model");
  EXPECT_EQ(shellWord("health=-1"), "health=-1");
}

TEST(AShellWord, IsQuotedWhereAShellWouldTakeItApart) {
  EXPECT_EQ(shellWord(""), "''");
  EXPECT_EQ(shellWord("a b"), "'a b'");
  EXPECT_EQ(shellWord("it's"), "'it'\\''s'");
  EXPECT_EQ(shellWord("a\\b"), "'a\\b'");
}

TEST(AShellWord, HoldsNothingThatActsOnATerminal) {
  EXPECT_EQ(shellWord("a\x1b[31m"), "$'a\\033[31m'");
  EXPECT_EQ(shellWord("\xc2\x9b'\\"), "$'\\302\\233\\047\\134'");
}

TEST(AShellWord, IsReadBackAsTheText) {
  for (const std::string text :
       {"plain", "", "a b", "it's", "$HOME `id` $(id) ${x} !x #y ~", "*?[a]{b,c}", "a\\b\\\\c", "<&>|;\"()",
        "\xc3\xa4\xe2\x82\xac", "\x01\x7f\t\n0'\\9", "\xc2\x9bm", "\xff\xfe"})
    EXPECT_EQ(readByShell(shellWord(text)), text);
}

}  // namespace
}  // namespace Tal
