// The saves that are data: every case in a file of saves/ is a test, its steps first and then the file.
//
// A step is a command of HelperScript that must succeed, or "saveFails". A line of the file begins with a
// space, with - if only the file before has it, or with + if only that after the steps. Lines that begin with
// # are for the reader.

#include <destructibles/helper_script.h>
#include <destructibles/table_text.h>
#include <support/case_file.h>

namespace Tal {
namespace {

class SaveTest : public HelperScript {
 public:
  explicit SaveTest(const support::Case& given) : case_(given) {}

 private:
  void TestBody() override {
    for (const support::CaseLine& line : case_.lines) sort(line);
    if (before_.empty() || after_.empty()) throw case_.head.error("the case has no file");
    writeDatabase(before_);
    for (const support::CaseLine& step : steps_) take(step);
    if (!isSaved_) throw case_.head.error("the case has no save");
    const testing::ScopedTrace trace(case_.head.file.c_str(), case_.head.number, case_.head.text);
    EXPECT_EQ(readDatabase(), after_);
  }

  void sort(const support::CaseLine& line) {
    if (line.text.empty()) return;
    const bool isOfFile = line.text.find_first_of(" -+") == 0;
    if (!isOfFile && !after_.empty()) throw line.error("this stands behind the file");
    if (!isOfFile) return steps_.push_back(line);
    if (line.text[0] != '+') before_ += line.text.substr(1) + '\n';
    if (line.text[0] != '-') after_ += line.text.substr(1) + '\n';
  }

  void take(const support::CaseLine& step) {
    const testing::ScopedTrace trace(step.file.c_str(), step.number, step.text);
    if (step.text == "save" || step.text == "saveFails") return save(step.text == "save");
    const std::string told = run(step.text);
    EXPECT_FALSE(told.starts_with("false")) << told;
  }

  // Only a save that succeeds reloads the tables, which are then those of the file, and says so once.
  void save(bool succeeds) {
    std::string tables = textOfTables();
    const std::string told = run("save");
    EXPECT_TRUE(told.starts_with(succeeds ? "true\n" : "false\n")) << told;
    constexpr const char* kLoaded = " tells: loaded";
    EXPECT_EQ(told.find(kLoaded) != std::string::npos, succeeds) << told;
    EXPECT_EQ(told.find(kLoaded), told.rfind(kLoaded)) << told;
    EXPECT_EQ(run("isMissing"), "false\n");
    if (succeeds) {
      tables = textOfTables();
      Access::forgetLastLoad();
      EXPECT_TRUE(run("load").starts_with("true\n"));
    }
    EXPECT_EQ(textOfTables(), tables);
    isSaved_ = true;
  }

  support::Case case_;
  std::vector<support::CaseLine> steps_;
  std::string before_;
  std::string after_;
  bool isSaved_ = false;
};

[[maybe_unused]] const bool kAreRegistered = support::registerCases<DestructiblesTest, SaveTest>(SAVE_CASES);

}  // namespace
}  // namespace Tal
