#include <files/system.h>
#include <gmock/gmock.h>
#include <support/faulty_system.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <utility>

#include "gltf_builder.h"
#include "gltf_damage.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using support::cubeBuilder;
using support::Damage;
using support::glbOf;
using support::GltfBuilder;
using testing::HasSubstr;
using testing::StartsWith;

using ABrokenGltf = support::ImportFixture;

std::string uint32Bytes(std::uint32_t value) {
  return {static_cast<char>(value & 0xffU), static_cast<char>(value >> 8U & 0xffU),
          static_cast<char>(value >> 16U & 0xffU), static_cast<char>(value >> 24U)};
}

/// A system in which another program appends to a file whenever something is read.
class ReadWhileWritten : public files::System {
 public:
  explicit ReadWhileWritten(std::filesystem::path file) : file_(std::move(file)) {}

  std::ptrdiff_t read(int descriptor, void* bytes, std::size_t size) override {
    const std::ptrdiff_t count = System::read(descriptor, bytes, size);
    std::ofstream(file_, std::ios::app) << 'x';
    return count;
  }

 private:
  std::filesystem::path file_;
  files::SystemReplacement replacement_{*this};
};

TEST_F(ABrokenGltf, IsRefusedWhenItDoesNotExist) {
  source_ = folder_ / "no.glb";
  EXPECT_EQ(refusal(), "does not exist; check its name");
  source_ = folder_.path();
  EXPECT_EQ(refusal(), "is not a regular file; name a file");
  source_ = folder_ / "loop.glb";
  std::filesystem::create_symlink("loop.glb", source_);
  EXPECT_EQ(refusal(),
            "cannot be examined: Too many levels of symbolic links; see that the file can be read");
}

TEST_F(ABrokenGltf, IsRefusedWithTheReasonWhenItCannotBeRead) {
  writeSource(cubeBuilder().glb());
  support::FaultySystem system;
  // The first file that is opened is the current folder, in which the source is looked for.
  system.order = {.operation = "open", .countdown = 2, .code = EACCES};
  EXPECT_EQ(refusal(), "cannot be read: Permission denied; see that the file can be read");
}

TEST_F(ABrokenGltf, IsRefusedWhenItIsWrittenWhileItIsRead) {
  writeSource(cubeBuilder().glb());
  ReadWhileWritten system(source_);
  EXPECT_EQ(refusal(), "was changed while it was read; wait until it is complete");
}

TEST_F(ABrokenGltf, IsRefusedWhereverItIsCutOff) {
  const std::string whole = cubeBuilder().glb();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    writeSource(whole.substr(0, length));
    ASSERT_FALSE(import()) << length;
    ASSERT_THAT(error_, StartsWith(source_.string() + ": ")) << length;
    ASSERT_EQ(error_.find('\n'), std::string::npos) << error_;
  }
  EXPECT_TRUE(std::filesystem::is_empty(root()));
}

TEST_F(ABrokenGltf, IsRefusedWhenItIsSomethingElse) {
  writeSource("");
  EXPECT_EQ(refusal(), "is empty");
  writeSource("\x89PNG\r\n");
  EXPECT_EQ(refusal(), "is neither a .glb nor a .gltf file");
  writeSource("glTX" + cubeBuilder().glb().substr(4));
  EXPECT_EQ(refusal(), "is neither a .glb nor a .gltf file");
  writeSource("{}");
  EXPECT_EQ(refusal(), "has no \"asset\" with a \"version\", so it is not glTF");
  writeSource("[]", "in.gltf");
  EXPECT_EQ(refusal(), "is neither a .glb nor a .gltf file");
}

TEST_F(ABrokenGltf, IsRefusedWhenItIsOfAnotherVersion) {
  std::string glb = cubeBuilder().glb();
  glb[4] = 1;
  writeSource(glb);
  EXPECT_EQ(refusal(), "is a .glb of version 1; only version 2 can be imported");
  GltfBuilder builder = cubeBuilder();
  builder.root["asset"]["version"] = "1.0";
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), "is glTF of version \"1.0\"; only version 2 can be imported");
}

