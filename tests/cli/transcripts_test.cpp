// The tests that are transcripts: every case in a file of transcripts/ is a test. The shell runs its commands
// in a folder with an empty database and three models. What they print to standard error begins with "! ",
// and a status other than 0 stands last, as [1]. A refused command of the program leaves every file as it
// was.
//
// The shell knows the functions of prelude.sh, $SAMPLE, $DATA (files of glTF), $FIXTURES (the folder
// transcripts/) and $OUTSIDE, an empty folder that is elsewhere.

#include <cli/cli_fixture.h>
#include <support/case_file.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <sstream>

namespace cli_test {
namespace {

/// With control characters but tabs and line ends spelt out.
std::string printable(const std::string& text) {
  std::string shown;
  for (const char each : text) {
    const auto byte = static_cast<unsigned char>(each);
    if ((byte >= ' ' || each == '\n' || each == '\t') && byte != 0x7f) {
      shown += each;
      continue;
    }
    std::array<char, 5> code{};
    std::snprintf(code.data(), code.size(), "\\x%02x", byte);
    shown += code.data();
  }
  return shown;
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (auto place = text.find(from); place != std::string::npos; place = text.find(from, place + to.size()))
    text.replace(place, from.size(), to);
}

/// Every line behind a mark; the last one says when it has no end.
std::string linesOf(const std::string& text, const std::string& mark) {
  std::string marked;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) marked += mark + line + '\n';
  return marked + (text.empty() || text.back() == '\n' ? "" : mark + "(no line end)\n");
}

class Transcript : public CommandLine {
 public:
  explicit Transcript(const support::Case& given) : case_(given) {}

 private:
  void TestBody() override {
    support::expectTranscript(case_, [this](const std::string& command) { return printed(command); });
  }

  std::string printed(const std::string& command) const {
    const std::vector<std::string> before = content();
    const ProcessResult result =
        support::runProcess("/bin/bash", {"-c", ". \"$FIXTURES/prelude.sh\"\n" + command},
                            {.folder = folder_.path(), .environment = environment_});
    if (command.starts_with("destructibles ") && result.status != 0) {
      EXPECT_EQ(content(), before);
    }
    std::string text = linesOf(printable(result.out), "") + linesOf(printable(result.err), "! ");
    if (result.status != 0) text += '[' + std::to_string(result.status) + "]\n";
    for (const char* const name : {"DATA", "OUTSIDE", "PWD"})
      replaceAll(text, environment_.at(name), std::string("$") + name);
    return text;
  }

  support::Case case_;
  support::TemporaryFolder outside_{};
  const std::map<std::string, std::string> environment_ = {
      {"PATH", std::filesystem::path(DESTRUCTIBLES_PROGRAM).parent_path().string() + ":/usr/bin:/bin"},
      {"PWD", folder_.path().string()},
      {"OUTSIDE", outside_.path().string()},
      {"DATA", TEST_GLTF_FOLDER},
      {"SAMPLE", SAMPLE_FOLDER},
      {"FIXTURES", TRANSCRIPTS}};
};

[[maybe_unused]] const bool kAreRegistered = support::registerCases<CommandLine, Transcript>(TRANSCRIPTS);

}  // namespace
}  // namespace cli_test
