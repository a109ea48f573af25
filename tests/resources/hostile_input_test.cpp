#include <support/message_recorder.h>
#include <support/mounted_root.h>
#include <support/repeated.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using support::repeated;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

struct MalformedCase {
  const char* name;
  std::string text;
  const char* message;
};

TEST(AMalformedFile, IsRefusedWithResourcePlaceAndReason) {
  const std::vector<MalformedCase> cases = {
      {"empty", "", "a.xml:1:1: no element found"},
      {"blank", " \n", "a.xml:2:1: no element found"},
      {"no end tag", "<r>\n<a>", "a.xml:2:4: no element found"},
      {"crossed tags", "<r><a></r></a>", "a.xml:1:9: mismatched tag"},
      {"two roots", "<r/><r/>", "a.xml:1:5: junk after document element"},
      {"text behind the root", "<r/>x", "a.xml:1:5: junk after document element"},
      {"a duplicate attribute", "<r a='1' a='2'/>", "a.xml:1:10: duplicate attribute"},
      {"an attribute without quotes", "<r a=1/>", "a.xml:1:6: not well-formed"},
      {"a bare ampersand", "<r>a & b</r>", "a.xml:1:7: not well-formed"},
      {"an unknown entity", "<r>&none;</r>", "a.xml:1:4: undefined entity"},
      {"an entity of a definition elsewhere", "<!DOCTYPE r SYSTEM 'r.dtd'><r>&none;</r>",
       "a.xml:1:31: the entity \"none\" is not declared in this file"},
      {"an external entity", "<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><r>&e;</r>",
       "a.xml:1:58: external entities are not read"},
      {"invalid UTF-8", "<r>\xC0\x80</r>", "a.xml:1:4: not well-formed"},
      {"a control character", "<r>\x01</r>", "a.xml:1:4: not well-formed"},
      {"a reference to one", "<r>&#1;</r>", "a.xml:1:4: reference to invalid character"},
      {"a NUL", std::string("<r>\0</r>", 8), "a.xml:1:4: not well-formed"},
      {"a comment without an end", "<r><!-- ", "a.xml:1:4: unclosed token"},
      {"a merge conflict", "<r>\n<<<<<<< HEAD\n<a/>\n=======\n",
       "a.xml:2:2: not well-formed (invalid token) (a "
       "merge-conflict marker stands here: finish the merge there); the file was not loaded; correct it "
       "there"},
      {"an encoding that nobody knows", "<?xml version='1.0' encoding='x-none'?><r/>",
       "a.xml:1:31: the encoding \"x-none\" is not supported"},
  };
  for (const MalformedCase& one : cases) {
    const MountedRoot root("a.xml", one.text);
    MessageRecorder recorder;
    EXPECT_FALSE(openResource("a.xml")) << one.name;
    EXPECT_THAT(recorder.texts(), ElementsAre(StartsWith(one.message))) << one.name;
  }
}

TEST(AMalformedFile, NamesItsResourceWithControlCharactersEscaped) {
  const MountedRoot root("a%s\x1B.xml", "<r>");
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a%s\x1B.xml"));
  EXPECT_THAT(recorder.texts(), ElementsAre(StartsWith("a%s\\x1b.xml:1:4:")));
}

TEST(ATruncatedFile, IsRefusedAtEveryByte) {
  const std::string file =
      "<?xml version=\"1.0\"?>\n<r a='1'>\n <b>x &amp; y</b><!-- c --><![CDATA[d]]><e/>\n</r>";
  MessageRecorder recorder;
  for (std::size_t length = 0; length < file.size(); ++length) {
    const MountedRoot root("a.xml", file.substr(0, length));
    EXPECT_FALSE(openResource("a.xml")) << length;
  }
  EXPECT_EQ(recorder.messages().size(), file.size());
}

TEST(ADeepFile, IsReadDownToAThousandLevelsAndRefusedBelow) {
  const MountedRoot root("a.xml", repeated("<a>", 1000) + "x" + repeated("</a>", 1000));
  auto section = openResource("a.xml");
  ASSERT_TRUE(section);
  for (int depth = 1; depth < 1000; ++depth) section = section->child(0);
  EXPECT_EQ(section->value(), "x");
  section->setValue("y");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), repeated("<a>", 1000) + "y" + repeated("</a>", 1000));

  root.replace("a.xml", repeated("<a>", 1000) + "<a/>" + repeated("</a>", 1000));
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_THAT(recorder.texts(),
              ElementsAre(StartsWith("a.xml:1:3001: elements are nested deeper than 1000 levels")));
}

TEST(ADeepEdit, IsWrittenWhateverItsDepth) {
  const MountedRoot root("a.xml", "<r/>\n");
  auto section = openResource("a.xml");
  for (int depth = 0; depth < 900; ++depth) section = section->appendChild("a");
  EXPECT_TRUE(section->save());
  EXPECT_TRUE(openResource("a.xml"));
}

