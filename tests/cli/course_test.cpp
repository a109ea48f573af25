#include <cli/cli_fixture.h>

#include <filesystem>
#include <nlohmann/json.hpp>

namespace cli_test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

/// A copy of the sample, and an empty root beside it.
class TheCourseOfWork : public ::testing::Test {
 protected:
  TheCourseOfWork() {
    fs::create_directory(folder_ / "sample");
    for (const char* const name : {"content", "scripts", "source"})
      fs::copy(fs::path(SAMPLE_FOLDER) / name, folder_ / "sample" / name, fs::copy_options::recursive);
  }

  /// Runs a command in a folder below the temporary one; it must succeed.
  std::string run(const std::string& where, const Arguments& arguments) const {
    const ProcessResult result =
        support::runProcess(DESTRUCTIBLES_PROGRAM, arguments, {.folder = folder_ / where});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }

  Json show(const std::string& where, const std::string& model) const {
    return Json::parse(run(where, {"show", model, "--json"}));
  }

  support::TemporaryFolder folder_{};
};

TEST_F(TheCourseOfWork, LeadsFromAFileOfAModellingProgramToATunedFragile) {
  const std::string model = "content/props/barrel.model";
  run(".", {"init", "game"});
  run("game", {"import", TEST_GLTF_FOLDER "/barrel.gltf", model, "--kind", "Material.001=73"});
  EXPECT_EQ(show("game", model)["category"], "none");
  run("game", {"convert", model, "auto"});
  run("game", {"set", model, "health=35", "achievementTag=barrels", "effectScale=1.5"});
  const Json barrel = show("game", model);
  EXPECT_EQ(barrel["category"], "fragile");
  EXPECT_EQ(barrel.at("fragile").at("health"), 35);
  EXPECT_EQ(barrel.at("fragile").at("matName"), "Material.001");
  EXPECT_EQ(folder_.read("game/scripts/destructibles.xml"), R"(<root>
	<trees/>
	<fragiles>
		<entry>
			<filename>content/props/barrel.model</filename>
			<health>35</health>
			<decayEffect>none</decayEffect>
			<effect>hd_bld_SU_206_Cellar</effect>
			<hitEffect>hd_bld_SU_206_Cellar</hitEffect>
			<effectHP/>
			<effectScale>1.5</effectScale>
			<matName>Material.001</matName>
			<lifetimeEffect>none</lifetimeEffect>
			<achievementTag>barrels</achievementTag>
		</entry>
	</fragiles>
	<fallingAtoms/>
	<structures/>
</root>
)");
}

TEST_F(TheCourseOfWork, LeadsFromAHouseToAStructureWithAState) {
  const std::string model = "content/buildings/house.model";
  run(".", {"init", "game"});
  run("game", {"import", "../sample/source/house.glb", model});
  run("game", {"convert", model, "auto"});
  run("game", {"set", model, "achievementTag=house"});
  run("game", {"set", model, "--module", "n_roof_5_6", "health=40", "effectHP=HP_smoke"});
  run("game", {"state", model, "add", "roofless"});
  run("game", {"state", model, "add-material", "roofless", "n_roof_5_6", "n_chimney_6"});
  const Json house = show("game", model);
  EXPECT_EQ(house["category"], "structure");
  EXPECT_EQ(house["achievementTag"], "house");
  EXPECT_EQ(house.at("modules").at("n_roof_5_6").at("health"), 40);
  EXPECT_EQ(house.at("modules").at("n_roof_5_6").at("effectHP"), "HP_smoke");
  EXPECT_EQ(house.at("states").at("roofless"), Json::parse(R"(["n_roof_5_6", "n_chimney_6"])"));
}

TEST_F(TheCourseOfWork, LeavesEveryOtherEntryOfTheSampleByteForByte) {
  const std::string before = folder_.read("sample/scripts/destructibles.xml");
  run("sample", {"set", "content/props/street_lamp.model", "health=21"});
  std::string expected = before;
  const std::size_t lamp = expected.find("content/props/street_lamp.model");
  expected.replace(expected.find("<health>20</health>", lamp), 19, "<health>21</health>");
  EXPECT_EQ(folder_.read("sample/scripts/destructibles.xml"), expected);
}

TEST_F(TheCourseOfWork, NamesWhatCleaningAnEntryOfTheSampleRemoves) {
  const ProcessResult result =
      support::runProcess(DESTRUCTIBLES_PROGRAM, {"convert", "content/props/crate.model", "auto"},
                          {.folder = folder_ / "sample"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err,
            "destructibles: warning: thrown away (another entry): set content/props/crate.model health=5 "
            "effectHP=HP_splinters achievementTag=crate matName=partN0 effect=inf_crate_wood "
            "hitEffect=inf_hit_wood\n"
            "destructibles: warning: another entry of the model in the section \"fragiles\" is removed from "
            "the file\n");
}

}  // namespace
}  // namespace cli_test
