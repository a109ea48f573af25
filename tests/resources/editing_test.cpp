#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <resources/data_section_cache.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using Section = Tal::SmartPointer<Tal::DataSection>;
using testing::ElementsAre;
using testing::HasSubstr;

/// The text of a file that held `before`, after an edit of its root and a save.
std::string edited(const std::string& before, const std::function<void(Tal::DataSection&)>& edit) {
  const MountedRoot root("a.xml", before);
  const Section section = openResource("a.xml");
  if (!section) return "cannot be opened";
  edit(*section);
  EXPECT_TRUE(section->save());
  std::string after = root.read("a.xml");
  // What was written reads back as it stands in memory.
  Tal::DataSectionCache::clear();
  EXPECT_TRUE(openResource("a.xml")) << after;
  return after;
}

std::string withValue(const std::string& before, const std::string& key, const std::string& value) {
  return edited(before, [&](Tal::DataSection& root) { EXPECT_TRUE(root.writeString(key, value)); });
}

TEST(WritingAValue, ReplacesOnlyTheText) {
  EXPECT_EQ(withValue("<r><a x='1'  y=\"2\" >old</a ></r>", "a", "new"),
            "<r><a x='1'  y=\"2\" >new</a ></r>");
  EXPECT_EQ(withValue("<r>\r\n  <a> old\t</a><b/>\r\n</r>\r\n", "a", "new"),
            "<r>\r\n  <a> new\t</a><b/>\r\n</r>\r\n");
}

TEST(WritingAValue, OpensAnEmptyElement) {
  EXPECT_EQ(withValue("<r><a/></r>", "a", "v"), "<r><a>v</a></r>");
  EXPECT_EQ(withValue("<r><a x='1' /></r>", "a", "v"), "<r><a x='1'>v</a></r>");
  EXPECT_EQ(withValue("<r><a></a></r>", "a", "v"), "<r><a>v</a></r>");
  EXPECT_EQ(withValue("<r><a>\n  </a></r>", "a", "v"), "<r><a>v</a></r>");
}

TEST(WritingAValue, EmptiesAnElement) {
  EXPECT_EQ(withValue("<r><a> old </a></r>", "a", ""), "<r><a></a></r>");
  EXPECT_EQ(withValue("<r><a/><b/></r>", "a", ""), "<r><a/><b/></r>");
}

TEST(WritingAValue, EscapesWhatXmlReserves) {
  EXPECT_EQ(withValue("<r><a/></r>", "a", "<&>]]>\"'\r\n"), "<r><a>&lt;&amp;&gt;]]&gt;\"'&#13;\n</a></r>");
}

TEST(WritingAValue, KeepsCommentsAndInstructionsBesideIt) {
  EXPECT_EQ(withValue("<r><a>1<!-- one -->2<?p?></a></r>", "a", "3"), "<r><a>3<!-- one --><?p?></a></r>");
  EXPECT_EQ(withValue("<r><a><!-- none --></a></r>", "a", "3"), "<r><a>3<!-- none --></a></r>");
}

TEST(WritingAValue, ReplacesCharacterDataSectionsAndReferences) {
  EXPECT_EQ(withValue("<r><a> <![CDATA[<x>]]>&amp; </a></r>", "a", "y"), "<r><a> y </a></r>");
}

TEST(WritingAValue, KeepsTheChildrenOfASection) {
  EXPECT_EQ(withValue("<r>\n  <a/>\n</r>", "", "text"), "<r>text\n  <a/>\n</r>");
  EXPECT_EQ(withValue("<r>old\n  <a/> more\n</r>", "", "text"), "<r>text\n  <a/> \n</r>");
}

TEST(WritingAValue, WritesItAsGivenWithItsSpaces) {
  EXPECT_EQ(withValue("<r><a/></r>", "a", "wall roof "), "<r><a>wall roof </a></r>");
  EXPECT_EQ(withValue("<r><a>wall </a></r>", "a", "wall roof "), "<r><a>wall roof </a></r>");
}

