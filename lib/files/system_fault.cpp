#include <core/display_text.h>
#include <core/string_ref.h>
#include <files/system_fault.h>

#include <cerrno>
#include <cstring>

namespace Tal::files {
namespace {

BasicStringRef remedyFor(int code) {
  switch (code) {
    case ENOSPC:
    case EDQUOT:
      return "free some space";
    case EACCES:
    case EPERM:
    case EROFS:
      return "make the file and its folder readable and writable";
    case ENOENT:
    case ENOTDIR:
      return "make the folder";
    case EISDIR:
      return "move the folder of that name away";
    case EEXIST:
      return "move the file of that name away";
    case EFBIG:
      return "raise the limit on the size of files";
    case EIO:
    case ENXIO:
    case ENODEV:
      return "check the disk";
    case EMFILE:
      return "close some files or raise the limit (ulimit -n)";
    case ENFILE:
    case ENOMEM:
      return "close some programs";
    case EBUSY:
    case ETXTBSY:
      return "let go of what is mounted or running there";
    case EAGAIN:
      return "wait until the other program lets go of it";
    case ENAMETOOLONG:
      return "shorten the path of the file";
    default:
      return "remove the cause";
  }
}

BasicStringRef readingRemedyFor(int code) {
  switch (code) {
    case EACCES:
    case EPERM:
      return "make it readable";
    case ENOENT:
    case ENOTDIR:
      return "put it there";
    default:
      return remedyFor(code);
  }
}

}  // namespace

Fault failedStep(const char* step, const std::filesystem::path& path, int code) {
  return {FaultKind::system, std::string(step) + ' ' + quotedName(path.native()) + ": " + std::strerror(code),
          std::string(remedyFor(code))};
}

Fault failedReading(const char* what, int code) {
  return {FaultKind::system, std::string(what) + ": " + std::strerror(code),
          std::string(readingRemedyFor(code))};
}

}  // namespace Tal::files
