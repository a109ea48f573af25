#include <core/display_text.h>
#include <files/path_links.h>
#include <model/gltf_container.h>
#include <model/gltf_embed.h>
#include <model/gltf_fault.h>
#include <model/gltf_file.h>
#include <tiny_gltf.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>

namespace Tal {
namespace {

using nlohmann::json;

constexpr BasicStringRef kDataScheme = "data:";

bool isDataUri(BasicStringRef uri) {
  return uri.starts_with(kDataScheme);
}

int hexDigit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return -1;
}

std::string percentDecoded(BasicStringRef uri) {
  std::string decoded;
  for (std::size_t index = 0; index < uri.size(); ++index) {
    const bool isEscape = uri[index] == '%' && uri.size() - index > 2 && hexDigit(uri[index + 1]) >= 0 &&
                          hexDigit(uri[index + 2]) >= 0;
    if (!isEscape) {
      decoded += uri[index];
      continue;
    }
    decoded += static_cast<char>(hexDigit(uri[index + 1]) * 16 + hexDigit(uri[index + 2]));
    index += 2;
  }
  return decoded;
}

/// Whether the path, as it is written, stays below its folder; links on it are not looked at.
bool isPlainRelative(const std::filesystem::path& path) {
  return !path.empty() && path.is_relative() && std::none_of(path.begin(), path.end(), [](const auto& step) {
    return step == ".." || step.native().find('\\') != std::string::npos;
  });
}

/// The file that a URI names; empty when it is not there. Throws when it lies outside the folder.
std::optional<std::filesystem::path> findBeside(const std::filesystem::path& folder, BasicStringRef uri) {
  const std::string name = percentDecoded(uri);
  const bool isPlainName =
      name.find(':') == std::string::npos && name.find('\0') == std::string::npos && isPlainRelative(name);
  if (!isPlainName) {
    throw GltfFault("names the file " + quotedName(uri) + ", which is not one below its own folder");
  }
  const std::filesystem::path file = files::resolvedPath(folder / name);
  if (file.empty()) return std::nullopt;
  const std::filesystem::path base = files::resolvedPath(folder);
  if (base.empty() || !files::isPathBelow(file, base)) {
    throw GltfFault("names the file " + quotedName(uri) + ", which a link leads out of its own folder");
  }
  return file;
}

[[noreturn]] void throwTooLarge() {
  throw GltfFault("is larger than 512 MiB with its buffers and images");
}

/// Everything that the file consists of, brought together in one buffer.
class Embedding {
 public:
  Embedding(const GltfContainer& container, const std::filesystem::path& folder,
            std::vector<std::string>& warnings)
      : container_(container), folder_(folder), warnings_(warnings), root_(json::parse(container.json)) {}

  std::string run(BasicStringRef bytes) {
    takeBuffers();
    takeImages();
    if (container_.isBinary && !isChanged_) return std::string(bytes);
    if (!bin_.empty()) root_["buffers"] = json::array({{{"byteLength", bin_.size()}}});
    std::string glb = joinGlb(root_.dump(), bin_);
    if (glb.size() > kMaxGltfBytes) throwTooLarge();
    return glb;
  }

 private:
  void takeBuffers() {
    const auto buffers = root_.find("buffers");
    if (buffers == root_.end()) return;
    std::size_t announced = 0;
    for (const json& buffer : *buffers) announced += buffer["byteLength"].get<std::size_t>();
    if (announced > kMaxGltfBytes) throwTooLarge();
    std::vector<std::size_t> begins;
    for (std::size_t index = 0; index < buffers->size(); ++index) {
      begins.push_back(append(bufferBytes((*buffers)[index], index)));
    }
    if (begins.size() > 1) isChanged_ = true;
    const auto views = root_.find("bufferViews");
    if (!isChanged_ && container_.isBinary) return;
    if (views == root_.end()) return;
    for (json& view : *views) {
      view["byteOffset"] =
          view.value("byteOffset", std::size_t{0}) + begins[view["buffer"].get<std::size_t>()];
      view["buffer"] = 0;
    }
  }

