#include <fuzz/fuzz_support.h>
#include <fuzz/json_mutation.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <string_view>

namespace fuzz {
namespace {

using nlohmann::json;

/// Values that a member of the given name could be meant to have, or that it hardly could.
constexpr const char* kValues[] = {
    "null",
    "true",
    "0",
    "1",
    "-1",
    "2",
    "3",
    "4",
    "16",
    "255",
    "256",
    "5120",
    "5121",
    "5123",
    "5125",
    "5126",
    "65536",
    "2147483647",
    "2147483648",
    "4294967295",
    "9223372036854775807",
    "18446744073709551615",
    "0.5",
    "-0.0",
    "1e38",
    "1e39",
    "1e300",
    R"("")",
    R"("VEC3")",
    R"("SCALAR")",
    R"("MAT4")",
    R"("in.bin")",
    R"("../in.bin")",
    R"("data:;base64,AAAA")",
    R"("data:application/octet-stream;base64,AAAAAAAAgD8AAIA/AACAPwAAgD8AAAAA")",
    R"("HP_1")",
    R"("BSP_1")",
    R"("n_a_1")",
    R"("a\u0001")",
    R"("2.0")",
    "[]",
    "{}",
    "[0]",
    "[0,0]",
    "[1,2,3]",
    "[0,0,0,1]",
    "[1,0,0,0,0,1,0,0,0,0,1,0,5,6,7,1]",
    R"({"count":1})",
    R"({"POSITION":0})"};
constexpr const char* kNames[] = {"accessor",
                                  "accessors",
                                  "attributes",
                                  "asset",
                                  "buffer",
                                  "buffers",
                                  "bufferView",
                                  "bufferViews",
                                  "byteLength",
                                  "byteOffset",
                                  "byteStride",
                                  "bsp",
                                  "children",
                                  "componentType",
                                  "count",
                                  "extensions",
                                  "extensionsRequired",
                                  "extensionsUsed",
                                  "extras",
                                  "indices",
                                  "joints",
                                  "material",
                                  "materialKind",
                                  "materials",
                                  "matrix",
                                  "max",
                                  "mesh",
                                  "meshes",
                                  "min",
                                  "mode",
                                  "name",
                                  "nodes",
                                  "normalized",
                                  "POSITION",
                                  "primitives",
                                  "rotation",
                                  "scale",
                                  "scene",
                                  "scenes",
                                  "skin",
                                  "skins",
                                  "sparse",
                                  "target",
                                  "targets",
                                  "translation",
                                  "type",
                                  "uri",
                                  "values",
                                  "version",
                                  "inverseBindMatrices",
                                  "KHR_draco_mesh_compression",
                                  "KHR_mesh_quantization",
                                  "EXT_meshopt_compression",
                                  "images",
                                  "mimeType",
                                  "animations",
                                  "samplers",
                                  "input",
                                  "output",
                                  "channels",
                                  "skeleton",
                                  "weights",
                                  "cameras",
                                  "sampler"};

/// Changes a document by its values.
class Mutation {
 public:
  Mutation(json root, unsigned seed) : root_(std::move(root)), random_(seed) {}

  json run() {
    json& value = anyValue(root_);
    switch (below(6)) {
      case 0:
      case 1:
        value = json::parse(kValues[below(std::size(kValues))]);
        break;
      case 2:
        value = json(anyValue(root_));
        break;
      case 3:
        if (value.is_object()) {
          value[kNames[below(std::size(kNames))]] = json::parse(kValues[below(std::size(kValues))]);
        } else if (value.is_array()) {
          value.push_back(value.empty() ? json(below(4)) : json(value[below(value.size())]));
        } else if (value.is_number_integer()) {
          value = value.get<std::uint64_t>() + (below(2) == 0 ? 1U : ~std::uint64_t{0});
        }
        break;
      case 4:
        if (value.is_structured() && !value.empty()) {
          auto element = value.begin();
          std::advance(element, below(value.size()));
          value.erase(element);
        }
        break;
      default:
        if (value.is_object()) value[kNames[below(std::size(kNames))]] = json(anyValue(root_));
        break;
    }
    return std::move(root_);
  }

 private:
  std::size_t below(std::size_t end) { return random_() % end; }

  json& anyValue(json& value) {
    if (!value.is_structured() || value.empty() || below(8) == 0) return value;
    auto element = value.begin();
    std::advance(element, below(value.size()));
    return anyValue(*element);
  }

  json root_;
  std::minstd_rand random_;
};

}  // namespace

std::size_t mutateJson(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string_view document = Input(text).document;
  if (seed % 4 < 2) return mutateBytes(data, size, maxSize, seed % 4 == 0);
  json root = json::parse(document, nullptr, false);
  if (root.is_discarded()) return mutateBytes(data, size, maxSize, false);
  std::string changed =
      Mutation(std::move(root), seed / 4).run().dump(-1, ' ', false, json::error_handler_t::replace);
  changed += text.substr(document.size());
  if (changed.size() > maxSize) return mutateBytes(data, size, maxSize, false);
  std::copy(changed.begin(), changed.end(), data);
  return changed.size();
}

}  // namespace fuzz
