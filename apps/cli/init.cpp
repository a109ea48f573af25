#include <cli/commands.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/files/new_folder.h>

#include <unistd.h>
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
      {database_format::kDatabaseFile,
       {database_format::kTreesSection, database_format::kFragilesSection,
        database_format::kFallingAtomsSection, database_format::kStructuresSection}},
      {database_format::kEffectsFile,
       {database_format::kFragilesSection, database_format::kFallingAtomsSection,
        database_format::kStructuresSection}}};
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

// Both files or none. Where one is there though its save failed, another program has made it, or only a power
// cut could undo it; then the other one stays too.
void makeAll(const fs::path& root) {
  std::vector<fs::path> made;
  try {
    for (const NewFile& file : newFiles()) {
      make(file);
      made.push_back(root / file.name);
    }
  } catch (const Refusal&) {
    std::error_code ignored;
    const bool isFailedThere = fs::exists(root / newFiles()[made.size()].name, ignored);
    for (const fs::path& path : made)
      if (!isFailedThere) fs::remove(path, ignored);
    throw;
  }
}

/// Removes, unless everything succeeds, the folders that were not there before, as far as they are empty.
class NewFolders {
 public:
  explicit NewFolders(fs::path folder) {
    std::error_code error;
    for (; !folder.empty() && !fs::exists(fs::symlink_status(folder, error)); folder = folderAbove(folder))
      missing_.push_back(folder);
  }
  ~NewFolders() {
    for (const fs::path& folder : missing_) ::rmdir(folder.c_str());
  }
  NewFolders(const NewFolders&) = delete;
  NewFolders& operator=(const NewFolders&) = delete;

  void keep() noexcept { missing_.clear(); }

 private:
  std::vector<fs::path> missing_;  // the lowest first
};

void init(const std::string& folder, Tool& tool) {
  if (folder.empty()) throw CLI::ValidationError("DIR", "the folder has no name");
  const fs::path root(folder);
  refuseExisting(root);
  NewFolders folders(root / "scripts");
  if (const auto failure = makeFolder(root / "scripts")) throw Refusal(failure->text + "; " + failure->hint);
  FS::setFileSystem(std::make_unique<FS::MultiFileSystem>(std::vector<fs::path>{root}));
  makeAll(root);
  folders.keep();
  for (const NewFile& file : newFiles())
    tool.print("made " + escapeControls((root / file.name).native()) + "\n");
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
