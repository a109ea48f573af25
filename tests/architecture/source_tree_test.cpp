#include "source_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/temporary_folder.h>

#include <string>
#include <vector>

namespace {

using architecture::Include;
using architecture::readSource;
using architecture::readSources;
using architecture::SourceFile;
using architecture::withoutComments;
using testing::ElementsAre;
using testing::IsEmpty;

/// The includes of a file, each as "LINE TARGET", with brackets when it has them.
std::vector<std::string> includesOf(const std::string& content) {
  std::vector<std::string> texts;
  for (const Include& include : readSource("a.cpp", content).includes) {
    texts.push_back(std::to_string(include.line) + " " +
                    (include.isAngled ? "<" + include.target + ">" : include.target));
  }
  return texts;
}

TEST(ASourceFile, NamesItsIncludesWithTheirLines) {
  EXPECT_THAT(
      includesOf("#pragma once\n\n#include <core/format.h>\n#include \"near.h\"\nint a;\n#include <map>\n"),
      ElementsAre("3 <core/format.h>", "4 near.h", "6 <map>"));
}

TEST(ASourceFile, ShowsIncludesHoweverTheyAreWritten) {
  EXPECT_THAT(
      includesOf("  #  include<a.h>\n\t#include\t<b.h> // why\n#include <c.h>\r\n#include_next <d.h>\n"
                 "#import <e.h>\n/* in front */ #include <f.h>\n#include <g.h>"),
      ElementsAre("1 <a.h>", "2 <b.h>", "3 <c.h>", "4 <d.h>", "5 <e.h>", "6 <f.h>", "7 <g.h>"));
}

TEST(ASourceFile, ShowsAnIncludeThroughAMacroAsItStands) {
  EXPECT_THAT(includesOf("#include PLATFORM_HEADER\n#include <broken.h\n#include\n"),
              ElementsAre("1 PLATFORM_HEADER", "2 <broken.h", "3 "));
}

TEST(ASourceFile, HasNoIncludesInCommentsAndStrings) {
  EXPECT_THAT(
      includesOf("// #include <a.h>\n/*\n#include <b.h>\n*/\nauto text = \"\\n#include <c.h>\";\n"
                 "auto raw = R\"(\n#include <d.h>\n)\";\nauto other = u8R\"x(\n#include <e.h>\n)\"\n)x\";\n"),
      IsEmpty());
}

TEST(ASourceFile, IsNotConfusedByQuotesAndCommentSigns) {
  EXPECT_THAT(includesOf("char a = '\"'; char b = '\\''; int c = 1'000;\nauto d = \"/*\";\n#include <a.h>\n"
                         "auto e = \"\\\"//\"; // \" '\n#include <b.h>\nint f = 0xab'cd; char g = L'a';\n"
                         "#include <c.h>\nauto BAR\"(\";\n#include <d.h>\n"),
              ElementsAre("3 <a.h>", "5 <b.h>", "7 <c.h>", "9 <d.h>"));
}

TEST(ASourceFile, IsReadToItsEndWhenSomethingIsNeverClosed) {
  EXPECT_THAT(includesOf("#include <a.h>\n/* open\n#include <b.h>\n"), ElementsAre("1 <a.h>"));
  EXPECT_THAT(includesOf("#include <a.h>\nR\"(open\n#include <b.h>\n"), ElementsAre("1 <a.h>"));
  EXPECT_THAT(includesOf("#include <a.h>\nR\"open\n#include <b.h>"), ElementsAre("1 <a.h>"));
  EXPECT_THAT(includesOf("#include <a.h>\nauto b = \"open\n#include <c.h>\n"),
              ElementsAre("1 <a.h>", "3 <c.h>"));
}

TEST(ASourceFile, TellsWhetherItHasPragmaOnce) {
  EXPECT_TRUE(readSource("a.h", "#pragma once\n").hasPragmaOnce);
  EXPECT_TRUE(readSource("a.h", "// About.\n# pragma  once  // guard\n").hasPragmaOnce);
  EXPECT_FALSE(readSource("a.h", "// #pragma once\n").hasPragmaOnce);
  EXPECT_FALSE(readSource("a.h", "#pragma pack(1)\n").hasPragmaOnce);
  EXPECT_FALSE(readSource("a.h", "").hasPragmaOnce);
}

TEST(ASourceFile, CountsItsLines) {
  EXPECT_EQ(readSource("a.h", "").lineCount, 0);
  EXPECT_EQ(readSource("a.h", "a\n").lineCount, 1);
  EXPECT_EQ(readSource("a.h", "a\nb").lineCount, 2);
  EXPECT_EQ(readSource("a.h", "/* a\nb\n*/\n\n").lineCount, 4) << "comments count";
}

TEST(Comments, LeaveASpaceAndTheirLineEndsBehind) {
  EXPECT_EQ(withoutComments("a/*b*/c//d\ne/*\n\n*/f"), "a c \ne \n\nf");
}

TEST(ASourceTree, HoldsEveryCppFileOfTheNamedFoldersInOrder) {
  const support::TemporaryFolder tree;
  tree.write("lib/b/b.cpp", "#include <map>\n");
  tree.write("lib/a/deep/a.h", "#pragma once\n");
  tree.write("lib/a/odd.hpp", "");
  tree.write("lib/a/CMakeLists.txt", "add_module(a)\n");
  tree.write("apps/cli/main.cpp", "");
  tree.write("other/c.cpp", "");
  std::vector<std::string> paths;
  for (const SourceFile& file : readSources(tree.path(), {"lib", "apps"})) paths.push_back(file.path);
  EXPECT_THAT(paths, ElementsAre("apps/cli/main.cpp", "lib/a/deep/a.h", "lib/a/odd.hpp", "lib/b/b.cpp"));
}

TEST(ASourceTree, ThatLacksANamedFolderIsAnError) {
  const support::TemporaryFolder tree;
  EXPECT_THROW(readSources(tree.path(), {"lib"}), std::filesystem::filesystem_error);
}

}  // namespace
