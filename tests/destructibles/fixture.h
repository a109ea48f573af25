#pragma once

#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/recording_disabler.h>
#include <destructibles/test_access.h>
#include <render/render_system.h>
#include <resources/file_system.h>
#include <support/message_recorder.h>
#include <support/model_builder.h>
#include <support/mounted_root.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Tal {

using Access = KsDestructiblesHelperTestAccess;
using Strings = std::vector<std::string>;
using Kinds = std::vector<unsigned>;

inline constexpr const char* kDatabase = "scripts/destructibles.xml";

/// A message logged with the priority pair (0, `priority`), an empty category and source 0.
MATCHER_P2(isLogged, priority, text, "") {
  return arg.componentPriority == 0 && arg.messagePriority == priority && arg.category.empty() &&
         arg.source == 0 && arg.text == text && !arg.isCritical;
}

/// A model put together by hand, a disabler that records, and the helper that is bound to both.
struct OpenModel {
  OpenModel(const support::ModelParts& parts, const std::string& name)
      : model(support::buildModel(parts)),
        disabler(model.get(), &journal),
        helper(std::make_unique<KsDestructiblesHelper>(model.get(), name, &disabler)) {}

  KsDestructiblesHelper* operator->() const { return helper.get(); }
  KsDestructiblesHelper& operator*() const { return *helper; }

  std::unique_ptr<SuperModel> model;
  Journal journal;
  RecordingDisabler disabler;
  std::unique_ptr<KsDestructiblesHelper> helper;
};

/// Starts every test from empty class-wide tables and a resource root of its own, and ends it with the check
/// that every tracked operation was popped.
class DestructiblesTest : public ::testing::Test {
 protected:
  DestructiblesTest() { Access::clearTables(); }
  ~DestructiblesTest() override {
    EXPECT_TRUE(StackTracker::entries().empty()) << StackTracker::text();
    Access::clearTables();
  }

  void writeDatabase(std::string_view text) const { folder_.write(kDatabase, text); }
  std::string readDatabase() const { return folder_.read(kDatabase); }

  /// Makes helpers take the tables as they are.
  static void pretendLoaded() { Access::hasLoaded() = true; }

  /// Gives a model a bounding box from the origin to `corner` ("x y z").
  void writeVisual(const std::string& visual, const std::string& corner) const {
    folder_.write(visual, "<root>\n\t<boundingBox>\n\t\t<min>0 0 0</min>\n\t\t<max>" + corner +
                              "</max>\n\t</boundingBox>\n</root>\n");
  }

  /// Renders frames until `isTrue`; false when that takes too long.
  static bool renderUntil(const std::function<bool()>& isTrue) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!isTrue()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      rs().beginFrame();
      FS::fileSystem()->pump();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }

  support::MountedRoot folder_;
  support::MessageRecorder messages_;
};

}  // namespace Tal
