#include <support/mounted_root.h>

#include <memory>
#include <utility>
#include <vector>

namespace support {

MountedRoot::MountedRoot() {
  auto mounted = std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{path()});
  fileSystem_ = mounted.get();
  Tal::FS::setFileSystem(std::move(mounted));
}

MountedRoot::MountedRoot(const std::filesystem::path& name, std::string_view content) : MountedRoot() {
  write(name, content);
}

MountedRoot::~MountedRoot() {
  Tal::FS::setFileSystem(nullptr);
}

Tal::SmartPointer<Tal::DataSection> openResource(std::string_view name) {
  return Tal::FS::Utils::openSection(name, false, nullptr);
}

}  // namespace support
