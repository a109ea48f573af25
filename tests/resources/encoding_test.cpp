#include <support/message_recorder.h>
#include <support/mounted_root.h>
#include <support/utf16.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using support::bigEndian;
using support::littleEndian;
using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using testing::ElementsAre;
using testing::HasSubstr;
using namespace std::string_literals;

/// A file after a write of "new" to its key "n", whose old value is "1", and of its other key "t".
void expectKept(const std::string& before, const std::string& text, const std::string& after) {
  const MountedRoot root("a.xml", before);
  const auto section = openResource("a.xml");
  ASSERT_TRUE(section);
  EXPECT_EQ(section->readString("t"), text);
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), before);
  EXPECT_TRUE(section->writeString("n", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"));
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), after);
}

TEST(AFileInUtf16, IsReadAndWrittenBackSo) {
  const std::u16string before =
      u"\uFEFF<?xml version='1.0' encoding='UTF-16'?>\r\n<r><t>\u00E9\U0001F600</t><n>1</n></r>";
  const std::u16string after =
      u"\uFEFF<?xml version='1.0' "
      u"encoding='UTF-16'?>\r\n<r><t>\u00E9\U0001F600</t><n>\u00E9\u20AC\U0001F600</n></r>";
  expectKept(littleEndian(before), "\xC3\xA9\xF0\x9F\x98\x80", littleEndian(after));
  expectKept(bigEndian(before), "\xC3\xA9\xF0\x9F\x98\x80", bigEndian(after));
  expectKept(littleEndian(before.substr(1)), "\xC3\xA9\xF0\x9F\x98\x80", littleEndian(after.substr(1)));
}

TEST(AFileInUtf16, IsRefusedWhenItIsCutOffAtWhateverByte) {
  const std::string file = littleEndian(u"\uFEFF<r><t>\u00E9\U0001F600</t><n>1</n></r>");
  MessageRecorder recorder;
  for (std::size_t length = 0; length < file.size(); ++length) {
    const MountedRoot root("a.xml", file.substr(0, length));
    EXPECT_FALSE(openResource("a.xml")) << length;
  }
  EXPECT_EQ(recorder.messages().size(), file.size());
}

TEST(AFileInLatin1, IsReadAndWrittenBackSoWithReferencesForOtherCharacters) {
  expectKept("<?xml version='1.0' encoding=\"ISO-8859-1\"?><r><t>\xE9</t><n>1</n></r>", "\xC3\xA9",
             "<?xml version='1.0' encoding=\"ISO-8859-1\"?><r><t>\xE9</t><n>\xE9&#8364;&#128512;</n></r>");
}

TEST(AFileInAscii, TakesReferencesForAllOtherCharacters) {
  expectKept("<?xml version='1.0' encoding='us-ascii'?><r><t>x</t><n>1</n></r>", "x",
             "<?xml version='1.0' encoding='us-ascii'?><r><t>x</t><n>&#233;&#8364;&#128512;</n></r>");
}

TEST(AFileInUtf8, KeepsItsByteOrderMark) {
  expectKept("\xEF\xBB\xBF<r><t/><n>1</n></r>", "",
             "\xEF\xBB\xBF<r><t/><n>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</n></r>");
}

TEST(ATagThatTheEncodingLacks, IsNotMade) {
  const MountedRoot root("a.xml", "<?xml version='1.0' encoding='ISO-8859-1'?><r/>");
  const auto section = openResource("a.xml");
  EXPECT_FALSE(section->openSection("\xD0\xB0", true));
  EXPECT_TRUE(section->openSection("\xC3\xA9", true));
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), "<?xml version='1.0' encoding='ISO-8859-1'?><r><\xE9/></r>");
}

TEST(BytesThatAreNotOfTheEncoding, AreRefused) {
  const std::string half = littleEndian(u"\uFEFF<r>") + "\x00\xD8"s + littleEndian(u"</r>");
  const std::string odd = littleEndian(u"\uFEFF<r/>") + " ";
  const std::string high = "<?xml version='1.0' encoding='us-ascii'?><r>\xE9</r>";
  const std::vector<std::string> reasons = {"a.xml:1:4: the text is not valid UTF-16 at byte 8;",
                                            "a.xml:1:5: the text is not valid UTF-16 at byte 10;",
                                            "a.xml:1:45: the text is not valid ASCII at byte 44;"};
  auto reason = reasons.begin();
  for (const std::string& bad : {half, odd, high}) {
    const MountedRoot root("a.xml", bad);
    MessageRecorder recorder;
    EXPECT_FALSE(openResource("a.xml"));
    EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr(*reason++)));
  }
}

TEST(AFileInUtf16, IsReadAndWrittenBackSoWithoutAMarkAlsoWhenItBeginsWithWhiteSpace) {
  for (const std::u16string begin : {u"\n", u" ", u"\t\r\n"}) {
    const std::u16string before = begin + u"<r><t>x</t><n>1</n></r>";
    const std::u16string after = begin + u"<r><t>x</t><n>\u00E9\u20AC\U0001F600</n></r>";
    expectKept(littleEndian(before), "x", littleEndian(after));
    expectKept(bigEndian(before), "x", bigEndian(after));
  }
}

TEST(AFileThatBeginsWithZeros, IsRefusedWhenItIsInNoEncodingOfOurs) {
  const std::string little = "<\0\0\0r\0\0\0/\0\0\0>\0\0\0"s;
  const std::string big = "\0\0\0<\0\0\0r\0\0\0/\0\0\0>"s;
  for (const std::string& file : {little, big, "\0"s, "\0\0"s, "\0<r/>"s, "<\0r/>"s, "<\0"s}) {
    const MountedRoot root("a.xml", file);
    const MessageRecorder recorder;
    EXPECT_FALSE(openResource("a.xml"));
    EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("a.xml:1:"))) << file.size();
  }
}

TEST(AnInstructionWhoseNameBeginsLikeADeclaration, NamesNoEncoding) {
  expectKept("<?xml-style encoding=\"latin1\"?><r><t>x</t><n>1</n></r>", "x",
             "<?xml-style encoding=\"latin1\"?><r><t>x</t><n>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</n></r>");
  expectKept("<?xml-stylesheet href=\"encoding.xsl\" type=\"text/xsl\"?><r><t>x</t><n>1</n></r>", "x",
             "<?xml-stylesheet href=\"encoding.xsl\" "
             "type=\"text/xsl\"?><r><t>x</t><n>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</n></r>");
}

TEST(ADeclaredEncoding, IsFoundWithWhateverSpaceAroundIt) {
  expectKept(
      "<?xml version = '1.0'\n encoding\t= 'ISO-8859-1' ?><r><t>\xE9</t><n>1</n></r>", "\xC3\xA9",
      "<?xml version = '1.0'\n encoding\t= 'ISO-8859-1' ?><r><t>\xE9</t><n>\xE9&#8364;&#128512;</n></r>");
}

}  // namespace
