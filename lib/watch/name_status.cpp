#include <files/system.h>
#include <watch/name_status.h>

#include <sys/stat.h>

#include <fcntl.h>

namespace Tal::watch {

std::optional<NameStatus> statusOf(int folder, const std::string& name) {
  struct stat found {};
  if (files::system().fstatat(folder, name.c_str(), found, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  const bool isLink = S_ISLNK(found.st_mode);
  if (isLink && files::system().fstatat(folder, name.c_str(), found, 0) != 0) return std::nullopt;
  return NameStatus{.identity = files::identityIn(found),
                    .isFile = S_ISREG(found.st_mode),
                    .isFolder = S_ISDIR(found.st_mode),
                    .isLink = isLink,
                    .hasOtherNames = found.st_nlink > 1};
}

}  // namespace Tal::watch
