#pragma once

#include <cerrno>
#include <map>
#include <string>

namespace durability {

/// What the message of a failed save tells a person to do about a reason of the system.
inline std::string instructionFor(int code) {
  static const std::map<int, std::string> instructions = {
      {ENOSPC, "free some space"},
      {EDQUOT, "free some space"},
      {EACCES, "make the file and its folder readable and writable"},
      {EPERM, "make the file and its folder readable and writable"},
      {EROFS, "make the file and its folder readable and writable"},
      {EIO, "check the disk"},
      {EMFILE, "close some files or raise the limit (ulimit -n)"},
  };
  return "; " + instructions.at(code) + " and save again";
}

}  // namespace durability
