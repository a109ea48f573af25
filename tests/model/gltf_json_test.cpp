#include <gmock/gmock.h>
#include <model/gltf/json.h>
#include <model/gltf_limits.h>

#include <string>
#include <string_view>

namespace Tal {
namespace {

using testing::HasSubstr;

/// Reads a text, hands the document to `visit`, and says what is wrong; empty when nothing is.
std::string faultOf(
    std::string_view text, const GltfObject::Visit& visit = [](const GltfObject&) {}) {
  const auto tree = GltfTree::parse(text);
  if (!tree) return tree.fault().what;
  const auto read = tree->read(visit);
  return read ? "" : read.fault().what;
}

TEST(AGltfText, KeepsOfExtrasOnlyTheMembersThatAreRead) {
  constexpr std::string_view kText =
      R"({"a": {"extras": {"bsp": 1, "note": "x", "materialKind": 7, "more": {"bsp": 1, "a": [[1], {}]}}, "b": 5}})";
  EXPECT_EQ(faultOf(kText,
                    [](const GltfObject& root) {
                      root.object("a", [](const GltfObject& object) {
                        EXPECT_EQ(object.number("b", 0), 5U);
                        object.object("extras", [](const GltfObject& extras) {
                          EXPECT_TRUE(extras.has("bsp"));
                          EXPECT_EQ(extras.number("materialKind", 0), 7U);
                          EXPECT_FALSE(extras.has("note"));
                          EXPECT_FALSE(extras.has("more"));
                        });
                      });
                    }),
            "");
}

TEST(AGltfText, KeepsNothingOfExtrasThatAreNoObject) {
  for (const char* const extras : {"7", "\"text\"", "[1, [2], {\"bsp\": 1}]", "null"}) {
    EXPECT_EQ(faultOf("{\"extras\": " + std::string(extras) + ", \"b\": 5}",
                      [](const GltfObject& root) {
                        EXPECT_EQ(root.number("b", 0), 5U);
                        root.anyObject("extras", [](const GltfObject&) { ADD_FAILURE(); });
                      }),
              "")
        << extras;
  }
}

TEST(AGltfText, KeepsOnlyTheExtensionsThatAreRead) {
  constexpr std::string_view kText =
      R"({"extensions": {"EXT_voxel_clouds": {"a": [{"extras": 1}]}, "EXT_mesh_gpu_instancing": {"b": 5}}, "c": 6})";
  EXPECT_EQ(faultOf(kText,
                    [](const GltfObject& root) {
                      EXPECT_EQ(root.number("c", 0), 6U);
                      root.object("extensions", [](const GltfObject& extensions) {
                        EXPECT_FALSE(extensions.has("EXT_voxel_clouds"));
                        extensions.requiredObject("EXT_mesh_gpu_instancing", [](const GltfObject& own) {
                          EXPECT_EQ(own.number("b", 0), 5U);
                        });
                      });
                    }),
            "");
}

TEST(AGltfText, KnowsWhereItsListsStand) {
  constexpr std::string_view kText =
      R"( {"a": {"buffers": [1]}, "buf\u0066ers" : [ {"x": [2]} ] ,"images":[], "nodes": [3]})";
  const auto tree = GltfTree::parse(kText);
  ASSERT_TRUE(tree);
  const auto textOf = [&](const char* list) {
    const auto range = tree->rangeOf(list);
    return range ? kText.substr(range->begin, range->end - range->begin) : std::string_view("none");
  };
  EXPECT_EQ(textOf("buffers"), R"([ {"x": [2]} ])");
  EXPECT_EQ(textOf("images"), "[]");
  EXPECT_EQ(textOf("bufferViews"), "none");
  EXPECT_EQ(kText.substr(tree->bodyBegin(), 3), "\"a\"");
}

TEST(AGltfText, IsRefusedWithTwoMembersOfOneName) {
  EXPECT_EQ(faultOf(R"({"nodes": [{"mesh": 0, "mesh": 1}]})"), "has two members \"mesh\" in one object");
  EXPECT_EQ(faultOf(R"({"extras": {"note": 0, "note": 1}})"), "");
}

TEST(AGltfText, IsRefusedWhenItIsTooLong) {
  const std::string text = "{\"extras\": \"" + std::string(kMaxGltfText - 13, 'x') + "\"}";
  EXPECT_EQ(faultOf(text), "has a JSON text of 67108865 bytes; at most 64 MiB can be imported");
}

TEST(AGltfText, IsRefusedWhereItIsNone) {
  EXPECT_EQ(faultOf("[1]"), "holds no JSON object");
  EXPECT_THAT(faultOf("{\"a\": 1"), HasSubstr("holds no JSON: parse error at line 1"));
  EXPECT_THAT(faultOf("{} {}"), HasSubstr("holds no JSON"));
  EXPECT_THAT(faultOf("{\"extras\": {\"a\" 1}}"), HasSubstr("holds no JSON"));
}

TEST(AGltfText, NamesThePlaceOfTheFirstFaultOnly) {
  EXPECT_EQ(faultOf(R"({"nodes": [{}, {"mesh": "x", "skin": "y"}], "meshes": []})",
                    [](const GltfObject& root) {
                      root.objects("nodes", [](const GltfObject& node) {
                        node.index("mesh", "meshes");
                        node.index("skin", "skins");
                      });
                    }),
            "nodes[1].mesh is not a whole number from 0 up");
}

}  // namespace
}  // namespace Tal
