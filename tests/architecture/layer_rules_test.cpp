#include "layer_rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/temporary_folder.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "include_cycles.h"

namespace {

using architecture::includeCycles;
using architecture::IncludeGraph;
using testing::ElementsAre;
using testing::IsEmpty;

/// What the rules say about a tree of the given files. Headers get their "#pragma once" as a first line.
std::vector<std::string> breachesOf(std::initializer_list<std::pair<std::string, std::string>> files) {
  const support::TemporaryFolder tree;
  for (const char* folder : {"lib", "apps"}) std::filesystem::create_directories(tree / folder);
  for (const auto& [path, content] : files)
    tree.write(path, (path.ends_with(".h") ? "#pragma once\n" : "") + content);
  return architecture::breaches(architecture::readSources(tree.path(), {"lib", "apps"}));
}

TEST(TheArchitecture, StandsWhenEveryModuleIncludesDownwards) {
  EXPECT_THAT(
      breachesOf({{"lib/core/a.h", "#include <string>\n"},
                  {"lib/core/a.cpp", "#include <core/a.h>\n#include <spdlog/spdlog.h>\n"},
                  {"lib/ks/b.h", "#include <core/a.h>\n#include <functional>\n"},
                  {"lib/mio/c.h", "#include <core/a.h>\n#include <ks/b.h>\n"},
                  {"lib/xml/d.cpp", "#include <core/a.h>\n#include <expat.h>\n"},
                  {"lib/files/h.cpp", "#include <core/a.h>\n#include <sys/stat.h>\n"},
                  {"lib/render/e.h", "#include <core/a.h>\n"},
                  {"lib/authoring/f.h", "#include <mio/c.h>\n#include <render/e.h>\n"},
                  {"apps/cli/g.h", "#include <authoring/f.h>\n#include <nlohmann/json.hpp>\n"},
                  {"apps/cli/g.cpp", "#include <cli/g.h>\n#include <CLI/CLI.hpp>\n#include <core/a.h>\n"}}),
      IsEmpty());
}

TEST(TheArchitecture, RefusesAnIncludeOfAModuleAbove) {
  EXPECT_THAT(breachesOf({{"lib/core/a.h", "\n#include <ks/b.h>\n"}, {"lib/ks/b.h", ""}}),
              ElementsAre("lib/core/a.h:3: the module core must not include <ks/b.h> of the module ks"));
  EXPECT_THAT(
      breachesOf({{"lib/mio/a.cpp", "#include <resources/b.h>\n"}, {"lib/resources/b.h", ""}}),
      ElementsAre(
          "lib/mio/a.cpp:1: the module mio must not include <resources/b.h> of the module resources"));
  EXPECT_THAT(
      breachesOf({{"lib/destructibles/deep/a.cpp", "#include <authoring/b.h>\n"}, {"lib/authoring/b.h", ""}}),
      ElementsAre(
          "lib/destructibles/deep/a.cpp:1: the module destructibles must not include <authoring/b.h> of the "
          "module authoring"));
}

TEST(TheArchitecture, LetsTheRenderModuleIncludeTheCoreAlone) {
  EXPECT_THAT(
      breachesOf({{"lib/render/a.cpp", "#include <core/c.h>\n#include <model/b.h>\n"},
                  {"lib/model/b.h", ""},
                  {"lib/core/c.h", ""}}),
      ElementsAre("lib/render/a.cpp:2: the module render must not include <model/b.h> of the module model"));
}

TEST(TheArchitecture, RefusesAnAppInAModuleAndInAnotherApp) {
  EXPECT_THAT(
      breachesOf({{"apps/cli/tool.h", ""}, {"lib/authoring/a.cpp", "#include <cli/tool.h>\n"}}),
      ElementsAre("lib/authoring/a.cpp:1: <cli/tool.h> belongs to an app, which only its own files include"));
  EXPECT_THAT(
      breachesOf({{"apps/cli/tool.h", ""}, {"apps/editor/a.cpp", "#include <cli/tool.h>\n"}}),
      ElementsAre("apps/editor/a.cpp:1: <cli/tool.h> belongs to an app, which only its own files include"));
}

TEST(TheArchitecture, RefusesAModuleThatItDoesNotKnow) {
  EXPECT_THAT(breachesOf({{"lib/cellar/a.cpp", ""}}),
              ElementsAre("lib/cellar/a.cpp:1: lib/cellar is no module of the architecture"));
  EXPECT_THAT(breachesOf({{"lib/a.h", ""}}),
              ElementsAre("lib/a.h:1: lib/a.h is no module of the architecture"));
}

TEST(TheArchitecture, RefusesAnIncludeOfAFileThatIsNotThere) {
  EXPECT_THAT(breachesOf({{"lib/core/a.cpp", "#include <core/gone.h>\n"}}),
              ElementsAre("lib/core/a.cpp:1: there is no lib/core/gone.h"));
}

TEST(TheArchitecture, KeepsThePrivateHeadersOfAModuleToItsOwnFilesAndTests) {
  for (const std::string& module : {std::string("destructibles"), std::string("resources")}) {
    const support::TemporaryFolder tree;
    const std::string header =
        module == "resources" ? "resources/documents/a.h" : "destructibles/ks_destructibles_helper/a.h";
    tree.write("lib/" + header, "#pragma once\n");
    tree.write("lib/" + module + "/shown.h", "#pragma once\n");
    for (const std::string& path :
         {"lib/" + module + "/b.cpp", std::string("lib/authoring/c.cpp"), std::string("apps/cli/d.cpp"),
          std::string("tests/cli/e.h"), "tests/" + module + "/f.cpp"})
      tree.write(path, "#pragma once\n#include <" + module + "/shown.h>\n#include <" + header + ">\n");
    const std::string breach =
        ":3: <" + header + "> is private to its module; only lib/" + module + " and its tests include it";
    EXPECT_THAT(
        architecture::breaches(architecture::readSources(tree.path(), {"lib", "apps", "tests"})),
        ElementsAre("apps/cli/d.cpp" + breach, "lib/authoring/c.cpp" + breach, "tests/cli/e.h" + breach));
  }
}

TEST(TheArchitecture, RefusesAThirdPartyHeaderInAHeader) {
  EXPECT_THAT(
      breachesOf({{"lib/core/a.h", "#include <spdlog/fmt/fmt.h>\n"}}),
      ElementsAre("lib/core/a.h:2: <spdlog/fmt/fmt.h> shows spdlog in a header; only .cpp files may"));
  EXPECT_THAT(breachesOf({{"lib/files/a.h", "#include <sys/stat.h>\n"}}),
              ElementsAre("lib/files/a.h:2: <sys/stat.h> shows the operating system in a header; only .cpp "
                          "files may"));
}

TEST(TheArchitecture, RefusesAThirdPartyLibraryOutsideItsModule) {
  EXPECT_THAT(
      breachesOf({{"lib/model/a.cpp", "#include <expat.h>\n#include <draco/a.h>\n"},
                  {"lib/resources/b.cpp", "#include <draco/a.h>\n#include <nlohmann/json.hpp>\n"},
                  {"lib/ks/c.cpp", "#include <spdlog/spdlog.h>\n#include <fmt/format.h>\n"},
                  {"lib/destructibles/d.cpp",
                   "#include <CLI/CLI.hpp>\n#include <sys/inotify.h>\n#include <unistd.h>\n"},
                  {"apps/cli/e.cpp", "#include <expat.h>\n#include <gtest/gtest.h>\n"}}),
      ElementsAre(
          "apps/cli/e.cpp:1: <expat.h> brings expat where it is not to be known",
          "apps/cli/e.cpp:2: <gtest/gtest.h> brings GoogleTest where it is not to be known",
          "lib/destructibles/d.cpp:1: <CLI/CLI.hpp> brings CLI11 where it is not to be known",
          "lib/destructibles/d.cpp:2: <sys/inotify.h> brings the operating system where it is not to be "
          "known",
          "lib/destructibles/d.cpp:3: <unistd.h> brings the operating system where it is not to be known",
          "lib/ks/c.cpp:1: <spdlog/spdlog.h> brings spdlog where it is not to be known",
          "lib/ks/c.cpp:2: <fmt/format.h> brings fmt where it is not to be known",
          "lib/model/a.cpp:1: <expat.h> brings expat where it is not to be known",
          "lib/resources/b.cpp:1: <draco/a.h> brings Draco where it is not to be known",
          "lib/resources/b.cpp:2: <nlohmann/json.hpp> brings nlohmann-json where it is not to be known"));
}

TEST(TheArchitecture, RefusesQtInEveryModuleAndInEveryAppButTheEditor) {
  EXPECT_THAT(breachesOf({{"lib/authoring/a.cpp", "#include <QString>\n#include <QtCore/qglobal.h>\n"},
                          {"apps/cli/b.cpp", "#include <QWidget>\n"},
                          {"apps/editor/c.h", "#include <QWidget>\n"}}),
              ElementsAre("apps/cli/b.cpp:1: <QWidget> brings Qt where it is not to be known",
                          "lib/authoring/a.cpp:1: <QString> brings Qt where it is not to be known",
                          "lib/authoring/a.cpp:2: <QtCore/qglobal.h> brings Qt where it is not to be known"));
}

TEST(TheArchitecture, RefusesAHeaderThatNobodyKnows) {
  EXPECT_THAT(
      breachesOf({{"lib/core/a.cpp", "#include <yaml.h>\n#include <string.h>\n"},
                  {"apps/cli/b.cpp", "#include <zip.h>\n"}}),
      ElementsAre(
          "apps/cli/b.cpp:1: <zip.h> is neither of the standard library, nor of lib/, nor of a known "
          "library",
          "lib/core/a.cpp:1: <yaml.h> is neither of the standard library, nor of lib/, nor of a known "
          "library",
          "lib/core/a.cpp:2: <string.h> is neither of the standard library, nor of lib/, nor of a "
          "known library"));
}

TEST(TheArchitecture, RefusesIncludesThatAreNotNamedFromTheIncludeRoot) {
  EXPECT_THAT(breachesOf({{"lib/core/a.cpp", "#include \"b.h\"\n#include <../ks/c.h>\n#include HEADER\n"}}),
              ElementsAre("lib/core/a.cpp:1: write the include as <module/file.h>, not b.h",
                          "lib/core/a.cpp:2: the include <../ks/c.h> climbs; name it from the include root",
                          "lib/core/a.cpp:3: write the include as <module/file.h>, not HEADER"));
}

TEST(TheArchitecture, RefusesACycleWithinAModule) {
  EXPECT_THAT(breachesOf({{"lib/core/a.h", "#include <core/b.h>\n"},
                          {"lib/core/b.h", "#include <core/c.h>\n"},
                          {"lib/core/c.h", "#include <core/a.h>\n"}}),
              ElementsAre("lib/core/a.h:1: the file includes itself through lib/core/b.h -> lib/core/c.h -> "
                          "lib/core/a.h"));
  EXPECT_THAT(breachesOf({{"apps/cli/a.h", "#include <cli/a.h>\n"}}),
              ElementsAre("apps/cli/a.h:1: the file includes itself through apps/cli/a.h"));
}

TEST(TheArchitecture, RefusesAHeaderThatShowsAFolderOfItsModule) {
  EXPECT_THAT(
      breachesOf({{"lib/resources/a.h", "\n#include <resources/documents/b.h>\n"},
                  {"lib/resources/a.cpp", "#include <resources/documents/b.h>\n"},
                  {"lib/resources/monitoring/d.h", "#include <resources/documents/b.h>\n"},
                  {"lib/resources/documents/c.h", "#include <resources/documents/b.h>\n"},
                  {"lib/resources/documents/b.h", "#include <resources/e.h>\n"},
                  {"lib/resources/e.h", ""}}),
      ElementsAre("lib/resources/a.h:3: a header must not include <resources/documents/b.h> from another "
                  "folder of its module",
                  "lib/resources/monitoring/d.h:2: a header must not include <resources/documents/b.h> "
                  "from another folder of its module"));
}

TEST(TheArchitecture, RefusesACallOfTheSystemOutsideTheOnePlaceForThem) {
  EXPECT_THAT(
      breachesOf({{"lib/files/system.cpp", "int a = ::open(name);\n"},
                  {"lib/files/a.cpp", "// ::open(x)\nint a = ::read(b) + std::read(c) + C::open(d);\n"},
                  {"apps/cli/b.cpp", "int a = ::isatty(1) + ::read(0);\n"}}),
      ElementsAre("lib/files/a.cpp:2: ::read() goes to the operating system; call files::system().read(), "
                  "which tests can make fail"));
}

TEST(TheArchitecture, RefusesAHeaderWithoutPragmaOnce) {
  const support::TemporaryFolder tree;
  tree.write("tests/core/a.h", "#ifndef A_H\n#define A_H\n#endif\n");
  tree.write("tests/core/b.cpp", "");
  EXPECT_THAT(architecture::breaches(architecture::readSources(tree.path(), {"tests"})),
              ElementsAre("tests/core/a.h:1: the header lacks #pragma once"));
}

TEST(TheArchitecture, RefusesAFileOfMoreThanSixHundredLines) {
  EXPECT_THAT(breachesOf({{"lib/core/a.cpp", std::string(600, '\n')}}), IsEmpty());
  EXPECT_THAT(breachesOf({{"lib/core/a.cpp", std::string(601, '\n')}}),
              ElementsAre("lib/core/a.cpp:601: the file has 601 lines; more than 600 ask to be two files"));
}

TEST(TheArchitecture, RefusesOtherEndingsThanItsTwo) {
  EXPECT_THAT(breachesOf({{"lib/core/a.hpp", ""}, {"lib/core/b.cc", ""}}),
              ElementsAre("lib/core/a.hpp:1: a source file ends in .h or .cpp",
                          "lib/core/b.cc:1: a source file ends in .h or .cpp"));
}

TEST(IncludeCycles, AreFoundOnceEachAndOnlyWhereThereAreSome) {
  EXPECT_THAT(includeCycles({}), IsEmpty());
  EXPECT_THAT(includeCycles({{"a", {"b", "c"}}, {"b", {"d"}}, {"c", {"d"}}}), IsEmpty())
      << "two ways are no cycle";
  EXPECT_THAT(includeCycles({{"a", {"b"}}, {"b", {"c", "d"}}, {"c", {"b"}}, {"d", {"d"}}}),
              ElementsAre(ElementsAre("b", "c", "b"), ElementsAre("d", "d")));
}

}  // namespace
