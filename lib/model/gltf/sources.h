#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace Tal {

/// Which files a glTF file may refer to: those below its own folder or below an allowed one, links resolved.
struct GltfSources {
  std::filesystem::path folder;                ///< the file's own; relative names begin there
  std::vector<std::filesystem::path> allowed;  ///< more folders
};

/// The file that a URI names; FaultKind::missing when it does not exist, another fault when it may not be
/// read. The fault's text follows the file's name. Usable on any thread, as is everything here.
Result<std::filesystem::path> findGltfSource(const GltfSources& sources, BasicStringRef uri);

/// The content of a regular file of at most kMaxGltfBytes; a larger one is not read. The fault's text follows
/// the file's name ("is not a regular file").
Result<std::string> readGltfFile(const std::filesystem::path& file);

/// The first `most` bytes of a regular file of any size, or all when it has fewer.
Result<std::string> readGltfBytes(const std::filesystem::path& file, std::size_t most);

/// Whether a URI contains its data.
bool isDataUri(BasicStringRef uri);

/// The bytes of a data URI, in base64 or percent-encoded. A fault when they cannot be decoded.
Result<std::string> decodedDataUri(BasicStringRef uri);

/// A URI without percent-encoding.
std::string percentDecoded(BasicStringRef uri);

}  // namespace Tal
