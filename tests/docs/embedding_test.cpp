#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/document.h>
#include <support/model_files.h>
#include <support/process.h>
#include <support/temporary_folder.h>

#include <string>

namespace {

using testing::ElementsAre;

/// The program of docs/examples/embedding.cpp, built as the page says: with the header and the shared
/// libraries.
class TheEmbeddingExample : public ::testing::Test {
 protected:
  support::ProcessResult open(const std::string& model) const {
    return support::runProcess(EMBEDDING_PROGRAM, {folder_.path().string(), model}, {});
  }

  support::TemporaryFolder folder_;
};

TEST(ThePageOnIntegrating, ShowsTheExamplesWordForWord) {
  const std::string docs = DOCS_FOLDER;
  EXPECT_THAT(support::blocksBetween(support::readFile(docs + "/integrating.md"), "```cpp", "```"),
              ElementsAre(support::readFile(docs + "/examples/embedding.cpp"),
                          support::readFile(docs + "/examples/module_panel.cpp")));
}

TEST_F(TheEmbeddingExample, MakesTheModelAFragileAndSaves) {
  support::writeModel(folder_, "props/crate", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  folder_.write("scripts/destructibles.xml", "<root>\n</root>\n");
  const support::ProcessResult result = open("props/crate.model");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, testing::StartsWith("another category\ntables loaded\n"));
  EXPECT_EQ(result.err, "Model is set as fragile.\n");
  EXPECT_THAT(folder_.read("scripts/destructibles.xml"),
              testing::AllOf(testing::HasSubstr("<filename>props/crate.model</filename>"),
                             testing::HasSubstr("<health>12</health>")));
}

TEST_F(TheEmbeddingExample, RefusesAModelThatIsNotThere) {
  const support::ProcessResult result = open("props/none.model");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("props/none.model"));
}

}  // namespace
