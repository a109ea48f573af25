#pragma once

#include <support/model_files.h>
#include <support/process.h>
#include <support/temporary_folder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace cli_test {

using Arguments = std::vector<std::string>;
using support::ProcessResult;

inline constexpr char kHouse[] = "content/buildings/house.model";
inline constexpr char kCrate[] = "content/props/crate.model";
inline constexpr char kLamp[] = "content/street/lamp.model";
inline constexpr char kDatabase[] = "scripts/destructibles.xml";

/// The program itself, run in a temporary folder that is a resource root: an empty database, a house of four
/// parts, a crate and a lamp.
class CommandLine : public ::testing::Test {
 protected:
  CommandLine();

  ProcessResult run(const Arguments& arguments) const { return runIn(folder_.path(), arguments); }
  static ProcessResult runIn(const std::filesystem::path& folder, const Arguments& arguments,
                             const std::map<std::string, std::string>& environment = {});

  /// Runs a command that must succeed without a message; its results.
  std::string result(const Arguments& arguments) const;

  /// Every name below the folder, and what its file holds.
  std::vector<std::string> content() const;

  void writeDatabase(const std::string& text) const { folder_.write(kDatabase, text); }
  std::string readDatabase() const { return folder_.read(kDatabase); }

  support::TemporaryFolder folder_;
};

}  // namespace cli_test
