#include <gmock/gmock.h>
#include <model/gltf_import.h>
#include <model/super_model.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <string>
#include <vector>

#include "gltf_builder.h"

namespace Tal {
namespace {

using support::MountedRoot;
using testing::ElementsAre;
using testing::HasSubstr;

class AModel : public testing::Test {
 protected:
  std::unique_ptr<SuperModel> load(const std::string& name = "house.model") {
    auto model = SuperModel::load(name);
    error_ = model ? "" : textOf(model.fault());
    return model ? *std::move(model) : nullptr;
  }

  /// Loads a model of the given visual and expects that this fails.
  std::string refusalOfVisual(const std::string& visual) {
    root_.write("house.model", "<model><visual>house.visual</visual></model>");
    root_.write("house.visual", visual);
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(error_.find('\n'), std::string::npos);
    return error_;
  }

  MountedRoot root_;
  support::MessageRecorder messages_;
  std::string error_ = "untouched";
};

TEST_F(AModel, ConsistsOfWhatItsFilesSay) {
  root_.write("house.model",
              "<model>\n"
              "  <visual>other/look.visual</visual>\n"
              "  <bspMaterials><material>partN1</material><material>partN1</material></bspMaterials>\n"
              "</model>\n");
  root_.write("other/look.visual",
              "<visual>\n"
              "  <materials>\n"
              "    <material><identifier>partN1</identifier><kind>74</kind></material>\n"
              "    <material><identifier>a &amp; b</identifier><kind>0</kind></material>\n"
              "    <material><identifier>partN1</identifier><kind>75</kind></material>\n"
              "  </materials>\n"
              "  <skeleton>\n"
              "    <node><name>top</name><parent>-1</parent></node>\n"
              "    <node><name></name></node>\n"
              "    <node><name>HP_1</name></node>\n"
              "  </skeleton>\n"
              "</visual>\n");
  const auto model = load();
  ASSERT_NE(model, nullptr) << error_;
  EXPECT_EQ(error_, "");
  EXPECT_TRUE(model->ready_);

  std::vector<std::string> materials;
  for (const auto& material : model->materials_) {
    EXPECT_TRUE(material->isVisible_);
    materials.push_back(material->identifier() + " " + std::to_string(material->materialKind_));
  }
  EXPECT_THAT(materials, ElementsAre("partN1 74", "a & b 0", "partN1 75"));

  ASSERT_EQ(model->skeleton()->size(), 3U);
  EXPECT_EQ(model->skeleton()->nodeName(0).getString(), "top");
  EXPECT_EQ(model->skeleton()->nodeName(1).getString(), "");
  EXPECT_EQ(model->skeleton()->nodeName(2).getString(), "HP_1");

  ASSERT_TRUE(model->topModel());
  EXPECT_THAT(model->topModel()->bspData()->materialNames_, ElementsAre("partN1", "partN1"));
}

TEST_F(AModel, MayHaveNeitherMaterialsNorNodesNorBspMaterials) {
  root_.write("house.model", "<model><visual>house.visual</visual></model>");
  root_.write("house.visual", "<visual/>");
  const auto model = load();
  ASSERT_NE(model, nullptr) << error_;
  EXPECT_EQ(model->materials_.begin(), model->materials_.end());
  EXPECT_EQ(model->skeleton()->size(), 0U);
  EXPECT_TRUE(model->topModel()->bspData()->materialNames_.empty());
}

TEST_F(AModel, IsReadBackFromAnImportWithoutItsGeometry) {
  support::GltfBuilder builder = support::cubeBuilder();
  builder.root["materials"][0]["name"] = "<wall> & 100%s";
  builder.addChild(0, "HP_1");
  root_.write("in.glb", builder.glb());
  ASSERT_TRUE(importGltf(root_ / "in.glb", "a/house.model", root_.path(),
                         {.materialKinds = {{"<wall> & 100%s", 80}}}));
  std::filesystem::remove(root_ / "a/house.glb");
  const auto model = load("a/house.model");
  ASSERT_NE(model, nullptr) << error_;
  const MaterialInstance& material = **model->materials_.begin();
  EXPECT_EQ(material.identifier(), "<wall> & 100%s");
  EXPECT_EQ(material.materialKind_, 80U);
  EXPECT_EQ(model->skeleton()->nodeName(1).getString(), "HP_1");
  EXPECT_THAT(model->topModel()->bspData()->materialNames_, ElementsAre("<wall> & 100%s"));
}

TEST_F(AModel, MayHaveNamesOfAnyLength) {
  const std::string name(100'000, 'n');
  root_.write("house.model", "<model><visual>house.visual</visual></model>");
  root_.write("house.visual",
              "<visual><materials><material><identifier>" + name +
                  "</identifier><kind>73</kind></material></materials><skeleton><node><name>" + name +
                  "</name></node></skeleton></visual>");
  const auto model = load();
  ASSERT_NE(model, nullptr) << error_;
  EXPECT_EQ((*model->materials_.begin())->identifier(), name);
  EXPECT_EQ(model->skeleton()->nodeName(0).getString(), name);
}

TEST_F(AModel, IsNotLoadedWhenItsFileIsMissing) {
  EXPECT_EQ(load(), nullptr);
  EXPECT_EQ(error_, "\"house.model\": no resource root holds this file; import the model again");
}

TEST_F(AModel, IsNotLoadedUnderANameThatNamesNoResource) {
  EXPECT_EQ(load("../house.model"), nullptr);
  EXPECT_THAT(error_, HasSubstr("\"../house.model\": is not a resource name, it "));
  EXPECT_EQ(load("/house.model"), nullptr);
  EXPECT_THAT(error_, HasSubstr("\"/house.model\": is not a resource name, it "));
}

TEST_F(AModel, IsNotLoadedWhenItIsNoXml) {
  root_.write("house.model", "<model><visual>");
  EXPECT_EQ(load(), nullptr);
  EXPECT_THAT(error_, testing::AllOf(testing::StartsWith("house.model:1:16: no element found"),
                                     testing::EndsWith("; correct it there, or import the model again")));
}

TEST_F(AModel, IsNotLoadedWithoutAVisual) {
  root_.write("house.model", "<model/>");
  EXPECT_EQ(load(), nullptr);
  EXPECT_EQ(error_, "\"house.model\": names no \"visual\"; import the model again");
  root_.write("house.model", "<model><visual>house.visual</visual></model>");
  EXPECT_EQ(load(), nullptr);
  EXPECT_EQ(error_,
            "\"house.visual\": no resource root holds this file, and \"house.model\" names it as its visual; "
            "import the model again");
  root_.write("house.model", "<model><visual>/etc/passwd</visual></model>");
  EXPECT_EQ(load(), nullptr);
  EXPECT_EQ(error_,
            "\"/etc/passwd\": is not a resource name, it is absolute, and \"house.model\" names it as its "
            "visual; import the model again");
}

TEST_F(AModel, IsNotLoadedWhenAMaterialIsNotWhole) {
  EXPECT_EQ(refusalOfVisual("<visual><materials><material><kind>3</kind></material></materials></visual>"),
            "\"house.visual\": material number 1 has no \"identifier\"; import the model again");
  for (const char* kind : {"<kind>wood</kind>", "<kind>-1</kind>", "<kind>4294967295</kind>", ""}) {
    EXPECT_EQ(
        refusalOfVisual("<visual><materials>"
                        "<material><identifier>a</identifier><kind>1</kind></material>"
                        "<material><identifier>b</identifier>" +
                        std::string(kind) + "</material></materials></visual>"),
        "\"house.visual\": material number 2 has no \"kind\" that is a number from 0 up; import the model "
        "again");
  }
}

TEST_F(AModel, IsNotLoadedWhenANodeHasNoParentBeforeIt) {
  for (const std::string parent : {"99", "1", "2", "-2", "abc", "", "0.5", "4294967295"}) {
    EXPECT_EQ(refusalOfVisual("<visual><skeleton><node><name>top</name></node>"
                              "<node><name>fx</name><parent>" +
                              parent + "</parent></node><node/></skeleton></visual>"),
              "\"house.visual\": node number 2 has the parent \"" + parent +
                  "\", which is neither -1 nor the place of an earlier node; import the model again");
  }
}

TEST_F(AModel, IsNotLoadedWhenACornerOfItsBoxIsNotThreeNumbers) {
  const auto expectRefused = [this](const std::string& name, const std::string& corner) {
    EXPECT_EQ(refusalOfVisual("<visual><boundingBox><" + name + ">" + corner + "</" + name +
                              "></boundingBox></visual>"),
              "\"house.visual\": \"boundingBox/" + name + "\" is \"" + corner +
                  "\", which is not three numbers; import the model again");
  };
  for (const char* corner : {"1 2", "1 2 3 4", "wide", "", "1 2 nan", "1 inf 3", "1e39 0 0"}) {
    expectRefused("min", corner);
    expectRefused("max", corner);
  }
}

TEST_F(AModel, MayHaveNoBoxOrHalfOfOne) {
  root_.write("house.model", "<model><visual>house.visual</visual></model>");
  for (const char* box : {"", "<boundingBox/>", "<boundingBox><max>1 2 3</max></boundingBox>"}) {
    root_.write("house.visual", "<visual>" + std::string(box) + "<skeleton/></visual>");
    EXPECT_NE(load(), nullptr) << error_;
  }
}

TEST_F(AModel, IsNotLoadedWithoutResourceRoots) {
  FS::setFileSystem(nullptr);
  EXPECT_EQ(load(), nullptr);
  EXPECT_EQ(error_, "\"house.model\": cannot be opened, no resource roots are set; set some first");
}

}  // namespace
}  // namespace Tal
