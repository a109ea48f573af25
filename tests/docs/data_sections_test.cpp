// The code that docs/data-sections.md shows: what stands between "[shown]" and "[/shown]" is there word for
// word.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <resources/file_system.h>
#include <support/document.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using support::MountedRoot;
using testing::IsEmpty;

// [shown]
void listFragiles(std::ostream& out) {
  const auto root = Tal::FS::Utils::openSection("scripts/destructibles.xml", false, nullptr);
  const auto fragiles = root ? root->openSection("fragiles") : nullptr;
  if (!fragiles) return;
  for (const auto& entry : *fragiles)
    out << entry->readString("filename") << ": " << entry->readInt("health", 5) << '\n';
}
// [/shown]

// [shown]
std::vector<std::string> fileNamesIn(const Tal::DataSection& entries) {
  std::vector<std::string> names;
  for (const auto& entry : entries) names.push_back(entry->readString("filename"));
  return names;
}

bool isFragile(const std::string& model) {
  static const Tal::Derivation<std::vector<std::string>> s_names(&fileNamesIn);
  const auto root = Tal::FS::Utils::openSection("scripts/destructibles.xml", false, nullptr);
  const auto fragiles = root ? root->openSection("fragiles") : nullptr;
  if (!fragiles) return false;
  const auto names = fragiles->derived(s_names);
  return std::find(names->begin(), names->end(), model) != names->end();
}
// [/shown]

std::string listed() {
  std::ostringstream out;
  listFragiles(out);
  return out.str();
}

TEST(TheDocumentedSections, AreReadWithTheDefaultWhereAValueIsAbsent) {
  const MountedRoot root("scripts/destructibles.xml",
                         "<root><fragiles>"
                         "<entry><filename>a.model</filename><health>12</health></entry>"
                         "<entry><filename>b.model</filename></entry>"
                         "</fragiles></root>");
  EXPECT_EQ(listed(), "a.model: 12\nb.model: 5\n");
}

TEST(TheDocumentedSections, AreNoneWithoutTheFileAndWithoutTheSection) {
  const MountedRoot root;
  EXPECT_EQ(listed(), "");
  root.write("scripts/destructibles.xml", "<root/>");
  EXPECT_EQ(listed(), "");
}

TEST(TheDocumentedSections, AreNoneInAFileThatIsNotWellFormed) {
  const MountedRoot root("scripts/destructibles.xml", "<root><fragiles>");
  const support::MessageRecorder messages;
  EXPECT_EQ(listed(), "");
  EXPECT_THAT(messages.texts(), Not(IsEmpty()));
}

TEST(TheDocumentedSections, AreAskedForTheirNamesAsTheFileHasThem) {
  const MountedRoot root;
  EXPECT_FALSE(isFragile("a.model"));
  root.write("scripts/destructibles.xml",
             "<root><fragiles><entry><filename>a.model</filename></entry></fragiles></root>");
  EXPECT_TRUE(isFragile("a.model"));
  EXPECT_FALSE(isFragile("b.model"));
  root.replace("scripts/destructibles.xml",
               "<root><fragiles><entry><filename>b.model</filename></entry></fragiles></root>");
  EXPECT_FALSE(isFragile("a.model"));
  EXPECT_TRUE(isFragile("b.model"));
}

TEST(ThePageOnDataSections, ShowsExactlyTheCodeThatIsTestedHere) {
  const auto tested = support::blocksBetween(
      support::readFile(std::string(SOURCE_FOLDER) + "/tests/docs/data_sections_test.cpp"), "// [shown]",
      "// [/shown]");
  EXPECT_EQ(tested.size(), 2U);
  const std::string page = support::readFile(std::string(DOCS_FOLDER) + "/data-sections.md");
  EXPECT_EQ(support::blocksBetween(page, "```cpp", "```"), tested);
}

}  // namespace
