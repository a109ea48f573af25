#include <core/display_text.h>
#include <resources/files/atomic_file.h>
#include <resources/files/file_attributes.h>
#include <resources/files/file_descriptor.h>
#include <resources/files/file_failure.h>
#include <resources/files/file_lock.h>
#include <resources/files/folder_names.h>
#include <resources/files/new_folder.h>
#include <resources/files/retry_on_eintr.h>

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <system_error>
#include <vector>

namespace Tal {
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
constexpr std::size_t kWorthACall = std::size_t{1} << 16U;
constexpr int kNames = 1000;  // to be tried for a temporary file

/// The file that a path means in the end. The path of a link that leads to nothing is left as it is.
fs::path targetOf(const fs::path& file) {
  std::error_code error;
  if (!fs::is_symlink(file, error)) return file;
  fs::path target = fs::canonical(file, error);
  return error ? file : target;
}

/// Whether a temporary file was written long enough ago that its writer, if it lives, has locked it.
bool isOld(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && std::time(nullptr) - status.st_mtime > kLeftOverAge;
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

/// One replacement, step by step; each step gives the failure that ends it.
class Replacement {
 public:
  explicit Replacement(const fs::path& file) : file_(targetOf(file)) {}
  Replacement(const fs::path& file, const std::optional<FileIdentity>& version)
      : file_(targetOf(file)), isVersionGiven_(true), version_(version) {}
  ~Replacement() {
    if (isTemporaryThere_) ::unlink(temporary_.c_str());
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  std::optional<FileFailure> run(const PiecedText& content) {
    if (auto failure = examine()) return failure;
    if (auto failure = makeFolder(file_.parent_path())) return failure;
    removeLeftOvers();
    if (auto failure = open()) return failure;
    if (auto failure = write(content)) return failure;
    if (auto failure = flushAndClose()) return failure;
    if (isVersionGiven_ && identityAt(file_) != version_) return changed();
    if (retryOnEintr([&] { return ::rename(temporary_.c_str(), file_.c_str()); }) != 0)
      return fail("renaming to", file_);
    isTemporaryThere_ = false;
    return flushFolderOfFile();
  }

  /// The new file's identity. Renaming touches the time of change; if anything else of it is not as it was
  /// left, another program has been there.
  std::optional<FileIdentity> identity() const {
    std::optional<FileIdentity> now = identityAt(file_);
    if (!now || !written_) return std::nullopt;
    FileIdentity expected = *written_;
    expected.changed = now->changed;
    return *now == expected ? now : std::nullopt;
  }

 private:
  static std::optional<FileFailure> fail(const char* step, const fs::path& path) {
    return failedStep(step, path, errno);
  }

  std::optional<FileFailure> changed() const {
    FileFailure failure{"another program has changed \"" + escapeControls(file_.native()) + "\" meanwhile",
                        "look at that change", true, false};
    return failure;
  }

  std::optional<FileFailure> examine() {
    if (::stat(file_.c_str(), &old_) != 0) {
      if (errno != ENOENT && errno != ENOTDIR) return fail("examining", file_);
      return std::nullopt;
    }
    isOldThere_ = true;
    if (S_ISDIR(old_.st_mode)) return failedStep("replacing", file_, EISDIR);
    // Replacing needs no permission on the file itself; but who protects a file means its content.
    const bool isProtected = (old_.st_mode & kAnyWrite) == 0;
    if (isProtected || ::access(file_.c_str(), W_OK) != 0)
      return failedStep("replacing the protected file", file_, isProtected ? EACCES : errno);
    return std::nullopt;
  }

  std::optional<FileFailure> open() {
    const fs::path folder = folderAbove(file_);
    folder_ = openFolder(folder);
    if (!folder_) return fail("opening the folder", folder);
    makeTemporary();
    if (!descriptor_) return fail("making", temporary_);
    isTemporaryThere_ = true;
    tryLock(descriptor_.get());  // tells others that it is in use
    return isOldThere_ ? keepOwnerAndRights() : std::nullopt;
  }

  /// Under the next name when something of that name is there: where processes get the same few numbers
  /// again and again, a killed one of the same number may have left it.
  void makeTemporary() {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    const mode_t mode = isOldThere_ ? kOnlyOwner : kNewFile;  // until it has the old one's rights
    for (int attempt = 0; attempt < kNames; ++attempt) {
      temporary_ = temporaryBeside(file_);
      descriptor_ = FileDescriptor(retryOnEintr([&] { return ::open(temporary_.c_str(), kFlags, mode); }));
      if (descriptor_ || errno != EEXIST) return;
    }
  }

  std::optional<FileFailure> keepOwnerAndRights() {
    struct stat made {};
    if (::fstat(descriptor_.get(), &made) != 0) return fail("examining", temporary_);
    // Another owner can be set by few; the group or nothing at all is the best that others can do.
    const bool isOwnerOther = made.st_uid != old_.st_uid || made.st_gid != old_.st_gid;
    if (isOwnerOther && !setOwner(old_.st_uid) && !setOwner(made.st_uid) && !isForOthersToSet(errno))
      return fail("setting the owner of", temporary_);
    mode_t mode = old_.st_mode & kPermissions;
    if (!copyAttributes(file_, descriptor_.get(), mode)) return fail("setting the attributes of", temporary_);
    if (retryOnEintr([&] { return ::fchmod(descriptor_.get(), mode); }) != 0)
      return fail("setting the permissions of", temporary_);
    return std::nullopt;
  }

  bool setOwner(uid_t owner) const {
    return retryOnEintr([&] { return ::fchown(descriptor_.get(), owner, old_.st_gid); }) == 0;
  }

  /// What processes that were killed while they saved this file have left beside it.
  void removeLeftOvers() const {
    const fs::path folder = folderAbove(file_);
    const std::string beginning = '.' + file_.filename().string() + '.';
    for (const std::string& name : FS::namesIn(folder).value_or(std::vector<std::string>())) {
      if (!name.starts_with(beginning) || !isTemporaryName(name) || isOfAnotherLivingProcess(name, beginning))
        continue;
      const fs::path path = folder / name;
      const FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
      if (descriptor && isOld(descriptor.get()) && tryLock(descriptor.get())) ::unlink(path.c_str());
    }
  }

  /// Small pieces are gathered, so that each call to the system has something to do.
  std::optional<FileFailure> write(const PiecedText& content) {
    std::string gathered;
    for (const BasicStringRef piece : content.pieces()) {
      const bool isLarge = piece.size() >= kWorthACall;
      if (isLarge || gathered.size() >= kWorthACall) {
        if (auto failure = write(gathered)) return failure;
        gathered.clear();
      }
      if (!isLarge) {
        gathered += piece;
      } else if (auto failure = write(piece)) {
        return failure;
      }
    }
    return write(gathered);
  }

  std::optional<FileFailure> write(BasicStringRef content) {
    while (!content.empty()) {
      const ssize_t count =
          retryOnEintr([&] { return ::write(descriptor_.get(), content.data(), content.size()); });
      if (count == 0) return failedStep("writing", temporary_, ENOSPC);
      if (count < 0) return fail("writing", temporary_);
      content.remove_prefix(static_cast<std::size_t>(count));
    }
    return std::nullopt;
  }

  std::optional<FileFailure> flushAndClose() {
    if (retryOnEintr([&] { return ::fsync(descriptor_.get()); }) != 0) return fail("flushing", temporary_);
    written_ = identityOf(descriptor_.get());
    // An interrupted close has closed the file, whose content is on the disk already.
    if (::close(descriptor_.release()) != 0 && errno != EINTR) return fail("closing", temporary_);
    return std::nullopt;
  }

  std::optional<FileFailure> flushFolderOfFile() {
    if (flushFolder(folder_.get())) return std::nullopt;
    auto failure = fail("flushing the folder of", file_);
    failure->isReplaced = true;
    return failure;
  }

  fs::path file_;
  bool isVersionGiven_ = false;
  std::optional<FileIdentity> version_;
  fs::path temporary_;
  struct stat old_ {};
  bool isOldThere_ = false;
  bool isTemporaryThere_ = false;
  FileDescriptor folder_;
  FileDescriptor descriptor_;
  std::optional<FileIdentity> written_;
};

}  // namespace

std::optional<FileFailure> replaceFile(const fs::path& file, const PiecedText& content) {
  return Replacement(file).run(content);
}

std::optional<FileFailure> replaceVersion(const fs::path& file, const PiecedText& content,
                                          std::optional<FileIdentity>& version) {
  Replacement replacement(file, version);
  std::optional<FileFailure> failure = replacement.run(content);
  version = failure ? std::nullopt : replacement.identity();
  return failure;
}

fs::path temporaryBeside(const fs::path& file) {
  static std::atomic<unsigned> s_count{0};
  const std::string ending =
      '.' + std::to_string(::getpid()) + '-' + std::to_string(++s_count) + std::string(kTemporaryEnding);
  const std::string name = file.filename().string().substr(0, kLongestName - ending.size() - 1);
  return file.parent_path() / ('.' + name + ending);
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

}  // namespace Tal
