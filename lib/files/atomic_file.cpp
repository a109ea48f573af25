#include <core/display_text.h>
#include <files/atomic_file.h>
#include <files/file_attributes.h>
#include <files/file_descriptor.h>

#include <files/file_lock.h>
#include <files/folder_names.h>
#include <files/new_folder.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>
#include <files/system_fault.h>

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <vector>

namespace Tal::files {
namespace {

namespace fs = std::filesystem;

/// A temporary file is ".NAME.PROCESS-NUMBER.saving". Its writer holds its lock, so that a left-over can be
/// told from one in use.
constexpr BasicStringRef kTemporaryEnding = ".saving";
constexpr std::size_t kLongestName = 255;
constexpr mode_t kPermissions = 07777;
constexpr mode_t kAnyWrite = 0222;
constexpr mode_t kNewFile = 0666;
constexpr mode_t kOnlyOwner = 0600;
constexpr std::time_t kLeftOverAge = 60;  // seconds
constexpr int kNames = 1000;              // to be tried for a temporary file

/// Whether a temporary file was written long enough ago that its writer, if it lives, has locked it.
bool isOld(int descriptor) {
  struct stat status {};
  return system().fstat(descriptor, status) == 0 && std::time(nullptr) - status.st_mtime > kLeftOverAge;
}

/// Whether the process in a temporary file's name, behind `beginning`, is another one that lives. What has
/// this one's number is in use only if it is locked.
bool isOfAnotherLivingProcess(BasicStringRef name, BasicStringRef beginning) {
  const BasicStringRef process =
      name.substr(beginning.size(), name.find('-', beginning.size()) - beginning.size());
  std::error_code error;
  return process != std::to_string(::getpid()) && fs::exists("/proc/" + std::string(process), error);
}

/// Whether an owner cannot be set only for want of rights; a system within another does not know all owners.
bool isForOthersToSet(int code) {
  return code == EPERM || code == EINVAL;
}

/// The file that is to be replaced; empty when there is none. A link is as nothing: it leads to nothing, or
/// was none when the place was opened. A fault when it must not be replaced.
Result<std::optional<struct stat>> examine(const OpenPlace& place, const std::string& name) {
  struct stat status {};
  if (system().fstatat(place.folder(), name.c_str(), status, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno != ENOENT) return failedStep("examining", place.path(), errno);
    return std::optional<struct stat>();
  }
  if (S_ISLNK(status.st_mode)) return std::optional<struct stat>();
  if (S_ISDIR(status.st_mode)) return failedStep("replacing", place.path(), EISDIR);
  if (!S_ISREG(status.st_mode))
    return Fault{FaultKind::refused, quotedName(place.path().native()) + " is no regular file",
                 "move it away"};
  // Replacing needs no permission on the file itself; but who protects a file means its content.
  const bool isProtected = (status.st_mode & kAnyWrite) == 0;
  if (isProtected || system().faccessat(place.folder(), name.c_str(), W_OK) != 0)
    return failedStep("replacing the protected file", place.path(), isProtected ? EACCES : errno);
  return std::optional(status);
}

/// One replacement, step by step; each step gives the fault that ends it.
class Replacement {
 public:
  explicit Replacement(const OpenPlace& place) : place_(place) {}
  Replacement(const OpenPlace& place, const std::optional<FileIdentity>& version)
      : place_(place), isVersionGiven_(true), version_(version) {}
  Replacement(const std::string& pattern, const OpenPlace& place, const std::optional<FileIdentity>& version)
      : place_(place),
        pattern_(pattern.empty() ? place.name() : pattern),
        isVersionGiven_(true),
        version_(version) {}
  ~Replacement() {
    if (isTemporaryThere_) system().unlinkat(place_.folder(), temporary_.c_str(), 0);
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  Result<Replaced> run(BasicStringRef content) {
    auto old = examine(place_, pattern_);
    if (!old) return std::move(old).fault();
    old_ = *old;
    removeLeftOvers();
    if (auto done = prepare(content); !done) return std::move(done).fault();
    if (isVersionGiven_) {
      const auto now = place_.look();
      if (!now) return now.fault();
      if (now->file != version_) return changed();
    }
    if (!rename()) return errno == EEXIST ? changed() : failedStep("renaming to", place_.path(), errno);
    isTemporaryThere_ = false;
    Result<void> flushed = flushFolderOfFile();
    return Replaced{identity(), std::move(flushed)};
  }

 private:
  /// The new file's identity. Renaming touches the time of change; if anything else of it is not as it was
  /// left, another program has been there.
  std::optional<FileIdentity> identity() const {
    std::optional<FileIdentity> now = place_.identity();
    if (!now || !written_) return std::nullopt;
    FileIdentity expected = *written_;
    expected.changed = now->changed;
    return *now == expected ? now : std::nullopt;
  }

  int folder() const { return place_.folder(); }
  fs::path temporaryPath() const { return place_.path().parent_path() / temporary_; }

  Fault failTemporary(const char* step) const { return failedStep(step, temporaryPath(), errno); }

  Fault changed() const {
    return {FaultKind::changed,
            "another program has changed " + quotedName(place_.path().native()) + " meanwhile",
            "look at that change"};
  }

  /// Makes the temporary file and brings it to the disk.
  Result<void> prepare(BasicStringRef content) {
    if (auto done = open(); !done) return done;
    if (auto done = write(content); !done) return done;
    return flushAndClose();
  }

  Result<void> open() {
    makeTemporary();
    if (!descriptor_) return failTemporary("making");
    isTemporaryThere_ = true;
    tryLock(descriptor_.get());  // tells others that it is in use
    if (!old_) return {};
    return keepOwnerAndRights();
  }

  /// Under the next name when something of that name is there: where processes get the same few numbers
  /// again and again, a killed one of the same number may have left it.
  void makeTemporary() {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    const mode_t mode = old_ ? kOnlyOwner : kNewFile;  // until it has the old one's rights
    for (int attempt = 0; attempt < kNames; ++attempt) {
      temporary_ = temporaryNameFor(place_.name());
      descriptor_ = FileDescriptor(
          retryOnEintr([&] { return system().openat(folder(), temporary_.c_str(), kFlags, mode); }));
      if (descriptor_ || errno != EEXIST) return;
    }
  }

  Result<void> keepOwnerAndRights() {
    struct stat made {};
    if (system().fstat(descriptor_.get(), made) != 0) return failTemporary("examining");
    // Another owner can be set by few; the group or nothing at all is the best that others can do.
    const bool isOwnerOther = made.st_uid != old_->st_uid || made.st_gid != old_->st_gid;
    if (isOwnerOther && !setOwner(old_->st_uid) && !setOwner(made.st_uid) && !isForOthersToSet(errno))
      return failTemporary("setting the owner of");
    mode_t mode = old_->st_mode & kPermissions;
    if (!copyAttributes(place_.folder(), pattern_, descriptor_.get(), mode))
      return failTemporary("setting the attributes of");
    if (retryOnEintr([&] { return system().fchmod(descriptor_.get(), mode); }) != 0)
      return failTemporary("setting the permissions of");
    return {};
  }

  bool setOwner(uid_t owner) const {
    return retryOnEintr([&] { return system().fchown(descriptor_.get(), owner, old_->st_gid); }) == 0;
  }

  /// What processes that were killed while they saved this file have left beside it.
  void removeLeftOvers() const {
    const std::string beginning = '.' + place_.name() + '.';
    for (const std::string& left : namesIn(folder()).value_or(std::vector<std::string>())) {
      if (!left.starts_with(beginning) || !isTemporaryName(left) || isOfAnotherLivingProcess(left, beginning))
        continue;
      const FileDescriptor descriptor(
          system().openat(folder(), left.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW, 0));
      if (descriptor && isOld(descriptor.get()) && tryLock(descriptor.get()))
        system().unlinkat(folder(), left.c_str(), 0);
    }
  }

  Result<void> write(BasicStringRef content) {
    while (!content.empty()) {
      const ssize_t count =
          retryOnEintr([&] { return system().write(descriptor_.get(), content.data(), content.size()); });
      if (count == 0) return failedStep("writing", temporaryPath(), ENOSPC);
      if (count < 0) return failTemporary("writing");
      content.remove_prefix(static_cast<std::size_t>(count));
    }
    return {};
  }

  Result<void> flushAndClose() {
    if (retryOnEintr([&] { return system().fsync(descriptor_.get()); }) != 0)
      return failTemporary("flushing");
    written_ = identityOf(descriptor_.get());
    // An interrupted close has closed the file, whose content is on the disk already.
    if (system().close(descriptor_.release()) != 0 && errno != EINTR) return failTemporary("closing");
    return {};
  }

  // False, with errno, when it fails.
  bool rename() const {
    const bool isToBeNew = isVersionGiven_ && !version_;
    if (isToBeNew) return place_.renameToFree(temporary_, place_.name());
    const char* const to = place_.name().c_str();
    return retryOnEintr([&] { return system().renameat2(folder(), temporary_.c_str(), folder(), to, 0); }) ==
           0;
  }

  Result<void> flushFolderOfFile() {
    if (flushFolder(folder())) return {};
    Fault fault = failedStep("flushing the folder of", place_.path(), errno);
    fault.kind = FaultKind::unflushed;
    return fault;
  }

  const OpenPlace& place_;
  std::string pattern_ = place_.name();  ///< of the file whose rights the new one gets
  bool isVersionGiven_ = false;
  std::optional<FileIdentity> version_;
  std::string temporary_;
  std::optional<struct stat> old_;  ///< the file to be replaced
  bool isTemporaryThere_ = false;
  FileDescriptor descriptor_;
  std::optional<FileIdentity> written_;
};

}  // namespace

Result<void> replaceFile(const OpenPlace& place, BasicStringRef content) {
  auto replaced = Replacement(place).run(content);
  if (!replaced) return std::move(replaced).fault();
  return std::move(replaced->flushed);
}

Result<Replaced> replaceVersion(const OpenPlace& place, BasicStringRef content,
                                const std::optional<FileIdentity>& version) {
  return Replacement(place, version).run(content);
}

Result<Replaced> replaceVersionLike(const std::string& pattern, const OpenPlace& place,
                                    BasicStringRef content, const std::optional<FileIdentity>& version) {
  return Replacement(pattern, place, version).run(content);
}

Result<void> checkReplaceable(const OpenPlace& place) {
  if (auto old = examine(place, place.name()); !old) return std::move(old).fault();
  return {};
}

Result<void> removeFile(const OpenPlace& place) {
  if (system().unlinkat(place.folder(), place.name().c_str(), 0) != 0 && errno != ENOENT)
    return failedStep("removing", place.path(), errno);
  if (flushFolder(place.folder())) return {};
  return failedStep("flushing the folder of", place.path(), errno);
}

std::string temporaryNameFor(BasicStringRef fileName) {
  static std::atomic<unsigned> s_count{0};
  const std::string ending =
      '.' + std::to_string(::getpid()) + '-' + std::to_string(++s_count) + std::string(kTemporaryEnding);
  return '.' + std::string(fileName.substr(0, kLongestName - ending.size() - 1)) + ending;
}

bool isTemporaryName(BasicStringRef fileName) {
  constexpr BasicStringRef kDigits = "0123456789";
  if (!fileName.starts_with('.') || !fileName.ends_with(kTemporaryEnding)) return false;
  fileName.remove_suffix(kTemporaryEnding.size());
  const BasicStringRef numbers = fileName.substr(fileName.rfind('.') + 1);
  const auto dash = numbers.find_first_not_of(kDigits);
  return dash != BasicStringRef::npos && dash > 0 && numbers[dash] == '-' && dash + 1 < numbers.size() &&
         numbers.find_first_not_of(kDigits, dash + 1) == BasicStringRef::npos;
}

}  // namespace Tal::files
