#include <generator/sample.h>
#include <gmock/gmock.h>
#include <model/super_model.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <support/temporary_folder.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace Tal {
namespace {

namespace fs = std::filesystem;

const fs::path kSample = SAMPLE_FOLDER;

/// The files below a folder of the sample, relative to the sample.
std::vector<std::string> filesIn(const fs::path& sample, const char* folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(sample / folder)) {
    if (entry.is_regular_file()) names.push_back(fs::relative(entry.path(), sample).generic_string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(TheSample, IsWhatItsGeneratorMakes) {
  const support::TemporaryFolder made;
  sample::generateSample(made.path());
  for (const char* folder : {"source", "content"}) {
    const std::vector<std::string> names = filesIn(made.path(), folder);
    EXPECT_EQ(filesIn(kSample, folder), names);
    for (const std::string& name : names) {
      EXPECT_TRUE(made.read(name) == support::readFile(kSample / name)) << name << " differs";
    }
  }
}

/// The sample as the process's only resource root.
class TheSampleRoot : public testing::Test {
 protected:
  TheSampleRoot() {
    FS::setFileSystem(std::make_unique<FS::MultiFileSystem>(std::vector<fs::path>{kSample}));
  }
  ~TheSampleRoot() override { FS::setFileSystem(nullptr); }
};

TEST_F(TheSampleRoot, HoldsModelsThatLoad) {
  int models = 0;
  for (const std::string& name : filesIn(kSample, "content")) {
    if (!name.ends_with(".model")) continue;
    EXPECT_TRUE(SuperModel::load(name)) << name;
    ++models;
  }
  EXPECT_EQ(models, 8);
}

TEST_F(TheSampleRoot, HoldsADatabaseWithEntriesOfEveryCategory) {
  const auto database = FS::Utils::openSection("scripts/destructibles.xml", false, nullptr);
  ASSERT_TRUE(database);
  std::vector<std::string> categories;
  for (const SmartPointer<DataSection> category : *database) {
    categories.emplace_back(category->tag());
    EXPECT_GT(category->childCount(), 0);
    for (const SmartPointer<DataSection> entry : *category) {
      const std::string model = entry->readString("filename");
      if (category->tag() != "trees") {
        EXPECT_TRUE(FS::fileSystem()->find(model)) << model;
      }
    }
  }
  EXPECT_THAT(categories, testing::ElementsAre("trees", "fragiles", "fallingAtoms", "structures"));
}

TEST_F(TheSampleRoot, OffersEveryEffectThatItsDatabaseUses) {
  const auto database = FS::Utils::openSection("scripts/destructibles.xml", false, nullptr);
  const auto effects = FS::Utils::openSection("scripts/destructibles_effects.xml", false, nullptr);
  ASSERT_TRUE(database && effects);
  const auto expectOffered = [&](const SmartPointer<DataSection>& record, BasicStringRef category) {
    for (const SmartPointer<DataSection> field : *record) {
      if (!field->tag().ends_with("ffect") || field->value() == "none") continue;
      const auto offered = effects->openSection(category);
      ASSERT_TRUE(offered);
      EXPECT_TRUE(offered->findChild(field->value())) << field->value();
    }
  };
  for (const char* category : {"fragiles", "fallingAtoms", "structures"}) {
    const auto entries = database->openSection(category);
    ASSERT_TRUE(entries);
    for (const SmartPointer<DataSection> entry : *entries) {
      expectOffered(entry, category);
      const auto modules = entry->openSection("modules");
      if (!modules) continue;
      for (const SmartPointer<DataSection> module : *modules) expectOffered(module, category);
    }
  }
}

}  // namespace
}  // namespace Tal
