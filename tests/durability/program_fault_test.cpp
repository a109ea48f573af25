// The program itself, with a library preloaded that makes the calls of its saves fail.

#include <cli/cli_fixture.h>
#include <durability/instruction.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using cli_test::Arguments;
using cli_test::kCrate;
using cli_test::kHouse;
using cli_test::kLamp;
using cli_test::ProcessResult;
using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

using Environment = std::map<std::string, std::string>;

/// One command that saves, behind those that make what it needs.
struct Course {
  const char* name;
  std::vector<Arguments> before;
  Arguments command;
  std::string goneFile = {};  // what somebody removes before the command
};

void PrintTo(const Course& course, std::ostream* stream) {
  *stream << course.name;
}

struct Fault {
  const char* operation;
  int code;
};

/// What a save calls on the database, its folder and its temporary file, each with a reason to fail.
const std::vector<Fault>& faults() {
  static const std::vector<Fault> all = {{"open-beneath", ENOSYS}, {"open-write", EDQUOT}, {"mode", EROFS},
                                         {"write", ENOSPC},        {"flush", EIO},         {"close", EDQUOT},
                                         {"rename", EROFS},        {"flush-folder", EIO},  {"access", EACCES},
                                         {"open-write", EACCES}};
  return all;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

class TheProgramWithAFault : public cli_test::CommandLine, public testing::WithParamInterface<Course> {
 protected:
  void SetUp() override {
    for (const Arguments& arguments : GetParam().before) ASSERT_EQ(run(arguments).status, 0);
    if (!GetParam().goneFile.empty()) fs::remove(folder_ / GetParam().goneFile);
    old_ = readDatabase();
    const ProcessResult result = runIn(folder_.path(), GetParam().command, environment());
    ASSERT_EQ(result.status, 0) << result.err;
    new_ = readDatabase();
    ASSERT_NE(new_, old_);
  }

  /// Preloads the library, which notes every call on the database's folder.
  Environment environment() const {
    return {{"LD_PRELOAD", FAULT_PRELOAD},
            {"FAULT_BELOW", fs::canonical(folder_.path() / "scripts").string()},
            {"FAULT_TRACE", (traces_ / "trace").string()}};
  }

  Environment environment(const Fault& fault, int number) const {
    Environment all = environment();
    all["FAULT_OPERATION"] = fault.operation;
    all["FAULT_NUMBER"] = std::to_string(number);
    all["FAULT_ERRNO"] = std::to_string(fault.code);
    all["FAULT_LARGEST_WRITE"] = "150";
    return all;
  }

  /// How many calls of an operation the last run made.
  int callsOf(const std::string& operation) const {
    int count = 0;
    for (const std::string& line : linesOf(traces_.read("trace")))
      count += line.starts_with(operation + ' ') ? 1 : 0;
    return count;
  }

  void expectWhole() const {
    EXPECT_THAT(readDatabase(), AnyOf(old_, new_));
    EXPECT_THAT(folder_.listing(), Not(Contains(HasSubstr(".saving"))));
  }

  /// Runs the command with the n-th call going wrong, then again without. False when there are not so many
  /// calls.
  bool tryCall(const Fault& fault, int number) {
    writeDatabase(old_);
    fs::remove(traces_ / "trace");
    const ProcessResult result = runIn(folder_.path(), GetParam().command, environment(fault, number));
    const bool isReached = callsOf(fault.operation) >= number;
    expectWhole();
    if (result.status == 0) {
      EXPECT_EQ(readDatabase(), new_);
      EXPECT_THAT(result.err, Not(HasSubstr(std::strerror(fault.code))));
      return isReached;
    }
    EXPECT_TRUE(isReached) << result.err;
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    const std::vector<std::string> lines = linesOf(result.err);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [&](const std::string& line) {
                              return line.find(std::strerror(fault.code)) != std::string::npos;
                            }),
              1)
        << result.err;
    EXPECT_THAT(lines, Contains(AllOf(HasSubstr("cannot save \"scripts/destructibles.xml\""),
                                      HasSubstr(durability::instructionFor(fault.code)))));
    // A gone model whose entries are out of the file is known to nobody any more.
    const bool isUnknownNow = !GetParam().goneFile.empty() && readDatabase() == new_;
    EXPECT_EQ(run(GetParam().command).status, isUnknownNow ? 1 : 0) << "the cause is gone";
    EXPECT_EQ(readDatabase(), new_);
    expectWhole();
    return true;
  }

  std::string old_;
  std::string new_;
  support::TemporaryFolder traces_;
};

