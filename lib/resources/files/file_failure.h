#pragma once

#include <filesystem>
#include <string>

namespace Tal {

/// Why something could not be done with a file.
struct FileFailure {
  std::string text;         ///< what was done to what, and the system's reason
  std::string hint;         ///< what a person can do about it
  bool isChanged = false;   ///< nothing was done, since another program has changed the file meanwhile
  bool isReplaced = false;  ///< the file has its new content all the same, but may lose it in a power cut
};

/// A step of writing a file that failed with the errno `code`: "flushing" and the path of the file, for one.
FileFailure failedStep(const char* step, const std::filesystem::path& path, int code);

/// The same of reading one whose path the message names anyway: "cannot open the file".
FileFailure failedReading(const char* what, int code);

}  // namespace Tal
