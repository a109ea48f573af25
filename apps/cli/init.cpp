#include <cli/commands.h>
#include <cli/tool.h>
#include <core/format.h>
#include <core/nearest_name.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/new_folder.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace Tal::cli {
namespace {

namespace fs = std::filesystem;

/// A file to make: its name below the root, and its empty sections.
struct NewFile {
  std::string name;
  std::vector<std::string> sections;
};

const std::vector<NewFile>& newFiles() {
  static const std::vector<NewFile> files = {
      {"scripts/destructibles.xml", {"trees", "fragiles", "fallingAtoms", "structures"}},
      {"scripts/destructibles_effects.xml", {"fragiles", "fallingAtoms", "structures"}}};
  return files;
}

void refuseExisting(const fs::path& root) {
  for (const NewFile& file : newFiles()) {
    std::error_code error;
    const fs::path path = root / file.name;
    if (!fs::exists(fs::symlink_status(path, error))) continue;
    throw Refusal(quotedName(path.native()) +
                  " exists already and is not overwritten; remove it or choose another folder");
  }
}

void make(const NewFile& file) {
  const SmartPointer<DataSection> document = FS::Utils::openSection(file.name, true, nullptr);
  if (!document) throw Refusal(file.name + " cannot be made, see the message before this one");
  for (const std::string& section : file.sections) document->appendChild(section);
  if (!document->save()) throw Refusal(file.name + " cannot be written, see the message before this one");
}

// Both files or none.
void makeAll(const fs::path& root) {
  std::vector<fs::path> made;
  try {
    for (const NewFile& file : newFiles()) {
      made.push_back(root / file.name);  // what fails may be there all the same
      make(file);
    }
  } catch (const Refusal&) {
    std::error_code ignored;
    for (const fs::path& path : made) fs::remove(path, ignored);
    throw;
  }
}

void init(const std::string& folder, Tool& tool) {
  if (folder.empty()) throw CLI::ValidationError("DIR", "the folder has no name");
  const fs::path root(folder);
  refuseExisting(root);
  if (const auto failure = makeFolder(root / "scripts")) throw Refusal(failure->text + "; " + failure->hint);
  FS::setFileSystem(std::make_unique<FS::MultiFileSystem>(std::vector<fs::path>{root}));
  makeAll(root);
  for (const NewFile& file : newFiles()) tool.print("made " + shown((root / file.name).native()) + "\n");
}

}  // namespace

void addInit(CLI::App& program, Tool& tool) {
  auto folder = std::make_shared<std::string>();
  CLI::App* const command =
      program.add_subcommand("init", "Make an empty database and effects file in DIR/scripts");
  command->add_option("DIR", *folder, "The resource root; it is made when it does not exist")->required();
  command->footer("Example:\n  destructibles init game");
  command->callback([folder, &tool] { init(*folder, tool); });
}

}  // namespace Tal::cli
