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

struct HintCase {
  std::string text;
  std::string hint;  ///< in brackets behind the reason; empty for none
};

/// What the refusal of a file says between its brackets, the parser's own words left out.
std::string hintOf(const std::string& text) {
  const MountedRoot root("a.xml", text);
  const MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml")) << text;
  if (recorder.texts().size() != 1) return "there is no one message";
  std::string message = recorder.texts()[0];
  const std::string parsers = " (invalid token)";
  if (const auto found = message.find(parsers); found != std::string::npos)
    message.erase(found, parsers.size());
  const std::size_t begin = message.find(" (");
  const std::size_t end = message.rfind("); the file was not loaded; correct it there");
  return begin == std::string::npos || end == std::string::npos ? ""
                                                                : message.substr(begin + 2, end - begin - 2);
}

TEST(ARefusedFile, SaysWhatToDoAboutTheUsualSlips) {
  const std::string amp = R"(write "&amp;" for "&")";
  const std::string lt = R"(write "&lt;" for "<")";
  const std::string bytes =
      " is not valid UTF-8: store the file as UTF-8, or name its encoding in the first line";
  const std::string cutOff = " has no end; perhaps the file was cut off";
  const std::vector<HintCase> cases = {
      {"<r>a & b</r>", amp},
      {"<r>R&B</r>", amp},
      {"<r>&</r>", amp},
      {"<r>&lt</r>", amp},
      {"<r a='x & y'/>", amp},
      {"<r>&none;</r>", amp + ", or declare the entity"},
      {"<r>a < b</r>", lt},
      {"<r>a <5</r>", lt},
      {"<r a='x<y'/>", "close the quote in front of it, or " + lt},
      {"<r><a b='x</a></r>", "close the quote in front of it, or " + lt},
      {"<r>a]]>b</r>", R"(write "]]&gt;" for "]]>")"},
      {"<r a=1/>", "put the attribute's value in quotes"},
      {"<r a = 1/>", "put the attribute's value in quotes"},
      {"<r a='1' a='2'/>", "an element has each attribute once: take one out"},
      {"<r><!-- a -- b --></r>", "two hyphens cannot stand within a comment"},
      {"<r>\n <entry\n  a='1'>\n  <b></entry>\n</r>",
       R"(the innermost open element is "<b>" of line 4: write "</b>" first)"},
      {"<r>\n <Entry\n  a='1'>\n</entry>\n</r>",
       R"(the innermost open element is "<Entry>" of line 2: write "</Entry>" first)"},
      {"<r>\n <a>\n</r>\n", R"(the innermost open element is "<a>" of line 2: write "</a>" first)"},
      {"<r>\n <a>\n", R"("<a>" of line 2 has no end tag; perhaps the file was cut off)"},
      {"<r>\n <a/>", R"("<r>" of line 1 has no end tag; perhaps the file was cut off)"},
      {"", "the file is empty"},
      {" \n", "the file is empty"},
      {"<!-- only -->", "there is no root element"},
      {"<r><!-- ", "a comment" + cutOff},
      {"<r>&am", "a reference" + cutOff},
      {"<r><a b='", "what begins here" + cutOff},
      {"<r/><r/>", "a file has one root: put this element into it"},
      {"<r></r></r>", "this end tag ends nothing: take it out"},
      {"<r/>text", "nothing may stand behind the root: take it out, or put it into the root"},
      {"\n<?xml version='1.0'?><r/>",
       "the declaration \"<?xml\" stands at the very beginning of a file or nowhere: take out what is in "
       "front "
       "of it"},
      {"<r>&#1;</r>", "XML cannot hold this character: take it out"},
      {"<r>\x1B</r>", "the control character 0x1B cannot stand in XML: take it out"},
      {std::string("<r>\0</r>", 8), "a zero byte: the file is damaged, or no text"},
      {"<r>caf\xE9</r>", "the byte 0xE9" + bytes},
      {"<r a='\x80'/>", "the byte 0x80" + bytes},
      {"<r>\xE2\x82", "the byte 0xE2" + bytes},
      {"<r></ a></r>", ""},
      {"<r a/>", ""},
  };
  for (const HintCase& one : cases) EXPECT_EQ(hintOf(one.text), one.hint) << one.text;
}

TEST(ARefusedFile, IsSaidToHoldAMergeConflictWhereverThatShows) {
  const std::string here = "a merge-conflict marker stands here: finish the merge there";
  const std::string line = "a merge-conflict marker stands in line ";
  const std::vector<HintCase> cases = {
      {"<<<<<<< HEAD\n<r/>\n", here},
      {"<r>\r\n<<<<<<< HEAD\r\n<a/>\r\n=======\r\n<b/>\r\n>>>>>>> other\r\n</r>\r\n", here},
      {"<r/>\n=======\n<r/>\n", here},
      {"<r/>\n>>>>>>> other\n", here},
      {"<r>\n<a>\n=======\n<b>\n>>>>>>> other\n</b>\n</r>\n", line + "5: finish the merge there"},
      {"<r>\n<!--\n<<<<<<< HEAD\n-->\n<a>\n</r>\n", line + "3: finish the merge there"},
      {"<r>\n========\n<a>\n</r>\n", R"(the innermost open element is "<a>" of line 3: write "</a>" first)"},
  };
  for (const HintCase& one : cases) EXPECT_EQ(hintOf(one.text), one.hint) << one.text;
}

TEST(ARefusedFile, HasItsNamesShownHarmlessAndShort) {
  EXPECT_LT(hintOf("<r><" + std::string(100'000, 'x') + "></r>").size(), 500U);
  EXPECT_EQ(hintOf("<r><a\xC2\x9B></r>"), "");
}

TEST(ARefusedFile, NamesThePlaceBehindAByteOrderMarkAsEditorsCount) {
  const MountedRoot root("a.xml", "\xEF\xBB\xBF<r>\xC3\xA9 & </r>");
  const MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_THAT(recorder.texts(), ElementsAre(testing::StartsWith("a.xml:1:7: not well-formed")));
}

}  // namespace
