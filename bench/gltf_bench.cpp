// Reading the JSON of a glTF document, all checks of it included, against a bare parse of the same text by
// the same library: the time that it takes, and the most memory that it holds at any moment.

#include <malloc.h>
#include <model/gltf/check.h>
#include <model/gltf/document.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <new>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/rounds.h"

namespace {

std::size_t s_bytesInUse = 0;
std::size_t s_mostInUse = 0;

}  // namespace

// What the process asks of the heap is counted here.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  s_bytesInUse += ::malloc_usable_size(memory);
  s_mostInUse = std::max(s_mostInUse, s_bytesInUse);
  return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  s_bytesInUse -= ::malloc_usable_size(memory);
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

namespace {

constexpr int kRounds = 21;
constexpr double kPromise = 3.0;

struct Text {
  std::string name;
  std::string json;
};

std::string repeated(const std::string& element, int count) {
  std::string list;
  for (int index = 0; index < count; ++index) list += (index == 0 ? "" : ",") + element;
  return list;
}

/// A document with the given lists in front of one mesh that is shown.
std::string documentOf(const std::string& members) {
  return R"({"asset":{"version":"2.0"},)" + members + "}";
}

const std::string kNode =
    R"({"name":"wall_straight_window","mesh":0,"translation":[12.5,0,-3.25],"rotation":[0,0.7071068,0,0.7071068],)"
    R"("scale":[1,1,1]})";
const std::string kAccessor =
    R"({"bufferView":0,"byteOffset":0,"componentType":5126,"count":8,"type":"VEC3","min":[0,0,0],"max":[1,1,1]})";
const std::string kMesh =
    R"({"name":"wall","primitives":[{"attributes":{"NORMAL":0,"POSITION":0,"TEXCOORD_0":0},"material":0}]})";
const std::string kMaterial =
    R"({"name":"n_wall_1","doubleSided":true,"pbrMetallicRoughness":{"baseColorFactor":[0.8,0.7,0.6,1],)"
    R"("roughnessFactor":0.9}})";
const std::string kRest = R"("buffers":[{"byteLength":96}],"bufferViews":[{"buffer":0,"byteLength":96}])";

/// The documents of a city in one file, of a modelling program that writes much into extras, and one of
/// nothing but the shortest elements that there are.
std::vector<Text> texts() {
  constexpr int kCount = 20'000;
  constexpr int kShortCount = 400'000;
  const auto list = [](const std::string& name, const std::string& element, int count) {
    return '"' + name + "\":[" + repeated(element, count) + "],";
  };
  const std::string meshes = list("accessors", kAccessor, kCount) + list("meshes", kMesh, kCount) +
                             list("materials", kMaterial, kCount);
  const std::string described =
      R"({"mesh":0,"extras":{"id":"0f8a1c","tags":["a","b","c"],"history":[{"user":"x","at":1},{"user":"y","at":2}]}})";
  return {{"city", documentOf(list("nodes", kNode, 2 * kCount) + meshes + kRest)},
          {"extras", documentOf(list("nodes", described, 2 * kCount) + list("meshes", kMesh, 1) +
                                list("materials", kMaterial, 1) + list("accessors", kAccessor, 1) + kRest)},
          {"empty nodes", documentOf(list("nodes", "{}", kShortCount) + kRest)}};
}

void readBare(const std::string& text) {
  const auto tree = nlohmann::json::parse(text);
  if (!tree.is_object()) throw std::runtime_error("a text is no object");
}

void readDocument(const std::string& text) {
  Tal::GltfDocument document;
  Tal::Result<void> done;
  {
    const auto tree = Tal::GltfTree::parse(text);
    if (!tree) throw std::runtime_error(textOf(tree.fault()));
    done = Tal::readGltfJson(*tree, document);
    if (done) done = Tal::checkGltf(document);
  }
  if (!done) throw std::runtime_error(textOf(done.fault()));
}

/// The most bytes that a call holds at once of what it takes itself.
double memoryOf(const std::function<void()>& call) {
  const std::size_t before = s_bytesInUse;
  s_mostInUse = before;
  call();
  return static_cast<double>(s_mostInUse - before);
}

void measure(const Text& text, bench::Samples& samples) {
  const auto bare = [&text] { readBare(text.json); };
  const auto ours = [&text] { readDocument(text.json); };
  bench::runRounds({{"time, bare/" + text.name, [&] { return bench::timeOf(bare); }},
                    {"time/" + text.name, [&] { return bench::timeOf(ours); }}},
                   kRounds, samples);
  samples["memory, bare/" + text.name].push_back(memoryOf(bare));
  samples["memory/" + text.name].push_back(memoryOf(ours));
}

}  // namespace

int main() {
  const std::vector<Text> all = texts();
  std::vector<bench::Ratio> ratios;
  for (const Text& text : all) {
    for (const std::string what : {"time", "memory"}) {
      ratios.push_back({text.name + ": " + what + " of reading and checking / of a bare parse",
                        what + "/" + text.name, what + ", bare/" + text.name, kPromise});
    }
  }
  return bench::runComparison(
      [&all](bench::Samples& samples) {
        for (const Text& text : all) measure(text, samples);
      },
      ratios);
}
