#include <core/string_ref.h>
#include <files/file_attributes.h>
#include <files/file_descriptor.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>

#include <sys/xattr.h>

#include <fcntl.h>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

namespace Tal::files {
namespace {

constexpr const char* kAccessControlList = "system.posix_acl_access";
constexpr BasicStringRef kOfUsers = "user.";
constexpr std::uint32_t kGroupRights = 0070;

/// Whether an error only says that an attribute cannot be there, or not for whoever saves.
bool isToBeLeftOut(int code) noexcept {
  switch (code) {
    case ENODATA:
    case ENOENT:  // with its file
    case ENOTDIR:
    case ENOTSUP:
    case ENOSYS:
    case EINVAL:  // a user of the list whom this system does not know
    case EACCES:
    case EPERM:
      return true;
    default:
      return false;
  }
}

/// What a call that fills a buffer gives, whose size it tells when there is none; empty, with errno, when it
/// fails.
template <class Call>
std::optional<std::string> filledBy(const Call& call) {
  for (;;) {
    std::string buffer;
    ssize_t size = call(nullptr, std::size_t{0});
    if (size < 0) return std::nullopt;
    buffer.resize(static_cast<std::size_t>(size));
    if (size > 0) size = call(buffer.data(), buffer.size());
    if (size < 0 && errno == ERANGE) continue;  // it has grown meanwhile
    if (size < 0) return std::nullopt;
    buffer.resize(static_cast<std::size_t>(size));
    return buffer;
  }
}

/// A file whose attributes are read, opened so that no other one can be put in its place meanwhile.
class Source {
 public:
  Source(int folder, const std::string& name) {
    const auto open = [&](int flags) {
      return FileDescriptor(retryOnEintr(
          [&] { return system().openat(folder, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, 0); }));
    };
    file_ = open(O_RDONLY | O_NONBLOCK);
    isReadable_ = static_cast<bool>(file_);
    if (isReadable_ || errno != EACCES) return;
    file_ = open(O_PATH);
    path_ = "/proc/self/fd/" + std::to_string(file_.get());
  }

  /// False, with errno, when it could not be opened.
  explicit operator bool() const noexcept { return static_cast<bool>(file_); }

  std::optional<std::string> names() const {
    return filledBy([this](char* buffer, std::size_t size) {
      return isReadable_ ? system().flistxattr(file_.get(), buffer, size)
                         : system().listxattr(path_.c_str(), buffer, size);
    });
  }

  std::optional<std::string> attribute(const char* name) const {
    return filledBy([&](char* buffer, std::size_t size) {
      return isReadable_ ? system().fgetxattr(file_.get(), name, buffer, size)
                         : system().getxattr(path_.c_str(), name, buffer, size);
    });
  }

 private:
  FileDescriptor file_;
  bool isReadable_ = false;
  std::string path_;
};

bool setAttribute(int file, const char* name, const std::string& value) {
  return system().fsetxattr(file, name, value.data(), value.size()) == 0;
}

/// What an access control list, as the system hands it out, gives the owning group, as bits of a mode: a
/// number for its version, and entries of a kind, rights and a number.
std::uint32_t groupRightsIn(BasicStringRef list) {
  constexpr std::size_t kEntry = 8;
  constexpr std::uint16_t kOwningGroup = 0x04;
  for (std::size_t at = 4; at + kEntry <= list.size(); at += kEntry) {
    std::uint16_t kind = 0;
    std::uint16_t rights = 0;
    std::memcpy(&kind, list.data() + at, sizeof(kind));
    std::memcpy(&rights, list.data() + at + sizeof(kind), sizeof(rights));
    if (kind == kOwningGroup) return std::uint32_t{rights} << 3U;
  }
  return 0;
}

bool copyAccessControlList(const Source& from, int to, std::uint32_t& mode) {
  const auto list = from.attribute(kAccessControlList);
  if (list && setAttribute(to, kAccessControlList, *list)) return true;
  if (!isToBeLeftOut(errno)) return false;
  // Beside a list, a mode tells of the group what others on the list may have.
  if (list) mode &= ~kGroupRights | groupRightsIn(*list);
  return !list || system().fremovexattr(to, kAccessControlList) == 0 || isToBeLeftOut(errno);
}

bool removeAccessControlList(int file) {
  const bool isThere = system().fgetxattr(file, kAccessControlList, nullptr, 0) > 0;
  return !isThere || system().fremovexattr(file, kAccessControlList) == 0 || isToBeLeftOut(errno);
}

bool copyAttribute(const Source& from, int to, const char* name) {
  const auto value = from.attribute(name);
  return (value && setAttribute(to, name, *value)) || isToBeLeftOut(errno);
}

}  // namespace

bool copyAttributes(int folder, const std::string& name, int to, std::uint32_t& mode) {
  const Source source(folder, name);
  if (!source) return isToBeLeftOut(errno);
  const auto names = source.names();
  if (!names && !isToBeLeftOut(errno)) return false;
  bool hasList = false;
  for (BasicStringRef rest = names ? BasicStringRef(*names) : BasicStringRef(); !rest.empty();) {
    const BasicStringRef found = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(found.size() + 1);
    hasList = hasList || found == kAccessControlList;
    if (found.starts_with(kOfUsers) && !copyAttribute(source, to, found.data())) return false;
  }
  return hasList ? copyAccessControlList(source, to, mode) : removeAccessControlList(to);
}

}  // namespace Tal::files
