#include <core/display_text.h>
#include <model/gltf/embed.h>
#include <model/gltf/fault.h>
#include <model/gltf_limits.h>

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

namespace Tal {
namespace {

/// The text of a JSON object. The JSON library's own values ask for memory when they go (see GltfJsonOwner).
class ObjectText {
 public:
  void add(BasicStringRef key, std::size_t number) { addObject(key, std::to_string(number)); }
  /// An empty text is left out.
  void add(BasicStringRef key, const std::string& text) {
    if (!text.empty()) addObject(key, nlohmann::json(text).dump());
  }
  /// What is JSON already.
  void addObject(BasicStringRef key, BasicStringRef json) {
    text_ += text_.empty() ? "{\"" : ",\"";
    text_.append(key).append("\":").append(json);
  }
  void addExtension(BasicStringRef name, BasicStringRef json) {
    addObject("extensions", "{\"" + std::string(name).append("\":").append(json) + '}');
  }
  std::string take() { return text_.empty() ? "{}" : std::move(text_) + '}'; }

 private:
  std::string text_;
};

Fault tooLarge() {
  return gltfFault("is larger than 512 MiB with its buffers and images",
                   "make its images smaller, or split the model");
}

std::string mimeTypeOf(BasicStringRef image) {
  if (image.starts_with("\x89PNG")) return "image/png";
  if (image.starts_with("\xff\xd8\xff")) return "image/jpeg";
  if (image.starts_with("\xabKTX 20\xbb")) return "image/ktx2";
  if (image.starts_with("RIFF") && image.substr(0, 12).ends_with("WEBP")) return "image/webp";
  return {};
}

/// Everything that the file consists of, brought together in one buffer.
class Embedding {
 public:
  Embedding(const GltfContainer& container, const GltfSources& sources, GltfDocument& document,
            std::vector<std::string>& warnings)
      : container_(container), sources_(sources), document_(document), warnings_(warnings) {}

  Result<void> run(std::string bytes, const GltfTree& tree) {
    isComposed_ = !container_.isBinary;
    if (auto checked = checkPlaceholders(); !checked) return checked;
    if (auto taken = takeBuffers(); !taken) return taken;
    if (auto taken = takeImages(); !taken) return taken;
    if (isComposed_) {
      moveViews();
      document_.glb = joinGlb(composedText(tree), bin_);
    } else {
      document_.glb = std::move(bytes);
    }
    if (document_.glb.size() > kMaxGltfBytes) return tooLarge();
    return bindViews();
  }

 private:
  bool hasData(std::size_t index) const {
    return document_.buffers[index].uri || (index == 0 && !container_.bin.empty());
  }

  /// What holds no data is only there for views whose bytes are compressed elsewhere.
  Result<void> checkPlaceholders() {
    const auto missing = [](std::size_t buffer) {
      return gltfFault("has no data for its buffer number " + std::to_string(buffer));
    };
    for (const GltfBufferView& view : document_.views) {
      if (!view.meshopt && !hasData(view.buffer)) return missing(view.buffer);
      if (view.meshopt && !hasData(view.meshopt->buffer)) return missing(view.meshopt->buffer);
    }
    return {};
  }

  Result<void> takeBuffers() {
    std::size_t announced = 0;
    std::size_t withData = 0;
    for (std::size_t index = 0; index < document_.buffers.size(); ++index) {
      if (!hasData(index)) continue;
      announced += document_.buffers[index].byteLength;
      ++withData;
      isComposed_ |= document_.buffers[index].uri.has_value();
    }
    if (announced > kMaxGltfBytes) return tooLarge();
    isComposed_ |= withData > 1;
    for (std::size_t index = 0; index < document_.buffers.size(); ++index) {
      begins_.emplace_back();
      if (!hasData(index)) continue;
      auto bytes = bufferBytes(document_.buffers[index]);
      if (!bytes) return std::move(bytes).fault();
      const auto begin = append(*bytes);
      if (!begin) return begin.fault();
      begins_.back() = *begin;
    }
    return {};
  }

