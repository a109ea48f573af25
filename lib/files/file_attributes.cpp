#include <core/string_ref.h>
#include <files/file_attributes.h>
#include <files/system.h>
#include <files/system_fault.h>

#include <sys/xattr.h>

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

/// The bytes that a call fills a buffer with. Without a buffer the call gives their size. Empty, with errno,
/// when it fails.
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

/// A file whose attributes are read.
class Source {
 public:
  explicit Source(int file) : file_(file), path_("/proc/self/fd/" + std::to_string(file)) {}

  std::optional<std::string> names() const {
    return filledBy([this](char* buffer, std::size_t size) {
      return byHandleOrPath([&] { return system().flistxattr(file_, buffer, size); },
                            [&] { return system().listxattr(path_.c_str(), buffer, size); });
    });
  }

  std::optional<std::string> attribute(const char* name) const {
    return filledBy([&](char* buffer, std::size_t size) {
      return byHandleOrPath([&] { return system().fgetxattr(file_, name, buffer, size); },
                            [&] { return system().getxattr(path_.c_str(), name, buffer, size); });
    });
  }

 private:
  /// What is open as a path alone has no attributes by its handle.
  template <class ByHandle, class ByPath>
  static std::ptrdiff_t byHandleOrPath(const ByHandle& byHandle, const ByPath& byPath) {
    const std::ptrdiff_t result = byHandle();
    return result < 0 && errno == EBADF ? byPath() : result;
  }

  int file_;
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
  // Beside a list, the group bits of a mode say what others on the list may have.
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

Result<std::uint32_t> copyAttributes(int from, int to, std::uint32_t mode,
                                     const std::filesystem::path& shown) {
  const Source source(from);
  const auto failed = [&shown] { return failedStep("setting the attributes of", shown, errno); };
  const auto names = source.names();
  if (!names && !isToBeLeftOut(errno)) return failed();
  bool hasList = false;
  for (BasicStringRef rest = names ? BasicStringRef(*names) : BasicStringRef(); !rest.empty();) {
    const BasicStringRef found = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(found.size() + 1);
    hasList = hasList || found == kAccessControlList;
    if (found.starts_with(kOfUsers) && !copyAttribute(source, to, found.data())) return failed();
  }
  if (hasList ? copyAccessControlList(source, to, mode) : removeAccessControlList(to)) return mode;
  return failed();
}

}  // namespace Tal::files