TEST_P(TheProgramWithAFault, FailsWithOneMessageAndKeepsTheFileWhole) {
  for (const Fault& fault : faults()) {
    int number = 1;
    SCOPED_TRACE(fault.operation);
    while (tryCall(fault, number) && !HasFailure()) ++number;
    if (HasFailure()) FAIL() << "call " << number;
    EXPECT_GT(number, std::string(fault.operation) == "write" ? 3 : 1);
  }
}

/// Two roots that hold the same models and databases: only the first one may be meant.
class ARootThatCannotBeLookedAt : public cli_test::CommandLine {
 protected:
  ARootThatCannotBeLookedAt() {
    // So small that its health is another one where its visual cannot be looked at.
    support::writeModel(
        folder_, "content/props/crate",
        {.materials = {{"n_wood", 73}, {"d_wood", 87}}, .bsp = {"n_wood"}, .corner = "1 1 1"});
    EXPECT_EQ(run({"convert", kCrate, "fragile"}).status, 0);
    EXPECT_EQ(run({"set", kCrate, "effectScale=2.5", "decayEffect=smoke", "effect=none"}).status, 0);
    first_ = folder_ / "first";
    second_ = folder_ / "second";
    for (const fs::path& root : {first_, second_}) {
      fs::create_directory(root);
      for (const char* const name : {"content", "scripts"})
        fs::copy(folder_ / name, root / name, fs::copy_options::recursive);
    }
    fs::remove_all(folder_ / "scripts");
    old_ = support::readFile(first_ / cli_test::kDatabase);
  }

  /// Runs a command on both roots with the n-th look at something in the first one failing, or every one from
  /// that on.
  ProcessResult runWithout(int number, const Arguments& command, bool isLasting = false) const {
    Arguments words = {"--root", first_.string(), "--root", second_.string()};
    words.insert(words.end(), command.begin(), command.end());
    fs::remove(traces_ / "trace");
    return runIn(folder_.path(), words,
                 {{"LD_PRELOAD", FAULT_PRELOAD},
                  {"FAULT_BELOW", fs::canonical(first_).string()},
                  {"FAULT_TRACE", (traces_ / "trace").string()},
                  {"FAULT_OPERATION", "look"},
                  {"FAULT_NUMBER", std::to_string(number)},
                  {"FAULT_LASTING", std::to_string(isLasting ? 1 : 0)},
                  {"FAULT_ERRNO", std::to_string(code_)}});
  }

  bool isReached(int number) const {
    const std::vector<std::string> calls = linesOf(traces_.read("trace"));
    return std::count_if(calls.begin(), calls.end(),
                         [](const std::string& call) { return call.starts_with("look "); }) >= number;
  }

  fs::path first_;
  fs::path second_;
  int code_ = EIO;  // the looks fail with
  std::string old_;
  support::TemporaryFolder traces_;
};

/// A command, and what it makes of the crate's entry.
struct Edit {
  Arguments command;
  std::vector<std::string> result;
  bool isLasting = false;     ///< whether all looks fail from the first that does
  std::string database = {};  ///< what both roots have; that of the fixture when empty
  int code = EIO;             ///< the looks fail with
};

class ARootThatCannotBeLookedAtBy : public ARootThatCannotBeLookedAt,
                                    public testing::WithParamInterface<Edit> {};