TEST(WritingAValue, ChangesNothingWhenItIsThereAlready) {
  const std::string file =
      "<r><a> x&#32;</a><b><![CDATA[<]]></b><n>1.000000</n><i> 007 </i><v>1  2.0 3</v></r>";
  EXPECT_EQ(edited(file,
                   [](Tal::DataSection& root) {
                     EXPECT_TRUE(root.writeString("a", "x"));
                     EXPECT_TRUE(root.writeString("b", " < "));
                     EXPECT_TRUE(root.writeFloat("n", 1.0F));
                     EXPECT_TRUE(root.writeInt("i", 7));
                     EXPECT_TRUE(root.writeVector3("v", {1, 2, 3}));
                   }),
            file);
}

TEST(WritingANumber, UsesTheShortestTextThatReadsBackEqual) {
  EXPECT_EQ(edited("<r><a/><b/><c/><d/></r>",
                   [](Tal::DataSection& root) {
                     root.writeFloat("a", 0.1F);
                     root.writeFloat("b", 1e20F);
                     root.writeInt("c", -12);
                     root.writeVector3("d", {1, -0.5F, 2});
                   }),
            "<r><a>0.1</a><b>1e+20</b><c>-12</c><d>1 -0.5 2</d></r>");
}

TEST(WritingANumber, RefusesWhatCannotBeReadBack) {
  const MountedRoot root("a.xml", "<r><a>1</a></r>");
  const Section section = openResource("a.xml");
  MessageRecorder recorder;
  EXPECT_FALSE(section->writeFloat("a", std::numeric_limits<float>::infinity()));
  EXPECT_FALSE(section->writeFloat("new", std::numeric_limits<float>::quiet_NaN()));
  EXPECT_FALSE(section->writeVector3("a", {1, std::numeric_limits<float>::quiet_NaN(), 3}));
  EXPECT_THAT(recorder.texts(),
              ElementsAre(HasSubstr("\"a\" is not finite"), HasSubstr("\"new\""), HasSubstr("\"a\"")));
  EXPECT_EQ(section->readString("a"), "1");
  EXPECT_EQ(section->childCount(), 1);
}

TEST(AValueThatXmlCannotHold, IsRefusedAndReportedOnce) {
  for (const std::string bad :
       {"a\x01", "\x1B[0m", "\xFF", "\xC0\x80", "\xED\xA0\x80", "\xEF\xBF\xBF", "\xE2\x82"}) {
    const MountedRoot root("a.xml", "<r><a>1</a></r>");
    const Section section = openResource("a.xml");
    MessageRecorder recorder;
    EXPECT_FALSE(section->writeString("a", bad));
    EXPECT_FALSE(section->writeString("new", bad));
    EXPECT_FALSE(section->setValue(bad));
    EXPECT_EQ(recorder.messages().size(), 3U);
    EXPECT_EQ(recorder.messages()[0].messagePriority, 5);
    EXPECT_EQ(section->childCount(), 1) << "no child is made";
    EXPECT_TRUE(section->save());
    EXPECT_EQ(root.read("a.xml"), "<r><a>1</a></r>");
  }
}

struct AdditionCase {
  const char* name;
  const char* before;
  const char* path;
  const char* after;
};

