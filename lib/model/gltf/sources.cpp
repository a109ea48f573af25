#include <core/display_text.h>
#include <files/file_read.h>
#include <files/path_links.h>
#include <files/place_status.h>
#include <files/system.h>
#include <model/gltf/fault.h>
#include <model/gltf/sources.h>
#include <model/gltf_limits.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>

namespace Tal {
namespace {

namespace fs = std::filesystem;

constexpr BasicStringRef kDataScheme = "data:";
constexpr BasicStringRef kFileScheme = "file:";
constexpr const char* kAllowRemedy =
    "allow its folder with --source-root, or put it below that of the glTF file";

/// The size of a regular file.
Result<std::size_t> sizeOfSource(const fs::path& file) {
  const files::PlaceStatus status = files::statusOf({".", file});
  switch (status.kind) {
    case files::PlaceStatus::Kind::file:
      return static_cast<std::size_t>(status.identity->size);
    case files::PlaceStatus::Kind::other:
      return Fault{FaultKind::refused, "is not a regular file", "name a file"};
    case files::PlaceStatus::Kind::unknown:
      return Fault{FaultKind::system, "cannot be examined: " + std::generic_category().message(status.code),
                   "see that the file can be read"};
    case files::PlaceStatus::Kind::deadLink:
    case files::PlaceStatus::Kind::nothing:
      break;
  }
  return Fault{FaultKind::missing, "does not exist", "check its name"};
}

/// The byte that two hexadecimal digits name; empty when a text is anything else.
std::optional<char> byteOf(BasicStringRef digits) {
  unsigned byte = 0;
  const char* const end = digits.data() + digits.size();
  const bool isByte = digits.size() == 2 && std::from_chars(digits.data(), end, byte, 16).ptr == end;
  return isByte ? std::optional(static_cast<char>(byte)) : std::nullopt;
}

/// The scheme of a URI with its colon; empty when it has none, like "textures/wall.png". A single letter is
/// a drive of a path.
BasicStringRef schemeOf(BasicStringRef uri) {
  const std::size_t colon = uri.find(':');
  if (colon == BasicStringRef::npos || colon < 2) return {};
  const BasicStringRef scheme = uri.substr(0, colon);
  const bool isScheme = std::all_of(scheme.begin(), scheme.end(), [](char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '+' || character == '-' ||
           character == '.';
  });
  return isScheme ? uri.substr(0, colon + 1) : BasicStringRef();
}

/// The path behind "file:"; "file:///a", "file://localhost/a" and "file:/a" are one.
BasicStringRef pathOfFileUri(BasicStringRef uri) {
  uri.remove_prefix(kFileScheme.size());
  if (!uri.starts_with("//")) return uri;
  uri.remove_prefix(2);
  return uri.substr(std::min(uri.find('/'), uri.size()));
}

/// Whether a path without "." and ".." lies below one of the folders.
bool isAllowed(const GltfSources& sources, const fs::path& path) {
  const auto holds = [&path](const fs::path& folder) {
    const fs::path resolved = files::resolvedPath(folder);
    return !resolved.empty() && files::isPathBelow(path, resolved);
  };
  return holds(sources.folder) || std::any_of(sources.allowed.begin(), sources.allowed.end(), holds);
}

std::optional<unsigned> base64Value(char character) {
  static constexpr BasicStringRef kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  static const auto s_values = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(64);
    for (std::size_t value = 0; value < kDigits.size(); ++value)
      values[static_cast<unsigned char>(kDigits[value])] = static_cast<std::uint8_t>(value);
    values['-'] = 62;  // of the alphabet for URLs
    values['_'] = 63;
    return values;
  }();
  const unsigned value = s_values[static_cast<unsigned char>(character)];
  return value < 64 ? std::optional(value) : std::nullopt;
}

std::optional<std::string> base64Decoded(BasicStringRef text) {
  while (text.ends_with('=')) text.remove_suffix(1);
  if (text.size() % 4 == 1) return std::nullopt;
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3 + 2);
  unsigned bits = 0;
  unsigned bitCount = 0;
  for (const char character : text) {
    const auto value = base64Value(character);
    if (!value) return std::nullopt;
    bits = bits << 6U | *value;
    bitCount += 6;
    if (bitCount < 8) continue;
    bitCount -= 8;
    bytes += static_cast<char>(bits >> bitCount & 0xffU);
  }
  return bytes;
}

}  // namespace

std::string percentDecoded(BasicStringRef uri) {
  std::string decoded;
  decoded.reserve(uri.size());
  for (std::size_t index = 0; index < uri.size(); ++index) {
    const auto byte = uri[index] == '%' ? byteOf(uri.substr(index + 1, 2)) : std::nullopt;
    decoded += byte.value_or(uri[index]);
    if (byte) index += 2;
  }
  return decoded;
}

bool isDataUri(BasicStringRef uri) {
  return uri.starts_with(kDataScheme);
}

Result<std::string> decodedDataUri(BasicStringRef uri) {
  const std::size_t comma = uri.find(',');
  std::optional<std::string> bytes;
  if (comma != BasicStringRef::npos) {
    const BasicStringRef data = uri.substr(comma + 1);
    const bool isBase64 = uri.substr(0, comma).ends_with(";base64");
    bytes = percentDecoded(data);
    if (isBase64) bytes = base64Decoded(*bytes);
  }
  if (bytes) return *std::move(bytes);
  return gltfFault("has a data URI that cannot be decoded");
}

Result<fs::path> findGltfSource(const GltfSources& sources, BasicStringRef uri) {
  const BasicStringRef scheme = schemeOf(uri);
  if (!scheme.empty() && scheme != kFileScheme)
    return Fault{FaultKind::refused, "is on no disk", "download it, and name the file in its place"};
  std::string name = percentDecoded(scheme.empty() ? uri : pathOfFileUri(uri));
  if (name.empty() || name.find('\0') != std::string::npos)
    return Fault{FaultKind::refused, "has no name that a file can have", "name a file"};
  std::replace(name.begin(), name.end(), '\\', '/');
  const fs::path path = sources.folder / name;
  const fs::path file = files::resolvedPath(path);
  if (!file.empty() && isAllowed(sources, file)) return file;
  std::error_code failure;
  const fs::path written = files::system().weaklyCanonical(path.parent_path(), failure) / path.filename();
  if (failure || !isAllowed(sources, written.lexically_normal()))
    return Fault{FaultKind::refused, "lies outside the folder of the glTF file", kAllowRemedy};
  if (!file.empty()) {
    return Fault{FaultKind::refused, "is a link that leads out of the folder of the glTF file",
                 "allow the folder that it leads to with --source-root"};
  }
  return Fault{FaultKind::missing, "is not there", "put it there and import again"};
}

Result<std::string> readGltfFile(const fs::path& file) {
  return readGltfBytes(file, kMaxGltfBytes);
}

Result<std::string> readGltfBytes(const fs::path& file, std::size_t most) {
  const auto size = sizeOfSource(file);
  if (!size) return size.fault();
  if (*size > kMaxGltfBytes)
    return Fault{FaultKind::refused, "is larger than 512 MiB", "make it smaller, or split the model"};
  const auto content = files::readFile(file, kMaxGltfBytes);
  if (!content) return content.fault();
  return std::string(content->bytes.view().substr(0, most));
}

}  // namespace Tal
