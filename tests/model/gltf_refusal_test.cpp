#include <files/system.h>
#include <gmock/gmock.h>
#include <support/faulty_system.h>

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <utility>
#include <vector>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace Tal {
namespace {

using nlohmann::json;
using support::cubeBuilder;
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

  std::ptrdiff_t pread(int descriptor, void* bytes, std::size_t size, std::size_t offset) override {
    const std::ptrdiff_t count = System::pread(descriptor, bytes, size, offset);
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
  EXPECT_EQ(refusal(), "cannot open the file: Permission denied; make it readable");
}

TEST_F(ABrokenGltf, IsRefusedWhenItIsWrittenWhileItIsRead) {
  writeSource(cubeBuilder().glb());
  ReadWhileWritten system(source_);
  EXPECT_EQ(refusal(), "the file is being written all the time; wait until that is done");
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

/// A cube with a million indices, in accessor 1.
GltfBuilder cubeOfManyIndices() {
  GltfBuilder builder = cubeBuilder();
  builder.root["meshes"][0]["primitives"][0]["indices"] =
      builder.addIndices(std::vector<std::uint8_t>(1 << 20, 7));
  return builder;
}

using AGltfWithIndices = support::ImportFixture;

TEST_F(AGltfWithIndices, AreReadOnceThoughManyPrimitivesShareThem) {
  GltfBuilder builder = cubeOfManyIndices();
  auto& primitives = builder.root["meshes"][0]["primitives"];
  for (int count = 0; count < 600; ++count) primitives.push_back(json(primitives[0]));
  writeSource(builder.glb());
  EXPECT_TRUE(import()) << error_;
}

TEST_F(AGltfWithIndices, IsRefusedWhenManyAccessorsOverlapInThem) {
  GltfBuilder builder = cubeOfManyIndices();
  auto& primitives = builder.root["meshes"][0]["primitives"];
  for (int count = 0; count < 512; ++count) {
    builder.root["accessors"].push_back(json(builder.root["accessors"][1]));
    primitives.push_back(json(primitives[0]));
    primitives.back()["indices"] = 2 + count;
  }
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), "has more than 512 MiB of indices, counted at every accessor of them");
}

using AGltfWithManyPoints = support::ImportFixture;

TEST_F(AGltfWithManyPoints, IsRefusedWhenItsNodesTogetherShowMore) {
  GltfBuilder builder;
  const int mesh = builder.addMesh(support::Points(20'000, {1, 1, 1}), -1);
  for (int count = 0; count < 1'001; ++count) builder.addNode("", mesh);
  writeSource(builder.glb());
  EXPECT_EQ(refusal(), "shows more than 20000000 points, counted at every node");
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

using AGltfWithOtherFiles = support::ImportFixture;

TEST_F(AGltfWithOtherFiles, IsRefusedWhenALinkLeadsOutside) {
  std::filesystem::create_directory(folder_ / "source");
  std::filesystem::create_symlink(folder_ / "outside.bin", folder_ / "source/link.bin");
  GltfBuilder builder = cubeBuilder();
  builder.root["buffers"][0]["uri"] = "link.bin";
  folder_.write("outside.bin", builder.bin);
  writeSource(builder.json(), "source/in.gltf");
  EXPECT_EQ(
      refusal(),
      "needs the file \"link.bin\", which is a link that leads out of the folder of the glTF file; allow "
      "the folder that it leads to with --source-root");
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