TEST_F(ABrokenGltf, IsRefusedWhenItsChunksLie) {
  const std::string whole = cubeBuilder().glb();
  writeSource(whole + "more");
  EXPECT_THAT(refusal(), StartsWith("is followed by other data: its header announces "));
  std::string longChunk = whole;
  longChunk.replace(12, 4, uint32Bytes(0xfffffffcU));
  writeSource(longChunk);
  EXPECT_THAT(refusal(), StartsWith("has a chunk of 4294967292 bytes with "));
  std::string oddChunk = whole;
  oddChunk.replace(12, 4, uint32Bytes(21));
  writeSource(oddChunk);
  EXPECT_EQ(refusal(), "has a chunk of 21 bytes, which is not a multiple of 4");
  std::string noJson = whole;
  noJson.replace(16, 4, "JSOM");
  writeSource(noJson);
  EXPECT_EQ(refusal(), "does not begin with a JSON chunk");
}

TEST_F(ABrokenGltf, IsRefusedWithTheLineOfItsSyntaxError) {
  writeSource("{\"asset\": {\n \"version\" \"2.0\"}}", "in.gltf");
  EXPECT_EQ(refusal(),
            "holds no JSON: parse error at line 2, column 16: syntax error while parsing object separator - "
            "unexpected string literal; expected ':'");
}

TEST_F(ABrokenGltf, IsRefusedWhenItIsNestedWithoutEnd) {
  const std::string deep(5'000'000, '[');
  writeSource(R"({"asset":{"version":"2.0"},"extras":)" + deep, "in.gltf");
  EXPECT_EQ(refusal(), "is nested deeper than 64 levels");
}

TEST_F(ABrokenGltf, IsRefusedWhenItHoldsValuesWithoutEnd) {
  std::string many = R"({"asset":{"version":"2.0"},"extras":[0)";
  for (int count = 0; count < 4'100'000; ++count) many += ",0";
  writeSource(many + "]}", "in.gltf");
  EXPECT_EQ(
      refusal(),
      "holds more than 4000000 values; export it without what no model needs, such as animations and extras");
}

TEST_F(ABrokenGltf, IsRefusedWhenItIsNoUtf8) {
  GltfBuilder builder = cubeBuilder();
  builder.root["materials"][0]["name"] = "XYZ";
  std::string json = builder.json();
  json.replace(json.find("XYZ"), 3, "X\xff\xfe");
  writeSource(glbOf(json, builder.bin));
  EXPECT_THAT(refusal(), HasSubstr("ill-formed UTF-8 byte"));
}

TEST_F(ABrokenGltf, IsRefusedWhenANumberIsTooLarge) {
  GltfBuilder builder = cubeBuilder();
  std::string json = builder.json();
  json.replace(json.find("\"nodes\":[0]"), 11, "\"nodes\":[1e999]");
  writeSource(glbOf(json, builder.bin));
  EXPECT_THAT(refusal(), StartsWith("holds no JSON: number overflow parsing"));
}

TEST_F(ABrokenGltf, IsRefusedWhenItRequiresAnUnknownExtension) {
  GltfBuilder builder = cubeBuilder();
  builder.root["extensionsRequired"] = {"KHR_materials_unlit", "EXT_voxel_clouds"};
  writeSource(builder.glb());
  EXPECT_EQ(refusal(),
            "requires the extension \"EXT_voxel_clouds\", which cannot be imported; export it without");
}

class ADamagedDocument : public support::DamageFixture {};

TEST_P(ADamagedDocument, IsRefusedWithThePlaceOfTheDamage) {
  EXPECT_EQ(refusalOf(cubeBuilder()), GetParam().fault);
}

using nlohmann::json;