TEST(ANewSection, TakesOnTheLayoutOfItsNeighbours) {
  const std::vector<AdditionCase> cases = {
      {"indented by tabs", "<r>\n\t<a/>\n</r>\n", "b", "<r>\n\t<a/>\n\t<b/>\n</r>\n"},
      {"indented by spaces, CRLF", "<r>\r\n  <a/>\r\n</r>", "b", "<r>\r\n  <a/>\r\n  <b/>\r\n</r>"},
      {"on one line", "<r><a/></r>", "b", "<r><a/><b/></r>"},
      {"on one line with spaces", "<r> <a/> </r>", "b", "<r> <a/> <b/> </r>"},
      {"without indentation", "<r>\n<a>\n<c/>\n</a>\n</r>", "a/d", "<r>\n<a>\n<c/>\n<d/>\n</a>\n</r>"},
      {"blank lines between", "<r>\n\n\t<a/>\n\n\t<c/>\n</r>", "b", "<r>\n\n\t<a/>\n\n\t<c/>\n\t<b/>\n</r>"},
      {"a comment at the end", "<r>\n\t<a/> <!-- of a -->\n</r>", "b",
       "<r>\n\t<a/> <!-- of a -->\n\t<b/>\n</r>"},
      {"the first in an empty section", "<r>\n  <a/>\n</r>", "a/b", "<r>\n  <a>\n    <b/>\n  </a>\n</r>"},
      {"the first in a section of two tags", "<r>\n  <a></a>\n</r>", "a/b",
       "<r>\n  <a>\n    <b/>\n  </a>\n</r>"},
      {"the first in a section of blank lines", "<r>\n  <a>\n  </a>\n</r>", "a/b",
       "<r>\n  <a>\n    <b/>\n  </a>\n</r>"},
      {"a whole path", "<r>\n  <a/>\n</r>", "b/c/d",
       "<r>\n  <a/>\n  <b>\n    <c>\n      <d/>\n    </c>\n  </b>\n</r>"},
      {"a path on one line", "<r><a/></r>\n", "b/c", "<r><a/><b><c/></b></r>\n"},
      {"like the section beside it", "<r>\n <a>\n      <x/>\n </a>\n <b/>\n</r>", "b/c",
       "<r>\n <a>\n      <x/>\n </a>\n <b>\n      <c/>\n </b>\n</r>"},
      {"like the section behind it", "<r>\n <b/>\n <a>\n   <x/>\n </a>\n</r>", "b/c",
       "<r>\n <b>\n   <c/>\n </b>\n <a>\n   <x/>\n </a>\n</r>"},
      {"entries on one line each", "<r>\n  <e><x/></e>\n  <e/>\n</r>", "f/x",
       "<r>\n  <e><x/></e>\n  <e/>\n  <f><x/></f>\n</r>"},
      {"a root without anything", "<r/>\n", "a", "<r>\n\t<a/>\n</r>\n"},
      {"a root without anything on one line", "<r></r>", "a", "<r><a/></r>"},
      {"a root behind a declaration", "<?xml version='1.0'?>\r\n<r/>", "a/b",
       "<?xml version='1.0'?>\r\n<r>\r\n\t<a>\r\n\t\t<b/>\r\n\t</a>\r\n</r>"},
  };
  for (const AdditionCase& one : cases) {
    const auto add = [&](Tal::DataSection& root) { EXPECT_TRUE(root.openSection(one.path, true)); };
    EXPECT_EQ(edited(one.before, add), one.after) << one.name;
  }
}

TEST(ANewSection, StandsInAWholeEntryAsInItsNeighbour) {
  const std::string before =
      "<root>\n"
      "  <structures>\n"
      "    <entry>\n"
      "      <filename>a.model</filename>\n"
      "      <modules>\n"
      "        <module>\n"
      "          <matName>wall</matName>\n"
      "        </module>\n"
      "      </modules>\n"
      "    </entry>\n"
      "  </structures>\n"
      "</root>\n";
  const auto edit = [](Tal::DataSection& root) {
    const Section entry = root.openSection("structures")->appendChild("entry");
    entry->writeString("filename", "b.model");
    const Section modules = entry->openSection("modules", true);
    for (const char* material : {"floor", "roof"})
      modules->appendChild("module")->writeString("matName", material);
  };
  EXPECT_EQ(edited(before, edit), before.substr(0, before.find("  </structures>")) +
                                      "    <entry>\n"
                                      "      <filename>b.model</filename>\n"
                                      "      <modules>\n"
                                      "        <module>\n"
                                      "          <matName>floor</matName>\n"
                                      "        </module>\n"
                                      "        <module>\n"
                                      "          <matName>roof</matName>\n"
                                      "        </module>\n"
                                      "      </modules>\n"
                                      "    </entry>\n"
                                      "  </structures>\n"
                                      "</root>\n");
}

TEST(ANewSection, IsNotMadeUnderANameThatXmlDoesNotAllow) {
  const MountedRoot root("a.xml", "<r><a/></r>");
  const Section section = openResource("a.xml");
  for (const char* bad : {"1a", "a b", "a<", "-a", "a/b c", "new/1", "\xC3\x97", "a&b", "a>"}) {
    EXPECT_FALSE(section->openSection(bad, true)) << bad;
    EXPECT_FALSE(section->writeString(bad, "v")) << bad;
  }
  EXPECT_FALSE(section->appendChild(""));
  EXPECT_EQ(section->childCount(), 1) << "nor is a part of the path";
  EXPECT_TRUE(section->openSection("h\xC3\xA4user", true));
}

