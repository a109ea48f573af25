#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace Tal {

/// Which files a glTF file may bring along: those below its own folder, or below a folder that the author
/// allows. Every link is followed first.
struct GltfSources {
  std::filesystem::path folder;                ///< the file's own; relative names begin there
  std::vector<std::filesystem::path> allowed;  ///< more folders
};

/// The file that a URI names; FaultKind::missing when it is not there, another fault when it may not be read.
/// The fault goes on from "the file" ("is not beside the glTF file"). Usable on any thread, as is all here.
Result<std::filesystem::path> findGltfSource(const GltfSources& sources, BasicStringRef uri);

/// The whole of a regular file of at most kMaxGltfBytes; a larger one is not read. The fault goes on from the
/// file's name ("is no regular file").
Result<std::string> readGltfFile(const std::filesystem::path& file);

/// The first `most` bytes of a regular file of any size, fewer when it has fewer.
Result<std::string> readGltfBytes(const std::filesystem::path& file, std::size_t most);

/// Whether a URI holds its data itself.
bool isDataUri(BasicStringRef uri);

/// The bytes that a data URI holds: in base64, or as percent-encoded text. A fault when it holds none.
Result<std::string> decodedDataUri(BasicStringRef uri);

/// A URI as a person reads it: without percent-encoding.
std::string percentDecoded(BasicStringRef uri);

}  // namespace Tal