const std::vector<Damage> kDamages = {
    {"root", [](json& root) { root["nodes"] = 5; }, "nodes is not an array"},
    {"element", [](json& root) { root["nodes"][0] = 5; }, "nodes[0] is not an object"},
    {"name", [](json& root) { root["nodes"][0]["name"] = 5; }, "nodes[0].name is not a string"},
    {"mesh index", [](json& root) { root["nodes"][0]["mesh"] = 7; },
     "nodes[0].mesh is 7, but there are 1 meshes"},
    {"negative index", [](json& root) { root["nodes"][0]["mesh"] = -1; },
     "nodes[0].mesh is not a whole number from 0 up"},
    {"fractional index", [](json& root) { root["nodes"][0]["mesh"] = 0.5; },
     "nodes[0].mesh is not a whole number from 0 up"},
    {"huge index", [](json& root) { root["nodes"][0]["mesh"] = 4'000'000'000; },
     "nodes[0].mesh is 4000000000, which is more than any file holds"},
    {"scene", [](json& root) { root["scene"] = 1; }, "scene is 1, but there are 1 scenes"},
    {"scene node", [](json& root) { root["scenes"][0]["nodes"][0] = 3; },
     "scenes[0].nodes[0] is 3, but there are 1 nodes"},
    {"child", [](json& root) { root["nodes"][0]["children"] = {9}; },
     "nodes[0].children[0] is 9, but there are 1 nodes"},
    {"attribute", [](json& root) { root["meshes"][0]["primitives"][0]["attributes"]["NORMAL"] = 8; },
     "meshes[0].primitives[0].attributes.NORMAL is 8, but there are 1 accessors"},
    {"material", [](json& root) { root["meshes"][0]["primitives"][0]["material"] = 4; },
     "meshes[0].primitives[0].material is 4, but there are 1 materials"},
    {"no primitives", [](json& root) { root["meshes"][0].erase("primitives"); },
     "meshes[0] has no \"primitives\""},
    {"no attributes", [](json& root) { root["meshes"][0]["primitives"][0].erase("attributes"); },
     "meshes[0].primitives[0] has no object \"attributes\""},
    {"accessor view", [](json& root) { root["accessors"][0]["bufferView"] = 1; },
     "accessors[0].bufferView is 1, but there are 1 bufferViews"},
    {"absurd count", [](json& root) { root["accessors"][0]["count"] = 4'000'000'000; },
     "accessors[0].count is 4000000000, which is more than any file holds"},
    {"count", [](json& root) { root["accessors"][0]["count"] = 9; },
     "accessors[0] needs 108 bytes of a buffer view of 96"},
    {"large count", [](json& root) { root["accessors"][0]["count"] = 2'147'483'647; },
     "accessors[0] needs 25769803764 bytes of a buffer view of 96"},
    {"no count", [](json& root) { root["accessors"][0]["count"] = 0; }, "accessors[0] is empty"},
    {"missing count", [](json& root) { root["accessors"][0].erase("count"); },
     "accessors[0] has no \"count\""},
    {"offset", [](json& root) { root["accessors"][0]["byteOffset"] = 4; },
     "accessors[0] needs 100 bytes of a buffer view of 96"},
    {"component type", [](json& root) { root["accessors"][0]["componentType"] = 5130; },
     "accessors[0] has the unknown \"componentType\" 5130"},
    {"type", [](json& root) { root["accessors"][0]["type"] = "VEC9"; },
     R"(accessors[0] has the unknown "type" "VEC9")"},
    {"pairs", [](json& root) { root["accessors"][0]["type"] = "VEC2"; },
     "meshes[0].primitives[0] has positions that are not triples of floats"},
    {"whole numbers", [](json& root) { root["accessors"][0]["componentType"] = 5122; },
     "meshes[0].primitives[0] has positions that are not triples of floats"},
    {"view buffer", [](json& root) { root["bufferViews"][0]["buffer"] = 2; },
     "bufferViews[0].buffer is 2, but there are 1 buffers"},
    {"view end", [](json& root) { root["bufferViews"][0]["byteOffset"] = 4; },
     "bufferViews[0] ends at byte 100 of a buffer of 96"},
    {"view size", [](json& root) { root["bufferViews"][0]["byteLength"] = 2'147'483'647; },
     "bufferViews[0] ends at byte 2147483647 of a buffer of 96"},
    {"stride", [](json& root) { root["bufferViews"][0]["byteStride"] = 6; },
     "bufferViews[0] has an impossible \"byteStride\""},
    {"narrow stride", [](json& root) { root["bufferViews"][0]["byteStride"] = 8; },
     "accessors[0] has elements that are larger than their \"byteStride\""},
    {"buffer size", [](json& root) { root["buffers"][0]["byteLength"] = 2000; },
     "has a buffer of 2000 bytes of which only 96 are there"},
    {"empty buffer", [](json& root) { root["buffers"][0]["byteLength"] = 0; }, "buffers[0] is empty"},
    {"second buffer",
     [](json& root) {
       root["buffers"].push_back({{"byteLength", 96}});
       root["bufferViews"][0]["buffer"] = 1;
     },
     "has no data for its buffer number 1"},
    {"announced", [](json& root) { root["buffers"][0]["byteLength"] = 2'000'000'000; },
     "is larger than 512 MiB with its buffers and images; make its images smaller, or split the model"},
    {"sparse",
     [](json& root) {
       root["accessors"][0]["sparse"] = {{"count", 1}};
     },
     "accessors[0].sparse has no object \"indices\""},
    {"sparse count",
     [](json& root) {
       root["accessors"][0]["sparse"] = {{"count", 9},
                                         {"indices", {{"bufferView", 0}, {"componentType", 5121}}},
                                         {"values", {{"bufferView", 0}}}};
     },
     "accessors[0].sparse has an impossible \"count\""},
    {"sparse range",
     [](json& root) {
       root["accessors"][0]["sparse"] = {
           {"count", 8},
           {"indices", {{"bufferView", 0}, {"componentType", 5125}, {"byteOffset", 80}}},
           {"values", {{"bufferView", 0}}}};
     },
     "accessors[0].sparse.indices needs 112 bytes of a buffer view of 96"},
    {"sparse order",
     [](json& root) {
       root["accessors"][0]["sparse"] = {{"count", 2},
                                         {"indices", {{"bufferView", 0}, {"componentType", 5121}}},
                                         {"values", {{"bufferView", 0}}}};
     },
     "accessors[0].sparse has indices that do not rise or lie beyond its elements"},
    {"matrix",
     [](json& root) {
       root["nodes"][0]["matrix"] = {1, 2, 3};
     },
     "nodes[0].matrix is not an array of 16 numbers"},
    {"rotation",
     [](json& root) {
       root["nodes"][0]["rotation"] = {0, 0, 0, "1"};
     },
     "nodes[0].rotation is not an array of 4 numbers"},
    {"beyond",
     [](json& root) {
       root["nodes"][0]["scale"] = {1e300, 1e300, 1e300};
     },
     "has a mesh that lies beyond all numbers"},
    {"kind",
     [](json& root) {
       root["materials"][0]["extras"] = {{"materialKind", "73"}};
     },
     "materials[0].extras.materialKind is not a whole number from 0 up"},
    {"half kind",
     [](json& root) {
       root["materials"][0]["extras"] = {{"materialKind", 73.5}};
     },
     "materials[0].extras.materialKind is not a whole number from 0 up"},
    {"needed version", [](json& root) { root["asset"]["minVersion"] = "2.1"; },
     "needs glTF of version \"2.1\"; only version 2.0 can be imported"},
    {"needed major version", [](json& root) { root["asset"]["minVersion"] = "10.0"; },
     "needs glTF of version \"10.0\"; only version 2.0 can be imported"},
    {"needed text", [](json& root) { root["asset"]["minVersion"] = "new"; },
     "needs glTF of version \"new\"; only version 2.0 can be imported"},
    {"needed number", [](json& root) { root["asset"]["minVersion"] = 2; },
     "asset.minVersion is not a string"},
    {"own parent", [](json& root) { root["nodes"][0]["children"] = {0}; }, "has nodes[0] below itself"},
    {"cycle",
     [](json& root) {
       root["nodes"] = {{{"mesh", 0}}, {{"children", {2}}}, {{"children", {3}}}, {{"children", {1}}}};
     },
     "has nodes[1] below itself"},
    {"cycle with a top",
     [](json& root) {
       root["nodes"] = {{{"mesh", 0}, {"children", {1}}}, {{"children", {0}}}};
     },
     "has nodes[0] below itself"},
    {"shared child",
     [](json& root) {
       root["nodes"] = {{{"children", {2}}}, {{"children", {2}}}, {{"mesh", 0}}};
       root["scenes"][0]["nodes"] = {0, 1};
     },
     "has nodes[2] as the child of both nodes[0] and nodes[1]"},
    {"twice a child",
     [](json& root) {
       root["nodes"] = {{{"children", {1, 1}}}, {{"mesh", 0}}};
     },
     "has nodes[1] as the child of both nodes[0] and nodes[0]"},
    {"top with parent",
     [](json& root) {
       root["nodes"] = {{{"children", {1}}}, {{"mesh", 0}}};
       root["scenes"][0]["nodes"] = {0, 1};
     },
     "has nodes[1] at the top of its scene and as the child of nodes[0]"},
    {"twice in the scene",
     [](json& root) {
       root["scenes"][0]["nodes"] = {0, 0};
     },
     "has nodes[0] twice in its scene"},
    {"empty scene", [](json& root) { root["scenes"][0]["nodes"] = json::array(); }, "shows no mesh"},
    {"no scene nodes", [](json& root) { root["scenes"][0].erase("nodes"); }, "shows no mesh"},
    {"only collision", [](json& root) { root["nodes"][0]["name"] = "BSP_1"; }, "shows no mesh"},
};

INSTANTIATE_TEST_SUITE_P(Each, ADamagedDocument, testing::ValuesIn(kDamages), support::nameOfDamage);

TEST_F(ABrokenGltf, IsRefusedWhenAPositionIsNoFiniteNumber) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const float bad : {std::nanf(""), kInfinity, -kInfinity}) {
    for (const char* name : {"shown", "BSP_collision"}) {
      GltfBuilder builder = cubeBuilder();
      builder.addNode(name, builder.addMesh({{0, 0, 0}, {0, bad, 0}}, -1));
      writeSource(builder.glb());
      EXPECT_EQ(refusal(), "has a position that is not a finite number in accessors[1]");
    }
  }
}

TEST_F(ABrokenGltf, IsRefusedWhenItShowsPointsWithoutEnd) {
  GltfBuilder builder;
  const int mesh = builder.addMesh(support::Points(100'000, {1, 1, 1}), -1);
  for (int count = 0; count < 300; ++count) {
    builder.addNode("", mesh);
    builder.root["nodes"].back()["translation"] = {count, 0, 0};
  }
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), "shows more than 20000000 points, counted at every node");
}

TEST_F(ABrokenGltf, IsTakenWhenItNeedsThisVersionOrAnOlderOne) {
  for (const char* version : {"2.0", "1.9"}) {
    GltfBuilder builder = cubeBuilder();
    builder.root["asset"]["minVersion"] = version;
    writeSource(builder.glb());
    EXPECT_TRUE(import({.overwrite = true})) << error_;
  }
}

/// The bytes that this process has read from files so far.
std::uint64_t bytesRead() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  std::uint64_t bytes = 0;
  counters >> name >> bytes;
  EXPECT_EQ(name, "rchar:");
  return bytes;
}

TEST_F(ABrokenGltf, IsRefusedByItsSizeBeforeItIsRead) {
  constexpr std::uint64_t kLimit = std::uint64_t{512} << 20U;
  constexpr std::uint64_t kFew = 1U << 20U;
  writeSource(cubeBuilder().glb());
  for (const std::uint64_t size : {kLimit + 1, kLimit << 11U}) {
    std::filesystem::resize_file(source_, size);
    const std::uint64_t before = bytesRead();
    EXPECT_EQ(refusal(), "is larger than 512 MiB; make it smaller, or split the model");
    EXPECT_LT(bytesRead() - before, kFew);
  }
}

class AGltfWithOtherFiles : public support::ImportFixture {
 protected:
  std::string refusalOfUri(const std::string& uri) {
    GltfBuilder builder = cubeBuilder();
    builder.root["buffers"][0]["uri"] = uri;
    folder_.write("outside.bin", builder.bin);
    writeSource(builder.json(), "source/in.gltf");
    return refusal();
  }
};

TEST_F(AGltfWithOtherFiles, IsRefusedWhenABufferIsMissing) {
  EXPECT_EQ(refusalOfUri("no%20such.bin"),
            "needs the file \"no such.bin\", which is not there; put it there and import again");
}

TEST_F(AGltfWithOtherFiles, IsRefusedWhenABufferIsShort) {
  folder_.write("source/short.bin", "abc");
  EXPECT_EQ(refusalOfUri("short.bin"), "has a buffer of 96 bytes of which only 3 are there");
}

TEST_F(AGltfWithOtherFiles, IsRefusedWhenABufferIsAFolder) {
  std::filesystem::create_directories(folder_ / "source/folder");
  EXPECT_EQ(refusalOfUri("folder"), "needs the file \"folder\", which is not a regular file; name a file");
}

TEST_F(AGltfWithOtherFiles, IsRefusedWhenABufferLiesOutside) {
  const std::string absolute = (folder_ / "outside.bin").string();
  for (const std::string& uri :
       {std::string("../outside.bin"), std::string("a/../../outside.bin"), std::string("%2e%2e/outside.bin"),
        std::string("..%2foutside.bin"), std::string("..\\outside.bin"), absolute, "file://" + absolute,
        "file://localhost" + absolute, std::string("../missing.bin"), std::string("/missing/a.bin")}) {
    const std::string error = refusalOfUri(uri);
    EXPECT_THAT(error, StartsWith("needs the file \"")) << uri;
    EXPECT_THAT(error,
                testing::EndsWith("\", which lies outside the folder of the glTF file; allow its folder "
                                  "with --source-root, or put it below that of the glTF file"))
        << uri;
  }
}

TEST_F(AGltfWithOtherFiles, IsRefusedWhenABufferIsOnNoDisk) {
  for (const char* const uri : {"https://host/outside.bin", "http://host/a.bin", "ftp:a"}) {
    EXPECT_THAT(refusalOfUri(uri),
                testing::EndsWith(", which is on no disk; download it, and name the file in its place"));
  }
  EXPECT_EQ(refusalOfUri(""), "needs the file \"\", which has no name that a file can have; name a file");
}

TEST_F(AGltfWithOtherFiles, IsRefusedWhenALinkLeadsOutside) {
  std::filesystem::create_directory(folder_ / "source");
  std::filesystem::create_symlink(folder_ / "outside.bin", folder_ / "source/link.bin");
  EXPECT_EQ(
      refusalOfUri("link.bin"),
      "needs the file \"link.bin\", which is a link that leads out of the folder of the glTF file; allow "
      "the folder that it leads to with --source-root");
}

TEST_F(AGltfWithOtherFiles, IsRefusedWhenADataUriIsNoData) {
  EXPECT_EQ(refusalOfUri("data:application/octet-stream;base64,????"),
            "has a data URI that cannot be decoded");
  EXPECT_EQ(refusalOfUri("data:application/octet-stream;base64,AAAA"),
            "has a buffer of 96 bytes of which only 3 are there");
}

TEST_F(AGltfWithOtherFiles, IsRefusedByTheSizeOfAnImageBeforeThatIsRead) {
  GltfBuilder builder = cubeBuilder();
  builder.root["images"] = {{{"uri", "huge.png"}}};
  writeSource(builder.glb());
  folder_.write("huge.png", "\x89PNG");
  std::filesystem::resize_file(folder_ / "huge.png", (std::uint64_t{512} << 20U) + 1);
  const std::uint64_t before = bytesRead();
  EXPECT_EQ(
      refusal(),
      "needs the image \"huge.png\", which is larger than 512 MiB; make it smaller, or split the model");
  EXPECT_LT(bytesRead() - before, 1U << 20U);
}

}  // namespace
}  // namespace Tal
