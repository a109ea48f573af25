#pragma once

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace support {

/// A line of a case file, and where it stands.
struct CaseLine {
  std::string file;
  int number = 0;
  std::string text;

  std::runtime_error error(const std::string& what) const {
    return std::runtime_error(file + ":" + std::to_string(number) + ": " + what);
  }
};

/// A test that is data. It begins with the line "case SUITE.NAME" and ends before the next such line.
struct Case {
  CaseLine head;
  std::string suite;
  std::string name;
  std::vector<CaseLine>
      lines;  ///< those behind the head, without comments ("#...") and blank lines at the end
};

/// The cases of every file of a folder that ends in ".cases". Throws when there is none, or one has no name.
std::vector<Case> readCases(const std::filesystem::path& folder);

/// Makes every case of a folder a test of its own, run by a `Test` that is made of the case.
///
/// To be called before main(), as the value of a variable.
template <class Fixture, class Test>
bool registerCases(const std::filesystem::path& folder) {
  for (const Case& given : readCases(folder)) {
    testing::RegisterTest(given.suite.c_str(), given.name.c_str(), nullptr, nullptr, given.head.file.c_str(),
                          given.head.number, [given]() -> Fixture* { return new Test(given); });
  }
  return true;
}

/// Runs the commands of a case in order, and expects that each prints the lines below it.
///
/// A command begins with "$ " and goes on in lines that begin with "> ". Lines of output are indented by two
/// spaces; blank ones need not be. A failure shows the case as it would have to be.
void expectTranscript(const Case& given, const std::function<std::string(const std::string& command)>& run);

}  // namespace support
