#include <cli/cli_fixture.h>

#include <algorithm>

namespace cli_test {
namespace {

constexpr char kPrefix[] = "destructibles: error: ";

}  // namespace

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

std::string CommandLine::failure(const Arguments& arguments, int status) const {
  const std::vector<std::string> before = content();
  const ProcessResult result = run(arguments);
  EXPECT_EQ(result.status, status);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(content(), before);
  EXPECT_TRUE(result.err.starts_with(kPrefix)) << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  const std::size_t prefix = sizeof(kPrefix) - 1;
  return result.err.size() <= prefix ? "" : result.err.substr(prefix, result.err.size() - prefix - 1);
}

}  // namespace cli_test
