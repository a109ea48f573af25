#include <cli/cli_fixture.h>

namespace cli_test {

CommandLine::CommandLine() {
  writeDatabase("<root>\n</root>\n");
  support::writeModel(folder_, "content/buildings/house",
                      {.materials = {{"n_wall_1", 74},
                                     {"n_wall_2", 75},
                                     {"n_roof_3_1", 76},
                                     {"n_window_5", 75},
                                     {"d_wall_1", 88},
                                     {"s_ground", 0}},
                       .bsp = {"n_wall_1", "n_wall_2", "n_window_5"},
                       .nodes = {"HP_wall_1", "HP_wall_2"},
                       .corner = "2 2 2"});
  support::writeModel(folder_, "content/props/crate",
                      {.materials = {{"n_wood", 73}, {"d_wood", 87}},
                       .bsp = {"n_wood"},
                       .nodes = {"HP_top"},
                       .corner = "2 2 2"});
  support::writeModel(folder_, "content/street/lamp",
                      {.materials = {{"n_pole", 73}}, .bsp = {"n_pole"}, .corner = "1 1 6"});
}

std::vector<std::string> CommandLine::content() const {
  std::vector<std::string> content = folder_.listing();
  for (std::string& name : content) {
    if (std::filesystem::is_regular_file(folder_ / name)) name += '\n' + folder_.read(name);
  }
  return content;
}

ProcessResult CommandLine::runIn(const std::filesystem::path& folder, const Arguments& arguments,
                                 const std::map<std::string, std::string>& environment) {
  return support::runProcess(DESTRUCTIBLES_PROGRAM, arguments,
                             {.folder = folder, .environment = environment});
}

std::string CommandLine::result(const Arguments& arguments) const {
  const ProcessResult result = run(arguments);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  return result.out;
}

}  // namespace cli_test