  /// The bytes of a buffer, as many as the document announces.
  std::string bufferBytes(const json& buffer, std::size_t index) {
    const auto length = buffer["byteLength"].get<std::size_t>();
    std::string bytes = buffer.contains("uri") ? uriBytes(buffer["uri"].get_ref<const std::string&>(), length)
                                               : ownBytes(index);
    if (bytes.size() < length) {
      throw GltfFault("has a buffer of " + std::to_string(length) + " bytes of which only " +
                      std::to_string(bytes.size()) + " are there");
    }
    bytes.resize(length);
    return bytes;
  }

  std::string ownBytes(std::size_t index) const {
    if (index == 0 && !container_.bin.empty()) return std::string(container_.bin);
    throw GltfFault("has no data for its buffer number " + std::to_string(index));
  }

  std::string uriBytes(const std::string& uri, std::size_t length) {
    isChanged_ = true;
    if (isDataUri(uri)) return decodedData(uri);
    const auto file = findBeside(folder_, uri);
    if (!file) {
      throw GltfFault("needs the file " + quotedName(percentDecoded(uri)) + ", which is not beside it");
    }
    return readGltfBytes(*file, length, "needs the file " + quotedName(percentDecoded(uri)) + ", which ");
  }

  static std::string decodedData(const std::string& uri) {
    std::vector<unsigned char> data;
    std::string mimeType;
    if (!tinygltf::DecodeDataURI(&data, mimeType, uri, 0, false)) {
      throw GltfFault("has a data URI that cannot be decoded");
    }
    return {data.begin(), data.end()};
  }

  void takeImages() {
    const auto images = root_.find("images");
    if (images == root_.end()) return;
    for (json& image : *images) {
      const auto found = image.find("uri");
      if (found == image.end() || isDataUri(found->get_ref<const std::string&>())) continue;
      takeImage(image, found->get<std::string>());
    }
  }

  void takeImage(json& image, const std::string& uri) {
    const auto file = findBeside(folder_, uri);
    if (!file) {
      warnings_.push_back("the image " + quotedName(percentDecoded(uri)) +
                          " is not beside the file and stays out");
      return;
    }
    const std::string bytes =
        readGltfFile(*file, "needs the image " + quotedName(percentDecoded(uri)) + ", which ");
    const std::string mimeType = mimeTypeOf(bytes);
    if (mimeType.empty()) {
      warnings_.push_back("the image " + quotedName(percentDecoded(uri)) +
                          " is of no format that glTF knows and stays out");
      return;
    }
    isChanged_ = true;
    const std::size_t begin = append(bytes);
    json& views = root_["bufferViews"];
    image.erase("uri");
    image["mimeType"] = mimeType;
    image["bufferView"] = views.size();
    views.push_back({{"buffer", 0}, {"byteOffset", begin}, {"byteLength", bytes.size()}});
  }

  static std::string mimeTypeOf(BasicStringRef image) {
    if (image.starts_with("\x89PNG")) return "image/png";
    if (image.starts_with("\xff\xd8\xff")) return "image/jpeg";
    if (image.starts_with("\xabKTX 20\xbb")) return "image/ktx2";
    if (image.starts_with("RIFF") && image.substr(0, 12).ends_with("WEBP")) return "image/webp";
    return {};
  }

  /// Puts bytes behind the others and says where they begin.
  std::size_t append(BasicStringRef bytes) {
    bin_.resize((bin_.size() + kGlbAlignment - 1) / kGlbAlignment * kGlbAlignment);
    if (bin_.size() + bytes.size() > kMaxGltfBytes) {
      throwTooLarge();
    }
    const std::size_t begin = bin_.size();
    bin_ += bytes;
    return begin;
  }

  const GltfContainer& container_;
  const std::filesystem::path& folder_;
  std::vector<std::string>& warnings_;
  json root_;
  std::string bin_;
  bool isChanged_ = false;
};

}  // namespace

std::string embedGltfData(const GltfContainer& container, BasicStringRef bytes,
                          const std::filesystem::path& folder, std::vector<std::string>& warnings) {
  return Embedding(container, folder, warnings).run(bytes);
}

}  // namespace Tal
