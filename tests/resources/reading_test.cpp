#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> tagsOf(const Tal::DataSection& section) {
  std::vector<std::string> tags;
  for (const Tal::SmartPointer<Tal::DataSection>& child : section) tags.emplace_back(child->tag());
  return tags;
}

TEST(ASection, ListsItsChildrenInDocumentOrder) {
  const MountedRoot root("a.xml", "<root><b/>text<a>1</a><!-- c --><b><c/></b></root>");
  const auto section = openResource("a.xml");
  EXPECT_EQ(section->tag(), "root");
  EXPECT_EQ(section->childCount(), 3);
  EXPECT_THAT(tagsOf(*section), ElementsAre("b", "a", "b"));
  EXPECT_EQ(section->child(2)->child(0)->tag(), "c");
  EXPECT_FALSE(section->child(3));
  EXPECT_FALSE(section->child(-1));
}

TEST(ASection, IsFoundByItsPath) {
  const MountedRoot root("a.xml", "<root><box><min>1</min><min>2</min></box><box><max>3</max></box></root>");
  const auto section = openResource("a.xml");
  EXPECT_EQ(section->openSection("box/min")->value(), "1");
  EXPECT_EQ(section->readString("box/min"), "1");
  EXPECT_FALSE(section->openSection("box/max")) << "only the first box is looked into";
  EXPECT_FALSE(section->openSection("none"));
  EXPECT_EQ(section->readString("box/max", "default"), "default");
}

TEST(ASection, IsItselfUnderTheEmptyName) {
  const MountedRoot root("a.xml", "<root> own text </root>");
  const auto section = openResource("a.xml");
  EXPECT_EQ(section->openSection("")->tag(), "root");
  EXPECT_EQ(section->readString(""), "own text");
}

TEST(ASection, FindsOnlyPlainTagsAmongItsChildren) {
  const MountedRoot root("a.xml", "<root><b><c/></b></root>");
  const auto section = openResource("a.xml");
  EXPECT_TRUE(section->findChild("b"));
  EXPECT_FALSE(section->findChild("b/c"));
  EXPECT_FALSE(section->findChild(""));
}

TEST(AValue, IsTheTextWithoutSurroundingWhiteSpace) {
  const MountedRoot root("a.xml", "<root><a>\r\n\t wall  roof \n</a><b/><c>  </c></root>");
  const auto section = openResource("a.xml");
  EXPECT_EQ(section->readString("a"), "wall  roof");
  EXPECT_EQ(section->readString("b", "default"), "");
  EXPECT_EQ(section->readString("c", "default"), "");
}

TEST(AValue, IsDecoded) {
  const MountedRoot root("a.xml",
                         "<root><a>&lt;&amp;&gt;&quot;&apos;</a><b>&#65;&#x20AC;&#x1F600;</b>"
                         "<c>x<![CDATA[<&amp;]]>y</c><d>one\r\ntwo\rthree</d><e>&#32;x&#10;</e></root>");
  const auto section = openResource("a.xml");
  EXPECT_EQ(section->readString("a"), "<&>\"'");
  EXPECT_EQ(section->readString("b"), "A\u20AC\U0001F600");
  EXPECT_EQ(section->readString("c"), "x<&amp;y");
  EXPECT_EQ(section->readString("d"), "one\ntwo\nthree");
  EXPECT_EQ(section->readString("e"), "x");
}

TEST(AValue, PassesOverCommentsInstructionsAndChildren) {
  const MountedRoot root("a.xml", "<root>1<!-- <b/> -->2<?p 9?>3<c>9</c>4<![CDATA[<!--5-->]]></root>");
  EXPECT_EQ(openResource("a.xml")->value(), "1234<!--5-->");
}

TEST(AValue, MayUseEntitiesThatTheFileDeclares) {
  const MountedRoot root("a.xml",
                         "<!DOCTYPE root [<!ENTITY firm \"House &#38; Co\">]><root><a>&firm;</a></root>");
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml")) << "the replacement text holds a reference";
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("entity \"firm\"")));
  root.replace("a.xml", "<!DOCTYPE root [<!ENTITY firm \"House\">]><root><a>My &firm;</a></root>");
  EXPECT_EQ(openResource("a.xml")->readString("a"), "My House");
}

struct NumberCase {
  const char* text;
  int asInt;
  float asFloat;
};

TEST(ANumber, IsReadOnlyWhenItIsTheWholeText) {
  const std::vector<NumberCase> cases = {{"12", 12, 12},
                                         {" -7\n", -7, -7},
                                         {"+5", 5, 5},
                                         {"007", 7, 7},
                                         {"1.5", -1, 1.5F},
                                         {"1e3", -1, 1000},
                                         {"", -1, -1},
                                         {"12 13", -1, -1},
                                         {"0x10", -1, -1},
                                         {"1,5", -1, -1},
                                         {"inf", -1, -1},
                                         {"nan", -1, -1},
                                         {"1e99", -1, -1},
                                         {"12px", -1, -1},
                                         {"--1", -1, -1},
                                         {"+-1", -1, -1},
                                         {"+", -1, -1},
                                         {"2147483648", -1, 2147483648.0F},
                                         {"-2147483648", -2147483648, -2147483648.0F}};
  for (const NumberCase& one : cases) {
    const MountedRoot root("a.xml", "<root><n>" + std::string(one.text) + "</n></root>");
    const auto section = openResource("a.xml");
    EXPECT_EQ(section->readInt("n", -1), one.asInt) << '"' << one.text << '"';
    EXPECT_EQ(section->readFloat("n", -1), one.asFloat) << '"' << one.text << '"';
  }
}