struct RemovalCase {
  const char* name;
  const char* before;
  const char* key;
  const char* after;
};

TEST(RemovingASection, LeavesNoBlankLineAndKeepsTheRest) {
  const std::vector<RemovalCase> cases = {
      {"the first", "<r>\n  <a/>\n  <b/>\n</r>", "a", "<r>\n  <b/>\n</r>"},
      {"the last", "<r>\n  <a/>\n  <b/>\n</r>", "b", "<r>\n  <a/>\n</r>"},
      {"the only one", "<r>\n  <a/>\n</r>", "a", "<r></r>"},
      {"with a comment in front", "<r>\n  <!-- of a -->\n  <a/>\n  <b/>\n</r>", "a",
       "<r>\n  <!-- of a -->\n  <b/>\n</r>"},
      {"with an instruction in front", "<r>\n  <?of a?>\n  <a/>\n</r>", "a", "<r>\n  <?of a?>\n</r>"},
      {"on the line of the next", "<r>\n  <a/><b/>\n</r>", "a", "<r>\n  <b/>\n</r>"},
      {"within a line", "<r><a/><b/></r>", "b", "<r><a/></r>"},
      {"among text", "<r>one <a/> two</r>", "a", "<r>one two</r>"},
      {"that alone parts texts", "<r>one <a/>two</r>", "a", "<r>one two</r>"},
      {"that parts texts of two lines", "<r>one\r\n  <a/>two</r>", "a", "<r>one\r\ntwo</r>"},
      {"of a deeper path", "<r>\n  <a>\n    <b/>\n    <c/>\n  </a>\n</r>", "a/b",
       "<r>\n  <a>\n    <c/>\n  </a>\n</r>"},
      {"that is not there", "<r>\n  <a/>\n</r>", "b", "<r>\n  <a/>\n</r>"},
      {"below one that is not there", "<r>\n  <a/>\n</r>", "b/a", "<r>\n  <a/>\n</r>"},
      {"without a name", "<r>\n  <a/>\n</r>", "", "<r>\n  <a/>\n</r>"},
      {"only the first of its tag", "<r><a>1</a><a>2</a></r>", "a", "<r><a>2</a></r>"},
  };
  for (const RemovalCase& one : cases) {
    const auto remove = [&](Tal::DataSection& root) { root.deleteSection(one.key); };
    EXPECT_EQ(edited(one.before, remove), one.after) << one.name;
  }
}

TEST(RemovingEverySectionOfATag, KeepsTheOthersAndTheComments) {
  const auto removeStates = [](Tal::DataSection& root) { root.deleteSections("s/state"); };
  EXPECT_EQ(
      edited("<r>\n <s>\n  <state/>\n  <!-- 1 -->\n  <state/>\n  <x/>\n  <!-- 2 -->\n  <state/>\n </s>\n</r>",
             removeStates),
      "<r>\n <s>\n  <!-- 1 -->\n  <x/>\n  <!-- 2 -->\n </s>\n</r>");
  EXPECT_EQ(edited("<r>\n <s>\n  <x/>\n </s>\n</r>", removeStates), "<r>\n <s>\n  <x/>\n </s>\n</r>");
}

TEST(RemovingChildren, ByHandleWorksInWhateverOrder) {
  const MountedRoot root("a.xml", "<r><a/><b/><c/><d/></r>");
  const Section section = openResource("a.xml");
  const Section a = section->child(0);
  const Section c = section->child(2);
  const Section d = section->findChild("d");
  EXPECT_TRUE(section->removeChild(a));
  EXPECT_FALSE(section->removeChild(a)) << "it is no child any more";
  EXPECT_TRUE(section->removeChild(d));
  EXPECT_TRUE(section->removeChild(c));
  EXPECT_FALSE(section->removeChild(Section()));
  EXPECT_FALSE(section->removeChild(section));
  EXPECT_FALSE(section->removeChild("a"));
  EXPECT_EQ(section->childCount(), 1);
  EXPECT_TRUE(section->removeChild("b"));
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), "<r></r>");
}

