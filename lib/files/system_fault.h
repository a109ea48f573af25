#pragma once

#include <core/result.h>

#include <filesystem>

namespace Tal::files {

/// The fault of a step with a file that failed with the errno `code`: "flushing" and the path, for one.
Fault failedStep(const char* step, const std::filesystem::path& path, int code);

/// The same of reading a file that the message names anyway: "cannot open the file".
Fault failedReading(const char* what, int code);

}  // namespace Tal::files