/// The processor time that opening a file takes; `isRead` tells whether it is to be read or refused.
double secondsToOpen(const std::string& text, bool isRead) {
  const MountedRoot root("a.xml", text);
  const MessageRecorder recorder;
  const std::clock_t begin = std::clock();
  const auto section = openResource("a.xml");
  const std::clock_t end = std::clock();
  EXPECT_EQ(section.get() != nullptr, isRead);
  EXPECT_EQ(recorder.messages().size(), isRead ? 0U : 1U);
  return static_cast<double>(end - begin) / CLOCKS_PER_SEC;
}

std::string numbered(const char* before, int number, const char* behind) {
  return before + std::to_string(number) + behind;
}

std::string attribute(int i) {
  return numbered(" a", i, "='1'");
}

std::string declaredAttribute(int i) {
  return numbered("<!ATTLIST r a", i, " CDATA '1'>");
}

struct RepeatedCase {
  const char* name;
  bool isRead;
  std::string front;
  std::function<std::string(int)> piece;
  const char* back;
};

TEST(AFileOfManyPieces, TakesLinearTimeWhateverTheyAre) {
  std::string declarations = "<!DOCTYPE r [";
  for (int i = 0; i < 256; ++i) declarations += declaredAttribute(i);
  const std::vector<RepeatedCase> cases = {
      {"attributes", true, "<r", attribute, "/>"},
      {"attributes, one of them twice", false, "<r", attribute, " a0=''/>"},
      {"tags that differ", true, "<r>", [](int i) { return numbered("<t", i, "/>"); }, "</r>"},
      {"comments", true, "<r>", [](int i) { return numbered("<!--", i, "-->"); }, "</r>"},
      {"texts in CDATA", true, "<r>", [](int i) { return numbered("<![CDATA[", i, "]]>"); }, "</r>"},
      {"references", true, "<r>", [](int) { return "&amp;&#65;"; }, "</r>"},
      {"entities", true, "<!DOCTYPE r [", [](int i) { return numbered("<!ENTITY e", i, " 'x'>"); },
       "]><r>&e0;</r>"},
      {"parameter entities", true, "<!DOCTYPE r [",
       [](int i) { return numbered("<!ENTITY % e", i, " '&#37;e0;'>"); }, "%e9;]><r/>"},
      {"declared attributes", false, "<!DOCTYPE r [", declaredAttribute, "]><r/>"},
      {"elements with declared attributes", true, declarations + "]><r>", [](int) { return "<r/>"; }, "</r>"},
      {"lines in front of a slip", false, "<r>", [](int) { return "\n"; }, "</s>"},
      {"letters of a comment in front of a document type", true, "<!--",
       [](int) { return std::string(256, 'x'); }, "--><!DOCTYPE r><r/>"},
      {"letters of an entity", true, "<!DOCTYPE r [<!ENTITY e '", [](int) { return std::string(256, 'x'); },
       "'>]><r/>"},
      {"letters behind an ampersand", false, "<r>&", [](int) { return "abcdefgh"; }, " </r>"},
  };
  constexpr int kPieces = 12'500;
  for (const RepeatedCase& one : cases) {
    const auto secondsFor = [&one](int count) {
      std::string text = one.front;
      for (int i = 0; i < count; ++i) text += one.piece(i);
      return secondsToOpen(text + one.back, one.isRead);
    };
    const double few = secondsFor(kPieces);
    // Eight times as many would take 64 times as long if each were compared with every other.
    EXPECT_LT(secondsFor(8 * kPieces), 24 * few + 0.2) << one.name;
  }
}

TEST(ALargeFile, OfManyPiecesIsReadRight) {
  std::string file = "<r>";
  for (int i = 0; i < 200'000; ++i) file += "<t" + std::to_string(i) + "/>";
  const MountedRoot root("a.xml", file + "1</r>");
  const auto section = openResource("a.xml");
  ASSERT_TRUE(section);
  EXPECT_EQ(section->value(), "1");
  EXPECT_EQ(section->childCount(), 200'000);
  EXPECT_TRUE(section->findChild("t199999"));
}

TEST(ALargeFile, BeyondTheLimitIsRefusedUnread) {
  const MountedRoot root("a.xml", "<r/>");
  std::filesystem::resize_file(root / "a.xml", (std::uintmax_t{1} << 30U) + 1);
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("larger than 1024 MiB")));
}

TEST(ADocumentType, ThatLiesElsewhereIsNotReadAndDoesNoHarm) {
  for (const std::string type :
       {"<!DOCTYPE r SYSTEM 'r.dtd'>", "<!DOCTYPE r [<!ENTITY % x SYSTEM 'x.ent'> %x;]>"}) {
    const MountedRoot root("a.xml", type + "<r>1</r>");
    const auto section = openResource("a.xml");
    ASSERT_TRUE(section) << type;
    section->setValue("2");
    EXPECT_TRUE(section->save());
    EXPECT_EQ(root.read("a.xml"), type + "<r>2</r>");
  }
}

TEST(AFolder, OpensAsNothing) {
  const MountedRoot root("folder/a.xml", "<r/>");
  EXPECT_FALSE(openResource("folder"));
}

}  // namespace