  /// The bytes of a buffer, as many as the document announces.
  Result<std::string> bufferBytes(const GltfBuffer& buffer) {
    Result<std::string> bytes = std::string();
    if (buffer.uri) {
      bytes = uriBytes(*buffer.uri, buffer.byteLength);
    } else {
      bytes = std::string(container_.bin.substr(0, buffer.byteLength));
    }
    if (!bytes) return bytes;
    if (bytes->size() < buffer.byteLength) {
      return gltfFault("has a buffer of " + std::to_string(buffer.byteLength) + " bytes of which only " +
                       std::to_string(bytes->size()) + " are there");
    }
    bytes->resize(buffer.byteLength);
    return bytes;
  }

  Result<std::string> uriBytes(const std::string& uri, std::size_t length) {
    if (isDataUri(uri)) return decodedDataUri(uri);
    const auto file = findGltfSource(sources_, uri);
    Result<std::string> bytes = std::string();
    if (file) {
      bytes = readGltfBytes(*file, length);
    } else {
      bytes = file.fault();
    }
    if (bytes) return bytes;
    Fault fault = std::move(bytes).fault();
    fault.what = "needs the file " + quotedName(percentDecoded(uri)) + ", which " + fault.what;
    return fault;
  }

  Result<void> takeImages() {
    for (GltfImage& image : document_.images) {
      if (image.uri.empty() || isDataUri(image.uri)) continue;
      if (auto taken = takeImage(image); !taken) return taken;
    }
    return {};
  }

  void leaveOut(const GltfImage& image, const std::string& why) {
    warnings_.push_back("the image " + quotedName(percentDecoded(image.uri)) + " stays out: it " + why);
  }

  Result<void> takeImage(GltfImage& image) {
    const auto file = findGltfSource(sources_, image.uri);
    if (!file) {
      leaveOut(image, textOf(file.fault()));
      return {};
    }
    const auto bytes = readGltfFile(*file);
    if (!bytes) {
      Fault fault = bytes.fault();
      fault.what = "needs the image " + quotedName(percentDecoded(image.uri)) + ", which " + fault.what;
      return fault;
    }
    const std::string mimeType = mimeTypeOf(*bytes);
    if (mimeType.empty()) {
      leaveOut(image, "is of no format that glTF knows; save it as PNG or JPEG");
      return {};
    }
    isComposed_ = true;
    const auto begin = append(*bytes);
    if (!begin) return begin.fault();
    image.uri.clear();
    image.mimeType = mimeType;
    image.view = static_cast<std::uint32_t>(document_.views.size());
    GltfBufferView view;
    view.buffer = static_cast<std::uint32_t>(document_.buffers.size());  // stands for the joined one
    view.byteOffset = *begin;
    view.byteLength = bytes->size();
    document_.views.push_back(std::move(view));
    return {};
  }

  /// Puts bytes behind the others and says where they begin.
  Result<std::size_t> append(BasicStringRef bytes) {
    bin_.resize((bin_.size() + kGlbAlignment - 1) / kGlbAlignment * kGlbAlignment);
    if (bin_.size() + bytes.size() > kMaxGltfBytes) return tooLarge();
    const std::size_t begin = bin_.size();
    bin_ += bytes;
    return begin;
  }

  /// Lets the views show the joined buffer, behind which the placeholders come.
  void moveViews() {
    std::vector<GltfBuffer> buffers;
    if (!bin_.empty()) buffers.push_back({bin_.size()});
    std::vector<std::uint32_t> places;
    for (std::size_t index = 0; index < document_.buffers.size(); ++index) {
      places.push_back(begins_[index] ? 0 : static_cast<std::uint32_t>(buffers.size()));
      if (!begins_[index])
        buffers.push_back({document_.buffers[index].byteLength, {}, document_.buffers[index].fallbackOf});
    }
    places.push_back(0);
    begins_.emplace_back(0);
    const auto move = [&](std::uint32_t& buffer, std::size_t& offset) {
      offset += begins_[buffer].value_or(0);
      buffer = places[buffer];
    };
    for (GltfBufferView& view : document_.views) {
      move(view.buffer, view.byteOffset);
      if (view.meshopt) move(view.meshopt->buffer, view.meshopt->byteOffset);
    }
    document_.buffers = std::move(buffers);
  }

