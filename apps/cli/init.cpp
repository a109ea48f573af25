#include <cli/commands.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>
#include <files/new_folder.h>
#include <resources/data_section.h>
#include <resources/file_system.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
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

/// Whether the file is there; refuses what is there and can be none.
bool isThere(const std::string& name) {
  const auto place = FS::fileSystem()->find(name);
  if (place) return true;
  if (place.fault().kind == FaultKind::missing) return false;
  throw Refusal(name + ' ' + place.fault().what + "; remove what stands there or choose another folder");
}

// False when another program has made it meanwhile.
bool make(const NewFile& file) {
  const SmartPointer<DataSection> document = FS::Utils::openSection(file.name, true, nullptr);
  if (!document) throw Refusal(file.name + " cannot be made, see the message before this one");
  if (document->childCount() > 0) return false;
  for (const std::string& section : file.sections) document->appendChild(section);
  if (!document->save()) throw Refusal(file.name + " cannot be written, see the message before this one");
  return true;
}

// What is missing: one that was cut off, or has failed, is gone on with by the next one.
void init(const std::string& folder, Tool& tool) {
  if (folder.empty()) throw CLI::ValidationError("DIR is empty");
  const fs::path root(folder);
  files::NewFolders folders(root / "scripts");
  Tool::check(files::makeFolder(root / "scripts"));
  FS::setFileSystem(Tool::check(FS::MultiFileSystem::open({root})));
  for (const NewFile& file : newFiles()) {
    const fs::path path = root / file.name;
    bool isOld = isThere(file.name);
    if (!isOld) {
      const HeldInterrupts held;
      isOld = !make(file);
    }
    if (!isOld) tool.noteDone("the files were made");
    tool.print((isOld ? "kept " : "made ") + escapeControls(path.native()) + "\n");
  }
  folders.keep();
}

}  // namespace

void addInit(CLI::App& program, Tool& tool) {
  auto folder = std::make_shared<std::string>();
  CLI::App* const command =
      program.add_subcommand("init", "Create an empty database and effects file, unless they exist");
  command->add_option("DIR", *folder, "The resource root; created if it does not exist")->required();
  command->footer("Example:\n  destructibles init game");
  command->callback([folder, &tool] { init(*folder, tool); });
}

}  // namespace Tal::cli
