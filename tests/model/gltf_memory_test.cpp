#include <gmock/gmock.h>
#include <support/failing_allocation.h>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

class AnImportWithoutMemory : public support::ImportFixture {
 protected:
  void expectFaults();
};

void AnImportWithoutMemory::expectFaults() {
  const std::filesystem::path folder = root();
  std::size_t refusals = 0;
  for (long place = 0;; ++place) {
    std::filesystem::remove_all(root() / "content");
    std::optional<Result<ImportedModel>> imported;
    bool hasFailed = false;
    {
      const support::FailingAllocation failing(place);
      imported = importGltf(source_, "content/house.model", folder, {});
      hasFailed = failing.hasFailed();
    }
    if (!*imported) {
      ++refusals;
      ASSERT_FALSE(imported->fault().what.empty()) << place;
      ASSERT_THAT(textOf(imported->fault()), testing::HasSubstr("; ")) << place;
      ASSERT_FALSE(std::filesystem::exists(root() / "content/house.model")) << place;
    }
    if (!hasFailed) break;
  }
  EXPECT_GT(refusals, 100U);
  EXPECT_TRUE(import({.overwrite = true})) << error_;
}

TEST_F(AnImportWithoutMemory, SaysWhatToDoWhicheverAllocationFails) {
  writeSource(support::cubeBuilder().glb());
  expectFaults();
}

TEST_F(AnImportWithoutMemory, SaysWhatToDoWhenItPutsFilesTogether) {
  support::GltfBuilder builder = support::cubeBuilder();
  builder.root["buffers"][0]["uri"] = "a folder/in.bin";
  builder.root["images"] = {{{"uri", "wall.png"}}, {{"uri", "../none.png"}}};
  folder_.write("a folder/in.bin", builder.bin);
  folder_.write("wall.png", "\x89PNG and so on");
  writeSource(builder.json(), "in.gltf");
  expectFaults();
}

}  // namespace
}  // namespace Tal