TEST(RemovingChildren, OfAnotherDocumentIsRefused) {
  const MountedRoot root("a.xml", "<r><a/></r>");
  root.write("b.xml", "<r><a/></r>");
  EXPECT_FALSE(openResource("a.xml")->removeChild(openResource("b.xml")->child(0)));
}

TEST(ARemovedSection, ReadsAsItWas) {
  const MountedRoot root("a.xml", "<r>\n  <a>\n    <b>text</b>\n  </a>\n</r>");
  const Section section = openResource("a.xml");
  const Section a = section->child(0);
  section->removeChildren();
  EXPECT_EQ(section->childCount(), 0);
  EXPECT_EQ(a->tag(), "a");
  EXPECT_EQ(a->readString("b"), "text");
  EXPECT_TRUE(a->writeString("b", "edited")) << "an edit of it reaches nothing";
  EXPECT_TRUE(a->writeString("c", "new"));
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), "<r></r>");
}

TEST(ASectionThatIsEmptiedAndFilledAgain, LooksAsBefore) {
  const std::string before = "<r>\n\t<s>\n\t\t\t<state>1</state>\n\t\t\t<state>2</state>\n\t  </s>\n</r>\n";
  const auto rewrite = [](Tal::DataSection& root) {
    const Section states = root.openSection("s");
    states->deleteSections("state");
    for (const char* value : {"1", "2"}) states->appendChild("state")->setValue(value);
  };
  EXPECT_EQ(edited(before, rewrite), before);
}

TEST(ASectionThatIsEmptiedAndFilledAgain, LooksAsBeforeWithTextBesideItsChildren) {
  const auto rewrite = [](Tal::DataSection& root) {
    for (const Section section : root) {
      section->deleteSections("a");
      for (int i = 0; i < 2; ++i) section->appendChild("a");
    }
  };
  const std::string before = "<r>\n  <s>text\n    <a/>\n    <a/>\n  </s>\n</r>\n";
  EXPECT_EQ(edited(before, rewrite), before);
  const std::vector<std::string> gaps = {"",   " ",   "\n    ",     "\r\n\t",        "x",
                                         "x ", " x ", "<!-- c -->", " <!-- c -->\n", "\n  x\n  <!-- c --> "};
  for (const std::string& first : gaps) {
    std::string sections;
    for (const std::string& second : gaps) {
      for (const std::string& tail : gaps)
        sections += "<s>" + first + "<a/>" + second + "<a/>" + tail + "</s>\n";
    }
    const std::string once = edited("<r>" + sections + "</r>", rewrite);
    EXPECT_EQ(edited(once, rewrite), once) << "or it changes with every save";
  }
}

TEST(ANewSection, StandsOnALineOfItsOwnWhenTheLastOneCameToDoSo) {
  const auto exchange = [](Tal::DataSection& root) {
    root.deleteSection("a");
    root.appendChild("c");
  };
  EXPECT_EQ(edited("<r>\n  <a/><b/>\n</r>", exchange), "<r>\n  <b/>\n  <c/>\n</r>");
}

TEST(ANewSection, StandsBelowItsParentAsThatStandsAfterTheEdits) {
  const auto rewrite = [](Tal::DataSection& root) {
    root.deleteSection("e/x");
    const Section section = root.openSection("e/s");
    section->removeChildren();
    section->appendChild("a")->appendChild("b");
  };
  const std::string once = edited(
      "<r>\n  <e>\n    <x/><s>\n      <a>\n        <b/>\n      </a>\n    </s>\n  </e>\n</r>\n", rewrite);
  EXPECT_EQ(once, "<r>\n  <e>\n    <s>\n      <a>\n        <b/>\n      </a>\n    </s>\n  </e>\n</r>\n");
  EXPECT_EQ(edited(once, rewrite), once);
}

TEST(AnEditThatIsTakenBack, LeavesTheFileAsItWas) {
  const std::string before = "<r>\n  <a/>\n  <b>1</b>\n</r>\n";
  const auto edit = [](Tal::DataSection& root) {
    root.writeString("a/new", "1");
    root.deleteSection("a/new");
    root.writeString("b", "2");
    root.writeString("b", "1");
    root.openSection("c", true);
    root.deleteSection("c");
  };
  EXPECT_EQ(edited(before, edit), before);
}