TEST(ANumber, IsTheDefaultWhenTheKeyIsAbsent) {
  const MountedRoot root("a.xml", "<root/>");
  EXPECT_EQ(openResource("a.xml")->readInt("n", 80), 80);
  EXPECT_EQ(openResource("a.xml")->readFloat("n", 1.5F), 1.5F);
}

TEST(AVector, IsThreeNumbers) {
  const MountedRoot root("a.xml", "<root><v> 1 -2.5\t3e1\n</v><two>1 2</two><four>1 2 3 4</four></root>");
  const auto section = openResource("a.xml");
  EXPECT_EQ(section->readVector3("v"), (Tal::Vector3{1, -2.5F, 30}));
  EXPECT_EQ(section->readVector3("two", {9, 9, 9}), (Tal::Vector3{9, 9, 9}));
  EXPECT_EQ(section->readVector3("four", {9, 9, 9}), (Tal::Vector3{9, 9, 9}));
}

TEST(AFileThatIsNotWellFormed, IsReportedOnceWithItsPlaceAndOpensAsNull) {
  const MountedRoot root("scripts/a.xml", "<root>\n  <b></c>\n</root>");
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("scripts/a.xml"));
  EXPECT_FALSE(openResource("scripts/a.xml"));
  ASSERT_EQ(recorder.messages().size(), 1U);
  EXPECT_EQ(recorder.messages()[0].messagePriority, 5);
  EXPECT_EQ(recorder.messages()[0].category, "resources");
  EXPECT_THAT(recorder.texts()[0], HasSubstr("scripts/a.xml:2:8: mismatched tag"));
}

TEST(ASection, FindsTheFirstChildFromAPlaceOnWhoseChildReadsAsAValue) {
  const MountedRoot root("a.xml",
                         "<root><e><n>x</n></e><e/><f><n> a&amp;b </n><n>x</n></f><e><n>x</n></e></root>");
  const auto section = openResource("a.xml");
  EXPECT_EQ(section->findChildWith("n", "x"), 0);
  EXPECT_EQ(section->findChildWith("n", "x", 1), 3) << "only the first child of that tag counts";
  EXPECT_EQ(section->findChildWith("n", "a&b"), 2);
  EXPECT_EQ(section->findChildWith("n", ""), 1) << "an absent one reads as empty";
  EXPECT_EQ(section->findChildWith("n", "y"), -1);
  EXPECT_EQ(section->findChildWith("n", "x", 4), -1);
  EXPECT_EQ(section->findChildWith("n", "x", -1), -1) << "there is no such place";
  EXPECT_EQ(section->DataSection::findChildWith("n", "x", -1), -1) << "as any other kind of section has it";
  EXPECT_EQ(section->findChildWith("no such", "x"), -1);
}

TEST(AHandle, KeepsItsDocumentAlive) {
  Tal::SmartPointer<Tal::DataSection> child;
  {
    const MountedRoot root("a.xml", "<root><b>text</b></root>");
    child = openResource("a.xml")->child(0);
  }
  EXPECT_EQ(child->value(), "text");
}

TEST(AMissingResource, OpensAsNullWithoutAMessage) {
  const MountedRoot root;
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_THAT(recorder.texts(), IsEmpty());
}

TEST(AnAttribute, IsReadWithItsReferencesAndIsEmptyWhenAbsent) {
  const MountedRoot root("a.xml",
                         "<?xml version='1.0'?><!DOCTYPE r [<!ENTITY e 'E'>]>\n<r a = 'x' bb=\"a='1'\"\n "
                         "c='&lt;&amp;&#65;&e;' d=''>"
                         "<s a='of s'/><t/></r>");
  const auto section = openResource("a.xml");
  EXPECT_EQ(section->attribute("a"), "x");
  EXPECT_EQ(section->attribute("bb"), "a='1'");
  EXPECT_EQ(section->attribute("c"), "<&AE");
  EXPECT_EQ(section->attribute("d"), "");
  EXPECT_EQ(section->attribute("b"), "") << "the name is compared as a whole";
  EXPECT_EQ(section->openSection("s")->attribute("a"), "of s");
  EXPECT_EQ(section->openSection("t")->attribute("a"), "");
  section->setValue("edited");
  EXPECT_EQ(section->attribute("a"), "x") << "edits keep it";
  EXPECT_EQ(section->openSection("new", true)->attribute("a"), "");
}

}  // namespace