/// Whatever look fails, a command does the whole of it, and names every value that is lost, or nothing.
TEST_P(ARootThatCannotBeLookedAtBy, AnEditIsNotStoodInForByTheNextOneAndLosesNoValueOfTheEntry) {
  const Arguments& command = GetParam().command;
  code_ = GetParam().code;
  if (!GetParam().database.empty()) old_ = GetParam().database;
  for (const fs::path& root : {first_, second_}) support::writeFile(root / cli_test::kDatabase, old_);
  const ProcessResult whole = runWithout(0, command);
  EXPECT_EQ(whole.status, 0) << whole.err;
  const std::string undisturbed = support::readFile(first_ / cli_test::kDatabase);
  for (const std::string& part : GetParam().result) ASSERT_THAT(undisturbed, HasSubstr(part));
  const bool isLasting = GetParam().isLasting;
  int number = 1;
  for (bool isTried = true; isTried; ++number) {
    SCOPED_TRACE("look " + std::to_string(number));
    support::writeFile(first_ / cli_test::kDatabase, old_);
    const ProcessResult result = runWithout(number, command, isLasting);
    isTried = isReached(number);
    const std::string now = support::readFile(first_ / cli_test::kDatabase);
    EXPECT_EQ(support::readFile(second_ / cli_test::kDatabase), old_) << result.err;
    if (result.status == 0) {
      EXPECT_EQ(now, undisturbed);
      // Where the health could not be estimated, that is named too.
      EXPECT_THAT(wordsOf(result.err), testing::IsSupersetOf(wordsOf(whole.err)));
    } else {
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(now, old_);
      EXPECT_THAT(result.err, HasSubstr(std::strerror(code_)));
      EXPECT_THAT(result.err, AnyOf(HasSubstr(first_.string()), HasSubstr(cli_test::kDatabase),
                                    HasSubstr("content/props/crate")));
    }
    if (HasFailure()) return;
  }
  EXPECT_GT(number, 10) << "these were all looks";
}

INSTANTIATE_TEST_SUITE_P(
    Each, ARootThatCannotBeLookedAtBy,
    testing::Values(Edit{{"set", kCrate, "health=12"},
                         {"<health>12</health>", "<effectScale>2.5</effectScale>"}},
                    // The standard library takes this one for a file of an unknown type.
                    Edit{{"set", kCrate, "health=12"}, {"<health>12</health>"}, true, {}, EOVERFLOW},
                    Edit{{"convert", kCrate, "falling-atom"}, {"<fallingAtoms>", "<health>1</health>"}},
                    Edit{{"convert", kCrate, "falling-atom"}, {"<fallingAtoms>", "<health>1</health>"}, true},
                    Edit{{"convert", kCrate, "structure"}, {"<matName>n_wood</matName>"}},
                    // The module that the entry lacks is made with the health of a small model.
                    Edit{{"set", kCrate, "achievementTag=box"},
                         {"<matName>n_wood</matName>", "<health>1</health>"},
                         false,
                         "<root><structures><entry><filename>content/props/crate.model</filename><modules/>"
                         "</entry></structures></root>"},
                    // The falling atom and its value leave the file.
                    Edit{{"set", kCrate, "health=33"},
                         {"<health>33</health>", "<fallingAtoms></fallingAtoms>"},
                         false,
                         "<root><fragiles><entry><filename>content/props/crate.model</filename></entry>"
                         "</fragiles><fallingAtoms><entry><filename>content/props/crate.model</filename>"
                         "<health>77</health></entry></fallingAtoms></root>"},
                    Edit{{"convert", kCrate, "none"}, {"<fragiles></fragiles>"}},
                    Edit{{"convert", kCrate, "none"}, {"<fragiles></fragiles>"}, true}));