TEST(AnEdit, KeepsEverythingElseByteForByte) {
  const std::string before =
      "\xEF\xBB\xBF<?xml version=\"1.0\" encoding='UTF-8' ?>\r\n"
      "<!DOCTYPE root [\r\n <!ENTITY e 'x'>\r\n]>\r\n"
      "<!-- top -->\n"
      "<root  a = 'b>' >\r\n"
      "\t<x>&e;&#65;<![CDATA[ & ]]></x><?pi  here?>\n\n"
      "\t<n>1</n>\t<!-- about n -->\r\n"
      "  <y></y><z/><z />\n"
      "</root >\n<!-- end --><?last?>\r\n";
  std::string after = before;
  after.replace(after.find("<n>1"), 4, "<n>2");
  EXPECT_EQ(withValue(before, "n", "2"), after);
}

TEST(ManyRemovals, TakeLinearTime) {
  constexpr int kCount = 100'000;
  std::string file = "<r>\n";
  for (int i = 0; i < kCount; ++i)
    file += "<!-- " + std::to_string(i) + " -->\n<e>" + std::to_string(i) + "</e>\n";
  const auto removeOdd = [](Tal::DataSection& root) {
    for (int i = 0; i < root.childCount();) {
      const Section child = root.child(i);
      if (child->readInt("") % 2 == 1) {
        EXPECT_TRUE(root.removeChild(child));
      } else {
        ++i;
      }
    }
  };
  const std::string half = edited(file + "</r>", removeOdd);
  EXPECT_THAT(half, HasSubstr("<!-- 2 -->\n<e>2</e>\n<!-- 3 -->\n<!-- 4 -->\n<e>4</e>\n"));
  const std::string none = edited(file + "</r>", [](Tal::DataSection& root) {
    while (root.childCount() > 0) root.removeChild(root.child(0));
  });
  EXPECT_THAT(none, HasSubstr("<!-- 7 -->\n<!-- 8 -->\n"));
  const std::string last = edited(file + "</r>", [](Tal::DataSection& root) {
    for (int i = root.childCount(); i > kCount - 5'000; --i) root.removeChild(root.child(i - 1));
  });
  EXPECT_THAT(last, HasSubstr("<e>94999</e>\n<!-- 95000 -->\n<!-- 95001 -->\n"));
}

TEST(ManyRemovals, BehindALongSpaceTakeLinearTime) {
  std::string file = "<r>text" + std::string(1'000'000, ' ');
  for (int i = 0; i < 100'000; ++i) file += "<e/>";
  EXPECT_EQ(edited(file + "</r>", [](Tal::DataSection& root) { root.removeChildren(); }), "<r>text</r>");
}

class FixedCreator : public Tal::DataSectionCreator {
 public:
  explicit FixedCreator(Section made) : made_(std::move(made)) {}
  Section create(Tal::BasicStringRef /*name*/) override { return made_; }

 private:
  Section made_;
};

TEST(ACreator, GivesTheContentOfTheSectionThatIsMade) {
  const MountedRoot root("a.xml", "<r>\n\t<a/>\n</r>");
  root.write("pattern.xml", "<p>text<q>1</q><q><s>2</s></q></p>");
  FixedCreator creator(openResource("pattern.xml"));
  const Section section = openResource("a.xml");
  EXPECT_TRUE(section->openSection("b/c", true, &creator));
  EXPECT_TRUE(section->save());
  EXPECT_EQ(
      root.read("a.xml"),
      "<r>\n\t<a/>\n\t<b>\n\t\t<c>text\n\t\t\t<q>1</q>\n\t\t\t<q>\n\t\t\t\t<s>2</s>\n\t\t\t</q>\n\t\t</c>\n"
      "\t</b>\n</r>");
  FixedCreator declining((Section()));
  EXPECT_FALSE(section->openSection("d/e", true, &declining));
  EXPECT_FALSE(section->openSection("d"));
}

}  // namespace
