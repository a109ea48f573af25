#include <core/display_text.h>
#include <files/new_folder.h>
#include <files/open_place.h>
#include <files/path_links.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>
#include <files/system_fault.h>

#include <linux/openat2.h>
#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace Tal::files {
namespace {

namespace fs = std::filesystem;

FileDescriptor openAt(int folder, const char* name, int flags) {
  return FileDescriptor(retryOnEintr([&] { return system().openat(folder, name, flags | O_CLOEXEC, 0); }));
}

/// Opens a folder far below another in one step that follows no link; holds nothing when it is not there, and
/// where the system does not know such a step.
FileDescriptor openBeneath(int root, const fs::path& folder) {
  return FileDescriptor(retryOnEintr([&] {
    return system().openat2(root, folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC,
                            RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS);
  }));
}

/// Why a folder below another could not be opened, by errno.
Fault failedFolder(int above, const char* name, const fs::path& shown) {
  const int code = errno;
  struct stat status {};
  const bool isLink =
      system().fstatat(above, name, status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
  if (!isLink) {
    Fault fault = failedStep("opening the folder", shown, code);
    if (code == ENOTDIR) fault.remedy = "move the file of that name away";
    return fault;
  }
  return {FaultKind::changed, quotedName(shown.native()) + " has just become a link",
          "put the folder itself in its place"};
}

Fault leadsOut(const fs::path& path) {
  return {FaultKind::refused, quotedName(path.native()) + " leads out of its root through a link",
          "put the file itself in the place of the link"};
}

}  // namespace

Result<OpenRoot> OpenRoot::open(const fs::path& folder, const std::optional<FileIdentity>& taken) {
  OpenRoot root;
  std::error_code error;
  root.path_ = system().canonical(folder, error);
  if (error) return failedStep("examining the folder", folder, error.value());
  root.folder_ = openAt(AT_FDCWD, root.path_.c_str(), O_PATH | O_DIRECTORY);
  if (!root.folder_) return failedStep("opening the folder", root.path_, errno);
  if (taken && !isSameFile(identityOf(root.folder()), taken)) {
    return Fault{
        FaultKind::changed,
        "the resource root " + quotedName(folder.native()) + " is not the folder any more that it was",
        "put that back, or start again"};
  }
  return root;
}

Result<OpenPlace> OpenPlace::open(const RootedPath& place) {
  const auto root = OpenRoot::open(place.root, place.taken);
  if (!root) return root.fault();
  return open(*root, place.name);
}

Result<OpenPlace> OpenPlace::open(const OpenRoot& root, const fs::path& name) {
  if (auto place = withoutLinks(root, name)) return *std::move(place);
  OpenPlace place;
  std::error_code error;
  place.path_ = system().weaklyCanonical(root.path() / name, error);
  if (error) return failedStep("examining", root.path() / name, error.value());
  const bool isBelow = isPathBelow(place.path_, root.path()) && place.path_ != root.path();
  if (!isBelow) return leadsOut(root.path() / name);
  const fs::path relative = place.path_.lexically_relative(root.path());
  place.name_ = relative.filename().native();
  const fs::path folder = relative.parent_path();
  if (!folder.empty()) place.folder_ = openBeneath(root.folder(), folder);
  if (place.folder_) return examined(std::move(place));
  if (auto walked = place.walk(root, folder); !walked) {
    place.removeMadeFolders();
    return std::move(walked).fault();
  }
  return examined(std::move(place));
}

Result<OpenPlace> OpenPlace::examined(OpenPlace place) {
  auto found = place.examine();
  if (!found) {
    place.removeMadeFolders();
    return std::move(found).fault();
  }
  place.found_ = *found;
  return place;
}

std::optional<OpenPlace> OpenPlace::withoutLinks(const OpenRoot& root, const fs::path& name) {
  OpenPlace place;
  const fs::path folder = name.parent_path();
  place.folder_ = openBeneath(root.folder(), folder.empty() ? "." : folder);
  if (!place.folder_) return std::nullopt;
  place.name_ = name.filename().native();
  place.path_ = root.path() / name;
  auto opened = examined(std::move(place));
  return opened && !opened->found().isLink ? std::optional(*std::move(opened)) : std::nullopt;
}

Result<void> OpenPlace::walk(const OpenRoot& root, const fs::path& folder) {
  constexpr int kStep = O_PATH | O_DIRECTORY | O_NOFOLLOW;
  fs::path shown = root.path();
  FileDescriptor found = openAt(root.folder(), ".", O_PATH | O_DIRECTORY);
  for (const fs::path& step : folder) {
    if (!found) break;
    shown /= step;
    FileDescriptor next = openAt(found.get(), step.c_str(), kStep);
    if (!next && errno == ENOENT) {
      if (auto made = makeFolderIn(found.get(), step.native(), shown); !made) return made;
      next = openAt(found.get(), step.c_str(), kStep);
      made_.push_back({FileDescriptor(system().dup(found.get())), step.native()});
    }
    if (!next) return failedFolder(found.get(), step.c_str(), shown);
    found = std::move(next);
  }
  folder_ = found ? openAt(found.get(), ".", O_RDONLY | O_DIRECTORY) : FileDescriptor();
  if (!folder_) return failedStep("opening the folder", shown, errno);
  return {};
}

Result<OpenPlace> OpenPlace::beside(const std::string& name) const {
  OpenPlace place;
  place.name_ = name;
  place.path_ = path_.parent_path() / name;
  place.folder_ = openAt(folder(), ".", O_RDONLY | O_DIRECTORY);
  if (!place.folder_) return failedStep("opening the folder", place.path_.parent_path(), errno);
  return examined(std::move(place));
}

bool OpenPlace::isInFolderOf(const OpenPlace& other) const {
  const std::optional<FileIdentity> mine = identityOf(folder_.get());
  const std::optional<FileIdentity> others = identityOf(other.folder_.get());
  return isSameFile(mine, others);
}

void OpenPlace::removeMadeFolders() noexcept {
  for (auto folder = made_.rbegin(); folder != made_.rend(); ++folder)
    system().unlinkat(folder->above.get(), folder->name.c_str(), AT_REMOVEDIR);
  made_.clear();
}

Result<Standing> OpenPlace::examine() const {
  struct stat status {};
  if (system().fstatat(folder_.get(), name_.c_str(), status, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno != ENOENT) return failedStep("examining", path_, errno);
    return Standing();
  }
  Standing standing;
  standing.isLink = S_ISLNK(status.st_mode);
  standing.mode = status.st_mode;
  if (!standing.isLink) standing.file = identityIn(status);
  return standing;
}

bool OpenPlace::renameToFree(const std::string& from, const std::string& to) const {
  const int folder = folder_.get();
  if (system().renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  // Some file systems do not know how to leave what is there.
  if (errno != EINVAL && errno != ENOSYS) return false;
  return retryOnEintr([&] { return system().renameat2(folder, from.c_str(), folder, to.c_str(), 0); }) == 0;
}

FileDescriptor OpenPlace::openToRead() const {
  return openAt(folder_.get(), name_.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
}

}  // namespace Tal::files