TEST_F(ARootThatCannotBeLookedAt, IsNotImportedInto) {
  const std::vector<std::string> before = folder_.listing();
  int number = 1;
  for (bool isTried = true; isTried; ++number) {
    SCOPED_TRACE("look " + std::to_string(number));
    const ProcessResult result =
        runWithout(number, {"import", TEST_GLTF_FOLDER "/barrel.gltf", "content/props/barrel.model"});
    isTried = isReached(number);
    if (result.status == 0) {
      EXPECT_TRUE(fs::exists(first_ / "content/props/barrel.model"));
      for (const char* const name : {"barrel.model", "barrel.visual", "barrel.glb"})
        fs::remove(first_ / "content/props" / name);
    } else {
      EXPECT_EQ(result.status, 1) << result.err;
      EXPECT_THAT(result.err, HasSubstr("Input/output error"));
    }
    EXPECT_EQ(folder_.listing(), before) << result.err;
    if (HasFailure()) return;
  }
  EXPECT_GT(number, 10) << "these were all looks";
}

constexpr const char* kFragileCrate =
    "<root><fragiles><entry><filename>content/props/crate.model</filename></entry></fragiles></root>";

constexpr const char* kBarrel = TEST_GLTF_FOLDER "/barrel.gltf";

/// A root, beside or around which others hold the same models.
class ARefusedCommand : public cli_test::CommandLine {
 protected:
  ARefusedCommand() {
    fs::create_directory(inner());
    fs::copy(folder_ / "content", inner() / "content", fs::copy_options::recursive);
    writeDatabase(kFragileCrate);
    folder_.write("inner/scripts/destructibles.xml", kFragileCrate);
  }

  fs::path inner() const { return folder_ / "inner"; }

  /// Runs a command that must be refused, in the folder `where`, with each of its looks at what is below a
  /// folder failing in turn; it changes nothing.
  void expectRefused(const fs::path& where, const fs::path& below, const Arguments& command) const {
    const std::vector<std::string> before = content();
    int number = 0;
    for (bool isTried = true; isTried && !HasFailure(); ++number) {
      SCOPED_TRACE("look " + std::to_string(number));
      fs::remove(traces_ / "trace");
      const ProcessResult result = runIn(where, command,
                                         {{"LD_PRELOAD", FAULT_PRELOAD},
                                          {"FAULT_BELOW", fs::canonical(below).string()},
                                          {"FAULT_TRACE", (traces_ / "trace").string()},
                                          {"FAULT_OPERATION", "look"},
                                          {"FAULT_NUMBER", std::to_string(number)},
                                          {"FAULT_ERRNO", std::to_string(EIO)}});
      EXPECT_EQ(result.status, 1) << result.out << result.err;
      EXPECT_EQ(content(), before);
      const std::vector<std::string> calls = linesOf(traces_.read("trace"));
      isTried = number == 0 || std::count_if(calls.begin(), calls.end(), [](const std::string& call) {
                                 return call.starts_with("look ");
                               }) >= number;
    }
    EXPECT_GT(number, 4) << "these were all looks";
  }

  support::TemporaryFolder traces_;
};

TEST_F(ARefusedCommand, ThatImportsOverALinkedGeometryOfTheUsersIsRefusedWhateverLookFails) {
  folder_.write("inner/content/real/mine.glb", "mine");
  fs::create_symlink("../real/mine.glb", inner() / "content/props/barrel.glb");
  expectRefused(folder_.path(), inner(),
                {"--root", "inner", "import", kBarrel, "content/props/barrel.model"});
}

TEST_F(ARefusedCommand, ThatImportsOverAModelOfALaterRootIsRefusedWhateverLookFails) {
  fs::create_directory(folder_ / "first");
  expectRefused(folder_.path(), inner(),
                {"--root", "first", "--root", "inner", "import", kBarrel, "content/props/crate.model"});
}

TEST_F(ARefusedCommand, ThatTakesAVisualOfAnImportThatWasCutOffIsRefusedWhateverLookFails) {
  folder_.write("first/content/props/crate.visual",
                "<visual><import version='1'><geometry><size>1</size></geometry></import></visual>");
  expectRefused(folder_.path(), folder_ / "first",
                {"--root", "first", "--root", "inner", "set", "content/props/crate.model", "health=33"});
}