  static std::string bufferText(const GltfBuffer& buffer) {
    ObjectText text;
    text.add("byteLength", buffer.byteLength);
    if (!buffer.fallbackOf.empty()) text.addExtension(buffer.fallbackOf, R"({"fallback":true})");
    return text.take();
  }

  static std::string meshoptText(const GltfMeshopt& meshopt) {
    ObjectText form;
    form.add("buffer", meshopt.buffer);
    form.add("byteOffset", meshopt.byteOffset);
    form.add("byteLength", meshopt.byteLength);
    form.add("byteStride", meshopt.byteStride);
    form.add("count", meshopt.count);
    form.add("mode", meshopt.mode);
    form.add("filter", meshopt.filter);
    return form.take();
  }

  static std::string viewText(const GltfBufferView& view) {
    ObjectText text;
    text.add("buffer", view.buffer);
    text.add("byteOffset", view.byteOffset);
    text.add("byteLength", view.byteLength);
    if (view.byteStride != 0) text.add("byteStride", view.byteStride);
    if (view.target) text.add("target", *view.target);
    if (view.meshopt) text.addExtension(view.meshopt->extension, meshoptText(*view.meshopt));
    return text.take();
  }

  static std::string imageText(const GltfImage& image) {
    ObjectText text;
    text.add("name", image.name);
    text.add("uri", image.uri);
    text.add("mimeType", image.mimeType);
    if (image.view) text.add("bufferView", *image.view);
    return text.take();
  }

  template <class Element>
  static std::string listText(const std::vector<Element>& elements, std::string (*textOf)(const Element&)) {
    std::string text;
    for (const Element& element : elements) text += (text.empty() ? '[' : ',') + textOf(element);
    return text.empty() ? text : text + ']';
  }

  /// The source's text with the three lists exchanged.
  std::string composedText(const GltfTree& tree) const {
    struct Exchange {
      std::size_t end;
      std::string text;
    };
    std::multimap<std::size_t, Exchange> exchanges;  // by where they begin
    const auto exchange = [&](const std::string& name, const std::string& list) {
      if (list.empty()) return;
      if (const auto range = tree.rangeOf(name)) {
        exchanges.emplace(range->begin, Exchange{range->end, list});
      } else {
        exchanges.emplace(tree.bodyBegin(), Exchange{tree.bodyBegin(), '"' + name + "\":" + list + ','});
      }
    };
    exchange("buffers", listText(document_.buffers, bufferText));
    exchange("bufferViews", listText(document_.views, viewText));
    exchange("images", listText(document_.images, imageText));
    std::string text;
    std::size_t place = 0;
    for (const auto& [begin, one] : exchanges) {
      text += container_.json.substr(place, begin - place);
      text += one.text;
      place = one.end;
    }
    text += container_.json.substr(place);
    return text;
  }

  Result<void> bindViews() {
    const auto container = splitGltf(document_.glb);
    if (!container) return container.fault();
    document_.bin = container->bin;
    for (GltfBufferView& view : document_.views)
      if (!view.meshopt) view.bytes = document_.bin.substr(view.byteOffset, view.byteLength);
    return {};
  }

  const GltfContainer& container_;
  const GltfSources& sources_;
  GltfDocument& document_;
  std::vector<std::string>& warnings_;
  std::vector<std::optional<std::size_t>> begins_;  // of the buffers in the joined one; none without data
  std::string bin_;
  bool isComposed_ = false;
};

}  // namespace

Result<void> embedGltfData(std::string bytes, const GltfContainer& container, const GltfTree& tree,
                           const GltfSources& sources, GltfDocument& document,
                           std::vector<std::string>& warnings) {
  return Embedding(container, sources, document, warnings).run(std::move(bytes), tree);
}

}  // namespace Tal
