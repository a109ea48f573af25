#pragma once

#include <support/temporary_folder.h>

#include <resources/data_section.h>
#include <resources/file_system.h>

#include <string>
#include <string_view>

namespace support {

/// A temporary folder that is the process's only resource root during the scope.
class MountedRoot : public TemporaryFolder {
 public:
  MountedRoot();

  /// The same, holding one resource.
  MountedRoot(const std::filesystem::path& name, std::string_view content);

  ~MountedRoot();
  MountedRoot(const MountedRoot&) = delete;
  MountedRoot& operator=(const MountedRoot&) = delete;

  Tal::FS::MultiFileSystem& fileSystem() const noexcept { return *fileSystem_; }

 private:
  Tal::FS::MultiFileSystem* fileSystem_ = nullptr;
};

/// Opens a resource of the process's file system; null when it cannot be opened.
Tal::SmartPointer<Tal::DataSection> openResource(std::string_view name);

}  // namespace support
