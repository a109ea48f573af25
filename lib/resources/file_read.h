#pragma once

#include <resources/file_identity.h>
#include <resources/xml_tree.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace Tal {

struct FileContent {
  Xml::Source bytes;
  FileIdentity identity;  ///< of the version that the bytes are
};

/// Reads a whole regular file of at most `largest` bytes. Returns why that failed, with what to do; empty
/// when it succeeded.
std::string readFile(const std::filesystem::path& file, std::size_t largest, FileContent& content);

}  // namespace Tal