TEST_F(ARefusedCommand, ThatFindsItsRootItselfTakesNoneFurtherUpWhateverLookFails) {
  folder_.write("inner/scripts/destructibles.xml", "<root/>");
  expectRefused(inner(), inner(), {"set", "content/props/crate.model", "health=33"});
}

/// A command that only reads, whose result is right or refused whatever look fails.
class AReadingCommand : public cli_test::CommandLine, public testing::WithParamInterface<Arguments> {
 protected:
  AReadingCommand() {
    writeDatabase(
        "<root><fragiles><entry><filename>content/props/crate.model</filename></entry>"
        "<entry><filename>content/props/gone.model</filename></entry></fragiles></root>");
    folder_.write("scripts/destructibles_effects.xml",
                  "<root><fragiles><e>smoke</e></fragiles><structures><e>fire</e></structures></root>");
    support::writeModel(folder_, "content/props/crate",
                        {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}, .corner = "1 1 1"});
  }

  support::TemporaryFolder traces_;
};

TEST_P(AReadingCommand, SaysWhatIsTrueOrFailsWithTheReasonWhateverLookFails) {
  const std::string undisturbed = result(GetParam());
  int number = 1;
  for (bool isTried = true; isTried && !HasFailure(); ++number) {
    SCOPED_TRACE("look " + std::to_string(number));
    fs::remove(traces_ / "trace");
    const ProcessResult result = runIn(folder_.path(), GetParam(),
                                       {{"LD_PRELOAD", FAULT_PRELOAD},
                                        {"FAULT_BELOW", fs::canonical(folder_.path()).string()},
                                        {"FAULT_TRACE", (traces_ / "trace").string()},
                                        {"FAULT_OPERATION", "look"},
                                        {"FAULT_NUMBER", std::to_string(number)},
                                        {"FAULT_ERRNO", std::to_string(EIO)}});
    const std::vector<std::string> calls = linesOf(traces_.read("trace"));
    isTried = std::count_if(calls.begin(), calls.end(),
                            [](const std::string& call) { return call.starts_with("look "); }) >= number;
    EXPECT_THAT(
        linesOf(result.err),
        Not(Contains(AnyOf("destructibles: ", "destructibles: error: ", "destructibles: warning: "))));
    if (result.status == 0 && result.out.find("cannot be examined") == std::string::npos) {
      EXPECT_EQ(result.out, undisturbed) << result.err;
    } else {
      EXPECT_THAT(result.err, Not(testing::IsEmpty()));
    }
  }
  EXPECT_GT(number, 4) << "these were all looks";
}

INSTANTIATE_TEST_SUITE_P(Each, AReadingCommand,
                         testing::Values(Arguments{"effects"}, Arguments{"list"},
                                         Arguments{"health", kCrate}));

std::string nameOf(const testing::TestParamInfo<Course>& course) {
  return course.param.name;
}

const Arguments kMakeCrate = {"convert", kCrate, "fragile"};
const Arguments kMakeHouse = {"convert", kHouse, "structure"};
const Arguments kMakeLamp = {"convert", kLamp, "falling-atom"};

INSTANTIATE_TEST_SUITE_P(
    Each, TheProgramWithAFault,
    testing::Values(
        Course{"OfAFragile", {kMakeCrate}, {"set", kCrate, "health=12"}},
        Course{"OfAStructure", {kMakeHouse}, {"set", kHouse, "--module", "n_wall_1", "health=12"}},
        Course{"OfAFallingAtom", {kMakeLamp}, {"set", kLamp, "health=12"}},
        Course{"OfAnEntryThatIsNew", {}, kMakeCrate},
        Course{"OfAModelOfNoCategory", {kMakeLamp, kMakeCrate}, {"convert", kCrate, "none"}},
        Course{"OfAModelThatIsGone", {kMakeHouse, kMakeCrate}, {"convert", kCrate, "none"}, kCrate}),
    nameOf);

}  // namespace
