#include <support/case_file.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

namespace support {
namespace {

constexpr std::string_view kHead = "case ";
constexpr std::string_view kCommand = "$ ";
constexpr std::string_view kContinuation = "> ";
constexpr std::string_view kOutput = "  ";

Case caseOf(const CaseLine& head) {
  const std::string title = head.text.substr(kHead.size());
  const auto dot = title.find('.');
  if (dot == std::string::npos || title.find(' ') != std::string::npos)
    throw head.error("no case SUITE.NAME");
  return {head, title.substr(0, dot), title.substr(dot + 1), {}};
}

void dropBlankEnd(std::vector<CaseLine>& lines) {
  while (!lines.empty() && lines.back().text.empty()) lines.pop_back();
}

void readFileOfCases(const std::filesystem::path& path, std::vector<Case>& cases) {
  std::ifstream input(path);
  CaseLine line{path.string(), 0, ""};
  const std::size_t before = cases.size();
  while (++line.number, std::getline(input, line.text)) {
    if (line.text.starts_with('#')) continue;
    if (line.text.starts_with(kHead)) {
      cases.push_back(caseOf(line));
    } else if (cases.size() > before) {
      cases.back().lines.push_back(line);
    } else if (!line.text.empty()) {
      throw line.error("this belongs to no case");
    }
  }
}

/// What a command has printed, as it stands in a case.
std::string indented(const std::string& output) {
  std::string text;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);)
    text += (line.empty() ? "" : std::string(kOutput) + line) + '\n';
  return text;
}

bool isPartOfCommand(const CaseLine& line) {
  return line.text.starts_with(kCommand) || line.text.starts_with(kContinuation);
}

void expectForm(const CaseLine& line, bool isFirst) {
  const bool isKnown = isPartOfCommand(line) || line.text.starts_with(kOutput) || line.text.empty();
  if (!isKnown || (isFirst && !line.text.starts_with(kCommand))) throw line.error("no command, no output");
}

/// Without the blank lines in front of commands, which are for the reader.
std::string withoutGaps(const std::string& text) {
  std::string rest;
  std::string gap;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) {
      gap += '\n';
      continue;
    }
    rest += (line.starts_with(kCommand) ? "" : gap) + line + '\n';
    gap.clear();
  }
  return rest;
}

}  // namespace

std::vector<Case> readCases(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& file : std::filesystem::directory_iterator(folder))
    if (file.path().extension() == ".cases") files.push_back(file.path());
  std::sort(files.begin(), files.end());
  std::vector<Case> cases;
  for (const auto& file : files) readFileOfCases(file, cases);
  if (cases.empty()) throw std::runtime_error(folder.string() + " holds no case");
  std::set<std::string> titles;
  for (Case& each : cases) {
    dropBlankEnd(each.lines);
    if (!titles.insert(each.head.text).second) throw each.head.error("there is a case of that name already");
    if (each.lines.empty()) throw each.head.error("the case is empty");
  }
  return cases;
}

void expectTranscript(const Case& given, const std::function<std::string(const std::string& command)>& run) {
  std::string expected;
  std::string actual;
  for (std::size_t place = 0; place < given.lines.size();) {
    const CaseLine& line = given.lines[place];
    expectForm(line, place == 0);
    expected += line.text + '\n';
    ++place;
    if (!line.text.starts_with(kCommand)) continue;
    std::string lines = line.text + '\n';
    std::string command = line.text.substr(kCommand.size());
    for (; place < given.lines.size() && given.lines[place].text.starts_with(kContinuation); ++place) {
      const std::string& more = given.lines[place].text;
      lines += more + '\n';
      expected += more + '\n';
      command += '\n' + more.substr(kContinuation.size());
    }
    const testing::ScopedTrace trace(line.file.c_str(), line.number, line.text);
    actual += lines + indented(run(command));
  }
  const testing::ScopedTrace trace(given.head.file.c_str(), given.head.number, given.head.text);
  EXPECT_EQ(withoutGaps(actual), withoutGaps(expected)) << "the case would be:\n" << actual;
}

}  // namespace support
