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
/// distinguished from one in use.
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

/// A fault when what stands at a place must not be replaced.
Result<void> check(const OpenPlace& place, const Standing& standing) {
  if (!standing.file) return {};
  if (S_ISDIR(standing.mode)) return failedStep("replacing", place.path(), EISDIR);
  if (!S_ISREG(standing.mode))
    return Fault{FaultKind::refused, quotedName(place.path().native()) + " is no regular file",
                 "move it away"};
  // Replacing needs no permission on the file itself; but who protects a file means its content.
  const bool isProtected = (standing.mode & kAnyWrite) == 0;
  if (isProtected || system().faccessat(place.folder(), place.name().c_str(), W_OK) != 0)
    return failedStep("replacing the protected file", place.path(), isProtected ? EACCES : errno);
  return {};
}

/// A file of the folder, for its rights and attributes alone when it may not be read.
FileDescriptor openPattern(const OpenPlace& place, const std::string& name) {
  const auto open = [&](int flags) {
    return FileDescriptor(retryOnEintr(
        [&] { return system().openat(place.folder(), name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, 0); }));
  };
  FileDescriptor file = open(O_RDONLY | O_NONBLOCK);
  return file || errno != EACCES ? std::move(file) : open(O_PATH);
}

/// One replacement, step by step; each step gives the fault that ends it.
class Replacement {
 public:
  Replacement(const OpenPlace& place, const std::optional<FileIdentity>& version)
      : place_(place), version_(version) {}
  ~Replacement() {
    if (isTemporaryThere_) system().unlinkat(place_.folder(), temporary_.c_str(), 0);
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  /// The new file is like the file `pattern` of the same folder.
  Result<Replaced> runLike(const std::string& pattern, BasicStringRef content) {
    if (auto checked = checkVersion(); !checked) return std::move(checked).fault();
    if (pattern.empty()) return replace(-1, content);
    const FileDescriptor old = openPattern(place_, pattern);
    if (!old) return errno == ENOENT ? changed() : failedStep("examining", place_.path(), errno);
    return replace(old.get(), content);
  }

  /// The new file is like the one that it replaces, whose lock goes over to it.
  Result<Replaced> run(BasicStringRef content, FileLock* lock) {
    const bool isLocked = lock != nullptr && version_ && lock->identity() == version_;
    if (!isLocked) return runLike(version_ ? place_.name() : std::string(), content);
    if (auto checked = checkVersion(); !checked) return std::move(checked).fault();
    auto replaced = replace(lock->descriptor(), content);
    if (replaced && hasLock_) lock->moveTo(std::move(reader_));
    return replaced;
  }

 private:
  /// A fault when another version stands there, or one that must not be replaced.
  Result<void> checkVersion() const {
    const auto standing =
        place_.found().file == version_ ? Result<Standing>(place_.found()) : place_.examine();
    if (!standing) return standing.fault();
    if (standing->file != version_) return changed();
    return check(place_, *standing);
  }

  /// `old` is the open file that the new one is to be like; -1 when it is to be like none.
  Result<Replaced> replace(int old, BasicStringRef content) {
    removeLeftOvers();
    if (auto done = prepare(old, content); !done) return std::move(done).fault();
    const auto now = place_.examine();
    if (!now) return now.fault();
    if (now->file != version_) return changed();
    if (!rename()) return errno == EEXIST ? changed() : failedStep("renaming to", place_.path(), errno);
    isTemporaryThere_ = false;
    Result<void> flushed = flushFolderOfFile();
    return Replaced{identity(), std::move(flushed)};
  }

  /// The new file's identity. Renaming touches the time of change; if anything else of it is not as it was
  /// left, another program has been there.
  std::optional<FileIdentity> identity() const {
    std::optional<FileIdentity> now;
    if (reader_) {
      now = identityOf(reader_.get());
    } else if (const auto standing = place_.examine()) {
      now = standing->file;
    }
    if (!now || !written_) return std::nullopt;
    FileIdentity expected = *written_;
    expected.changed = now->changed;
    return now == expected ? now : std::nullopt;
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
  Result<void> prepare(int old, BasicStringRef content) {
    if (auto done = open(old); !done) return done;
    if (auto done = write(content); !done) return done;
    return flushAndClose();
  }

  Result<void> open(int old) {
    makeTemporary(old < 0 ? kNewFile : kOnlyOwner);  // until it has the old one's rights
    if (!descriptor_) return failTemporary("making");
    isTemporaryThere_ = true;
    // Stays open when the file has its name. Closing what was written there would look like a change.
    reader_ = FileDescriptor(retryOnEintr(
        [&] { return system().openat(folder(), temporary_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW, 0); }));
    if (!reader_ && errno != EACCES) return failTemporary("making");
    // Shows others that it is in use. Some network file systems lock only what is open for writing.
    hasLock_ = reader_ && tryLock(reader_.get());
    if (!hasLock_) tryLock(descriptor_.get());
    return old < 0 ? Result<void>() : keepOwnerAndRights(old);
  }

  /// Under the next name when something of that name is there: where processes get the same few numbers
  /// again and again, a killed one of the same number may have left it.
  void makeTemporary(mode_t mode) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    for (int attempt = 0; attempt < kNames; ++attempt) {
      temporary_ = temporaryNameFor(place_.name());
      descriptor_ = FileDescriptor(
          retryOnEintr([&] { return system().openat(folder(), temporary_.c_str(), kFlags, mode); }));
      if (descriptor_ || errno != EEXIST) return;
    }
  }

  Result<void> keepOwnerAndRights(int from) {
    struct stat old {};
    struct stat made {};
    if (system().fstat(from, old) != 0) return failedStep("examining", place_.path(), errno);
    if (system().fstat(descriptor_.get(), made) != 0) return failTemporary("examining");
    // Another owner can be set by few; the group or nothing at all is the best that others can do.
    const bool isOwnerOther = made.st_uid != old.st_uid || made.st_gid != old.st_gid;
    if (isOwnerOther && !setOwner(old.st_uid, old.st_gid) && !setOwner(made.st_uid, old.st_gid) &&
        !isForOthersToSet(errno))
      return failTemporary("setting the owner of");
    const auto mode = copyAttributes(from, descriptor_.get(), old.st_mode & kPermissions, temporaryPath());
    if (!mode) return mode.fault();
    if (retryOnEintr([&] { return system().fchmod(descriptor_.get(), *mode); }) != 0)
      return failTemporary("setting the permissions of");
    return {};
  }

  bool setOwner(uid_t owner, gid_t group) const {
    return retryOnEintr([&] { return system().fchown(descriptor_.get(), owner, group); }) == 0;
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
    if (!version_) return place_.renameToFree(temporary_, place_.name());
    const char* const to = place_.name().c_str();
    return retryOnEintr([&] { return system().renameat2(folder(), temporary_.c_str(), folder(), to, 0); }) ==
           0;
  }

  Result<void> flushFolderOfFile() {
    auto flushed = flushFolder(folder(), place_.path());
    if (flushed) return flushed;
    Fault fault = std::move(flushed).fault();
    fault.kind = FaultKind::unflushed;
    return fault;
  }

  const OpenPlace& place_;
  const std::optional<FileIdentity>& version_;  ///< that is to be replaced
  std::string temporary_;
  bool isTemporaryThere_ = false;
  FileDescriptor descriptor_;  ///< the new file, while it is written
  FileDescriptor reader_;      ///< the same for reading; none where that is refused
  bool hasLock_ = false;       ///< by the reader
  std::optional<FileIdentity> written_;
};

}  // namespace

Result<void> replaceFile(const OpenPlace& place, BasicStringRef content) {
  const auto standing = place.examine();
  if (!standing) return standing.fault();
  auto replaced = replaceVersion(place, content, standing->file);
  if (!replaced) return std::move(replaced).fault();
  return std::move(replaced->flushed);
}

Result<Replaced> replaceVersion(const OpenPlace& place, BasicStringRef content,
                                const std::optional<FileIdentity>& version, FileLock* lock) {
  return Replacement(place, version).run(content, lock);
}

Result<Replaced> replaceVersionLike(const std::string& pattern, const OpenPlace& place,
                                    BasicStringRef content, const std::optional<FileIdentity>& version) {
  return Replacement(place, version).runLike(pattern, content);
}

Result<Standing> checkReplaceable(const OpenPlace& place) {
  auto standing = place.examine();
  if (!standing) return standing;
  if (auto checked = check(place, *standing); !checked) return std::move(checked).fault();
  return standing;
}

Result<void> removeFile(const OpenPlace& place) {
  if (system().unlinkat(place.folder(), place.name().c_str(), 0) != 0 && errno != ENOENT)
    return failedStep("removing", place.path(), errno);
  return flushFolder(place.folder(), place.path());
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
