#include <gmock/gmock.h>
#include <model/import_mark.h>
#include <model/super_model.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <filesystem>
#include <string>

namespace Tal {
namespace {

using support::MountedRoot;
using testing::ElementsAre;
using testing::IsEmpty;

/// A visual whose root holds `content`.
std::optional<ImportMark> markIn(const std::string& content) {
  const MountedRoot root("a.visual", "<visual>" + content + "</visual>");
  return importMarkIn(*support::openResource("a.visual"));
}

TEST(TheMarkOfAnImport, HoldsTheSizeAndTheXxh3HashOfTheGeometry) {
  EXPECT_EQ(importMarkFor(""), (ImportMark{1, 0, "99aa06d3014798d86001c324468d497f"}));
  EXPECT_EQ(importMarkFor("glTF").geometrySize, 4U);
  EXPECT_NE(importMarkFor("glTF").geometryFingerprint, importMarkFor("GLTF").geometryFingerprint);
}

TEST(TheMarkOfAnImport, IsReadFromTheVisual) {
  const std::string geometry =
      "<geometry><size> 4294967296 </size><fingerprint>00ff</fingerprint></geometry>";
  EXPECT_EQ(markIn("<import version=\"1\">" + geometry + "</import>"), (ImportMark{1, 4294967296, "00ff"}));
  EXPECT_EQ(markIn("<import note='version=\"7\"' version = '1' >" + geometry + "</import>")->version, 1);
  EXPECT_EQ(markIn("<import version='12'/>")->version, 12);
  for (const char* later : {"2.0", "99999999999", "1b"})
    EXPECT_GT(markIn("<import version='" + std::string(later) + "'/>")->version, ImportMark::kVersion);
  EXPECT_EQ(markIn("<import version='&#49;'>" + geometry + "</import>")->version, 1);
}

TEST(TheMarkOfAnImport, IsNoneWithoutAVersion) {
  for (const char* content :
       {"", "<import/>", "<import><version>1</version></import>", "<import version=''/>",
        "<import version='one'/>", "<import version='1'/>",
        "<import version='1'><geometry><size>4k</size></geometry></import>", "<import version='0'/>",
        "<import Version='1'/>", "<sub><import version='1'/></sub>"})
    EXPECT_EQ(markIn(content), std::nullopt) << content;
}

class AModelWithAMark : public testing::Test {
 protected:
  AModelWithAMark() {
    root_.write("house.model", "<model><visual>house.visual</visual></model>");
    root_.write("house.visual",
                "<visual><geometry>house.glb</geometry><import version='1'><geometry><size>4"
                "</size><fingerprint>00</fingerprint></geometry></import></visual>");
  }

  /// What is logged when the model is loaded.
  std::vector<std::string> messages() {
    const support::MessageRecorder recorder;
    EXPECT_TRUE(SuperModel::load("house.model"));
    for (const DebugMessage& message : recorder.messages()) EXPECT_EQ(message.messagePriority, 4);
    return recorder.texts();
  }

  MountedRoot root_;
};

TEST_F(AModelWithAMark, LoadsWithoutAWordWhenTheGeometryHasItsSize) {
  root_.write("house.glb", "glTF");
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(AModelWithAMark, WarnsOfAnotherGeometryAndNamesTheRepair) {
  root_.write("house.glb", "glTF and more");
  EXPECT_THAT(messages(), ElementsAre("\"house.visual\" was imported with a geometry of 4 bytes, but "
                                      "\"house.glb\" has 13 bytes; import the model again (--force)"));
}

TEST_F(AModelWithAMark, WarnsWhenTheGeometryIsNotThere) {
  EXPECT_THAT(messages(), ElementsAre("\"house.visual\" was imported with a geometry of 4 bytes, but "
                                      "\"house.glb\" is not there; import the model again (--force)"));
}

TEST_F(AModelWithAMark, IsNotJudgedByAMarkOfANewerVersion) {
  root_.write("house.visual", "<visual><geometry>house.glb</geometry><import version='2'/></visual>");
  EXPECT_THAT(messages(), IsEmpty());
}

}  // namespace
}  // namespace Tal
