// The project's own files under the rules of the architecture.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "layer_rules.h"
#include "source_tree.h"

namespace {

using architecture::readSources;
using architecture::SourceFile;
using testing::Contains;
using testing::Field;

const std::vector<SourceFile>& projectFiles() {
  static const std::vector<SourceFile> files =
      readSources(DESTRUCTIBLES_SOURCE_DIR, {"lib", "apps", "tests", "bench", "sample"});
  return files;
}

TEST(TheProject, KeepsTheRulesOfTheArchitecture) {
  std::string text;
  for (const std::string& breach : architecture::breaches(projectFiles())) text += breach + "\n";
  EXPECT_EQ(text, "");
}

TEST(ThePropertyPanels, KnowNoRecord) {
  std::ifstream file(std::string(DESTRUCTIBLES_SOURCE_DIR) + "/apps/cli/properties.cpp");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  EXPECT_THAT(text, testing::HasSubstr("metaObject()"));
  EXPECT_THAT(text, testing::Not(testing::HasSubstr("KsDestructible")));
}

TEST(TheProject, IsReallyLookedAt) {
  for (const char* path :
       {"lib/core/format.cpp", "lib/ks/signal.h", "lib/destructibles/ks_destructibles_helper.h",
        "apps/cli/main.cpp", "tests/architecture/project_test.cpp"})
    EXPECT_THAT(projectFiles(), Contains(Field(&SourceFile::path, path)));
}

}  // namespace
