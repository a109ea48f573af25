#include <core/string_ref.h>
#include <resources/file_attributes.h>

#include <sys/xattr.h>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>

namespace Tal {
namespace {

constexpr const char* kAccessControlList = "system.posix_acl_access";
constexpr BasicStringRef kOfUsers = "user.";

bool isToBeLeftOut(int code) noexcept {
  const bool isGone = code == ENODATA || code == ENOENT || code == ENOTDIR;  // perhaps with its file
  return isGone || code == ENOTSUP || code == EACCES || code == EPERM;
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

bool copyAttribute(const std::filesystem::path& from, int to, const char* name) {
  const auto value =
      filledBy([&](char* buffer, std::size_t size) { return ::getxattr(from.c_str(), name, buffer, size); });
  const bool isCopied = value && ::fsetxattr(to, name, value->data(), value->size(), 0) == 0;
  return isCopied || isToBeLeftOut(errno);
}

}  // namespace

bool copyAttributes(const std::filesystem::path& from, int to) {
  const auto names =
      filledBy([&](char* buffer, std::size_t size) { return ::listxattr(from.c_str(), buffer, size); });
  if (!names && !isToBeLeftOut(errno)) return false;
  bool hasList = false;
  for (BasicStringRef rest = names ? BasicStringRef(*names) : BasicStringRef(); !rest.empty();) {
    const BasicStringRef name = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(name.size() + 1);
    const bool isList = name == kAccessControlList;
    if ((isList || name.starts_with(kOfUsers)) && !copyAttribute(from, to, name.data())) return false;
    hasList = hasList || isList;
  }
  return hasList || ::fremovexattr(to, kAccessControlList) == 0 || isToBeLeftOut(errno);
}

}  // namespace Tal
