#include <core/debug_message.h>
#include <destructibles/ks_destructibles_helper.h>
#include <model/ks_material_disabler.h>
#include <render/render_system.h>
#include <resources/file_system.h>
#include <support/model_builder.h>
#include <support/temporary_folder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using ::testing::ElementsAre;

constexpr const char* kDatabase = "scripts/destructibles.xml";

/// A program that knows the module's public header and links its shared library and the engine's.
class TheSharedLibrary : public ::testing::Test {
 protected:
  TheSharedLibrary() {
    Tal::FS::setFileSystem(
        std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{folder_.path()}));
    Tal::DebugMessageHelper::setSink(
        [this](const Tal::DebugMessage& message) { messages_.push_back(message.text); });
  }
  ~TheSharedLibrary() override {
    Tal::DebugMessageHelper::setSink(nullptr);
    Tal::FS::setFileSystem(nullptr);
  }
  TheSharedLibrary(const TheSharedLibrary&) = delete;
  TheSharedLibrary& operator=(const TheSharedLibrary&) = delete;

  static bool renderUntil(const std::function<bool()>& isTrue) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!isTrue()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      Tal::rs().beginFrame();
      Tal::FS::fileSystem()->pump();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }

  support::TemporaryFolder folder_;
  std::vector<std::string> messages_;
};

TEST_F(TheSharedLibrary, OpensConvertsSavesReloadsAndTellsBothSignals) {
  folder_.write(kDatabase, R"(<root>
  <structures>
    <entry>
      <filename>other.model</filename>
    </entry>
  </structures>
</root>
)");
  const auto model = support::buildModel({{{"nwall", 73}, {"droof", 88}}, {"nwall"}, {"HP_1"}});
  Tal::KsMaterialDisabler disabler(model.get());
  std::unique_ptr<Tal::KsDestructiblesHelper> helper;

  Tal::KsDestructiblesHelper::reinit(helper, model.get(), "house.model", &disabler, true);
  EXPECT_EQ(helper->destructibleType(), Tal::DT_NON_DESTRUCTIBLE);
  EXPECT_THAT(helper->getHardpointNames(), ElementsAre("HP_1"));

  int typeChanges = 0;
  int loads = 0;
  const ks::Connection onType = helper->connectDestructibleTypeChanged([&] { ++typeChanges; });
  const ks::Connection onLoad = helper->connectLoadedConfigSignal([&] { ++loads; });
  helper->setAsStructure();
  EXPECT_EQ(typeChanges, 1);
  EXPECT_THAT(messages_, ElementsAre("Model is set as structure."));
  Tal::KsDestructibleModuleDesc wall;
  ASSERT_TRUE(helper->getDestructibleModule("nwall", wall));
  wall.health = 42;
  wall.decayEffect = Tal::UNDEFINED_EFFECT;
  EXPECT_TRUE(helper->updateDestructibleModule("nwall", wall, false));
  EXPECT_TRUE(helper->addDestructibleState("ruined"));
  EXPECT_TRUE(helper->addMaterialToDestrState("ruined", "nwall"));
  EXPECT_TRUE(helper->setDestructibleState("ruined"));
  EXPECT_FALSE(helper->isMaterialKindVisible(73));
  EXPECT_TRUE(helper->isMaterialKindVisible(87));

  EXPECT_TRUE(helper->saveConfig());
  EXPECT_EQ(loads, 1);
  EXPECT_EQ(folder_.read(kDatabase), R"(<root>
  <structures>
    <entry>
      <filename>other.model</filename>
    </entry>
    <entry>
      <filename>house.model</filename>
      <states>
        <state>
          <name>ruined</name>
          <destroyedMaterials>nwall </destroyedMaterials>
        </state>
      </states>
      <modules>
        <module>
          <matName>nwall</matName>
          <health>42</health>
          <decayEffect>none</decayEffect>
          <ramEffect>inf_bld_UNI_000_Base_02</ramEffect>
          <hitEffect>inf_bld_UNI_000_Base_02</hitEffect>
          <effectHP>HP_1</effectHP>
          <effectScale>1</effectScale>
        </module>
      </modules>
    </entry>
  </structures>
</root>
)");

  folder_.replace(kDatabase,
                  "<root><structures><entry><filename>house.model</filename><modules><module>"
                  "<matName>nwall</matName><health>7</health></module></modules>"
                  "</entry></structures></root>");
  EXPECT_TRUE(renderUntil([&] { return helper->getDestructibleModule("nwall", wall) && wall.health == 7; }));
  EXPECT_GE(loads, 2);
  EXPECT_THAT(helper->getStateNames(), ElementsAre("undamaged", "destroyed"));

  helper.reset();
  EXPECT_FALSE(onLoad.connected());
}

TEST_F(TheSharedLibrary, LetsAnEngineDeriveFromItsClasses) {
  struct Panel : Tal::KsDestructiblesHelper {
    using KsDestructiblesHelper::KsDestructiblesHelper;
  };
  const auto model = support::buildModel({});
  Tal::KsMaterialDisabler disabler(model.get());
  const std::unique_ptr<Tal::KsDestructiblesHelper> helper =
      std::make_unique<Panel>(model.get(), "house.model", &disabler);
  EXPECT_NE(dynamic_cast<Panel*>(helper.get()), nullptr);
  EXPECT_NE(dynamic_cast<Tal::ResourceModificationListener*>(helper.get()), nullptr);
}

}  // namespace
