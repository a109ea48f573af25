#pragma once

#include <authoring/session.h>
#include <support/host.h>
#include <support/model_files.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tal::authoring {

using support::kDatabase;
inline constexpr char kHouse[] = "content/buildings/house.model";
inline constexpr char kCrate[] = "content/props/crate.model";
inline constexpr char kLamp[] = "content/street/lamp.model";

/// A resource root with an empty database and three models:
/// a house, whose roof is no collision material and whose window has the kind of a wall; a crate; a lamp.
/// The text of a fault; empty of a success.
template <class Value>
std::string faultText(const Result<Value>& result) {
  return result ? std::string() : textOf(result.fault());
}

class SessionTest : public ::testing::Test, public support::Host {
 protected:
  SessionTest() {
    writeDatabase("<root>\n</root>\n");
    support::writeModel(root_, "content/buildings/house",
                        {.materials = {{"n_wall_1", 74},
                                       {"n_wall_2", 75},
                                       {"n_roof_3_1", 76},
                                       {"n_door_4", 77},
                                       {"n_window_5", 75},
                                       {"d_wall_1", 88},
                                       {"d_wall_2", 89},
                                       {"s_ground", 0}},
                         .bsp = {"n_wall_1", "n_wall_2", "n_door_4", "n_window_5"},
                         .nodes = {"root", "HP_wall_1", "HP_wall_2"},
                         .corner = "2 2 2"});
    support::writeModel(root_, "content/props/crate",
                        {.materials = {{"n_wood", 73}, {"d_wood", 87}},
                         .bsp = {"n_wood"},
                         .nodes = {"HP_top"},
                         .corner = "2 2 2"});
    support::writeModel(root_, "content/street/lamp",
                        {.materials = {{"n_pole", 73}}, .bsp = {"n_pole"}, .corner = "1 1 6"});
  }

  /// A session on a model that is there.
  static std::unique_ptr<Session> open(const std::string& model) {
    auto opened = Session::open(model);
    EXPECT_EQ(faultText(opened), "");
    if (!opened) throw std::runtime_error("no session: " + faultText(opened));
    return *std::move(opened);
  }

  /// A session on a model that is refused; the reason.
  static std::string refusalOf(const std::string& model) {
    const auto opened = Session::open(model);
    EXPECT_FALSE(opened);
    return faultText(opened);
  }

  static std::vector<SaveWarning> saveWarningsOf(Session& session) {
    auto warnings = session.saveWarnings();
    expectDone(warnings);
    return warnings ? *std::move(warnings) : std::vector<SaveWarning>();
  }

  template <class Value>
  static void expectDone(const Result<Value>& outcome) {
    EXPECT_EQ(faultText(outcome), "");
  }
};

}  // namespace Tal::authoring
