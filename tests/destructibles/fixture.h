#pragma once

#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/recording_disabler.h>
#include <destructibles/test_access.h>
#include <render/render_system.h>
#include <resources/file_system.h>
#include <support/host.h>
#include <support/model_builder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tal {

using Access = KsDestructiblesHelperTestAccess;
using Strings = std::vector<std::string>;
using Kinds = std::vector<unsigned>;

using support::kDatabase;

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
class DestructiblesTest : public ::testing::Test, public support::Host {
 protected:
  DestructiblesTest() { Access::clearTables(); }
  ~DestructiblesTest() override {
    EXPECT_TRUE(StackTracker::entries().empty()) << StackTracker::text();
    Access::clearTables();
  }

  /// Makes helpers take the tables as they are.
  static void pretendLoaded() { Access::hasLoaded() = true; }

  /// Gives a model a bounding box from the origin to `corner` ("x y z").
  void writeVisual(const std::string& visual, const std::string& corner) const {
    root_.write(visual, "<root>\n\t<boundingBox>\n\t\t<min>0 0 0</min>\n\t\t<max>" + corner +
                            "</max>\n\t</boundingBox>\n</root>\n");
  }
};

}  // namespace Tal
