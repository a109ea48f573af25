#include <cli/cli_fixture.h>

#include <nlohmann/json.hpp>

namespace cli_test {
namespace {

using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

/// The house as a structure, the crate as a fragile, and a file of effects.
class ThePanel : public CommandLine {
 protected:
  ThePanel() {
    writeDatabase(
        "<root><fragiles><entry><filename>content/props/crate.model</filename><health>7</health></entry>"
        "</fragiles><structures><entry><filename>content/buildings/house.model</filename><modules><module>"
        "<matName>n_wall_1</matName><health>11</health><effectHP>HP_wall_2</effectHP></module></modules></"
        "entry>"
        "</structures></root>");
    folder_.write("scripts/destructibles_effects.xml",
                  "<root><structures><s_hit/></structures><fragiles><f_hit/><f_lifetime/></fragiles></root>");
  }
};

TEST_F(ThePanel, ShowsTheRecordOfAFragile) {
  EXPECT_EQ(result({"properties", kCrate}),
            "Health            7     integer, 0 decimals\n"
            "Effect hardpoint  -     combo box\n"
            "Hit effect        -     combo box, autocomplete\n"
            "Effect            none  combo box, autocomplete\n"
            "Lifetime effect   none  combo box, autocomplete\n"
            "Decay effect      none  combo box, autocomplete\n");
}

TEST_F(ThePanel, ShowsTheRecordOfAModuleWithItsOptions) {
  EXPECT_EQ(result({"properties", kHouse, "--module", "n_wall_1", "--options"}),
            "Health            11         integer, 0 decimals\n"
            "Effect hardpoint  HP_wall_2  combo box                -, HP_wall_1, HP_wall_2\n"
            "Hit effect        -          combo box, autocomplete  -, none, s_hit\n"
            "Ram effect        none       combo box, autocomplete  -, none, s_hit\n"
            "Decay effect      none       combo box, autocomplete  -, none, s_hit\n");
}

TEST_F(ThePanel, NamesWhatIsQuestionableInTheRecordThatItShows) {
  EXPECT_EQ(run({"set", kHouse, "--module", "n_wall_1", "ramEffect=s_hitt", "effectScale=0"}).status, 0);
  EXPECT_EQ(run({"set", kHouse, "--module", "n_wall_2", "decayEffect=f_hit"}).status, 0);
  EXPECT_THAT(
      result({"properties", kHouse, "--module", "n_wall_1"}),
      testing::EndsWith("\n\nwarnings\n"
                        "  effectScale: 0 leaves effects no size; give a number above 0\n"
                        "  ramEffect: scripts/destructibles_effects.xml has no effect \"s_hitt\" for a "
                        "structure; did you mean \"s_hit\"?\n"));
  const Json panel = Json::parse(result({"properties", kHouse, "--module", "n_wall_1", "--json"}));
  ASSERT_EQ(panel.at("warnings").size(), 2U);
  EXPECT_EQ(panel.at("warnings")[0],
            Json::parse(R"({"warning": "no-scale", "module": "n_wall_1", "key": "effectScale",
                            "text": "effectScale: 0 leaves effects no size; give a number above 0"})"));
  EXPECT_EQ(Json::parse(result({"properties", kCrate, "--json"})).at("warnings"), Json::array());
}

TEST_F(ThePanel, IsOneObjectForPrograms) {
  const Json panel =
      Json::parse(result({"properties", kHouse, "--module", "n_wall_1", "--json", "--options"}));
  EXPECT_EQ(panel.at("model"), kHouse);
  EXPECT_EQ(panel.at("module"), "n_wall_1");
  EXPECT_EQ(panel.at("record"), "Tal::KsDestructibleModuleDesc");
  ASSERT_EQ(panel.at("properties").size(), 5U);
  EXPECT_EQ(panel.at("properties")[0], Json::parse(R"({"name": "Health", "value": 11, "type": "integer",
      "widget": "integer, 0 decimals", "precision": 0})"));
  EXPECT_EQ(panel.at("properties")[1],
            Json::parse(R"({"name": "Effect hardpoint", "value": "HP_wall_2", "type": "string",
      "widget": "combo box", "onChange": "_notifyHardPointChanged", "options": ["", "HP_wall_1", "HP_wall_2"]})"));
  EXPECT_EQ(panel.at("properties")[2], Json::parse(R"({"name": "Hit effect", "value": "", "type": "string",
      "widget": "combo box, autocomplete", "autocomplete": true, "options": ["", "none", "s_hit"]})"));
  EXPECT_FALSE(Json::parse(result({"properties", kCrate, "--json"})).contains("module"));
}

TEST_F(ThePanel, IsRefusedWhereThereIsNoRecord) {
  EXPECT_THAT(refusal({"properties", kHouse}), HasSubstr("name one; there are \"n_"));
  EXPECT_THAT(refusal({"properties", kHouse, "--module", "n_wall_9"}),
              HasSubstr("has no module \"n_wall_9\""));
  EXPECT_THAT(refusal({"properties", kLamp}), HasSubstr("is not destructible and has no properties"));
  EXPECT_THAT(refusal({"properties", kCrate, "--module", "n_wood"}), HasSubstr("is no structure"));
}

TEST_F(ThePanel, NamesWhatIsSet) {
  EXPECT_EQ(result({"set", kCrate, "Hit effect=f_hit", "Health=12"}),
            "content/props/crate.model: health 7 -> 12\n"
            "content/props/crate.model: hitEffect (empty) -> f_hit\n");
  EXPECT_THAT(readDatabase(), HasSubstr("<hitEffect>f_hit</hitEffect>"));
  EXPECT_EQ(refusal({"set", kCrate, "Health=3.5"}),
            "Health: cannot convert the string \"3.5\" to int32; give a value that fits");
}

TEST_F(ThePanel, OffersTheEffectsThatAreListed) {
  EXPECT_EQ(result({"effects"}), "structure  s_hit\nfragile    f_hit\nfragile    f_lifetime\n");
  EXPECT_EQ(result({"effects", "--category", "fragile"}), "fragile  f_hit\nfragile  f_lifetime\n");
  EXPECT_EQ(result({"effects", "--key", "HIT"}), "structure  s_hit\nfragile    f_hit\n");
  EXPECT_EQ(Json::parse(result({"effects", "--category", "fragile", "--key", "life", "--json"})),
            Json::parse(R"([{"category": "fragile", "effect": "f_lifetime"}])"));
  EXPECT_EQ(result({"effects", "--category", "falling-atom"}), "");
  EXPECT_THAT(refusal({"effects", "--category", "none"}), HasSubstr("there is no category \"none\""));
}

TEST_F(ThePanel, IsToldWhenThereIsNoFileOfEffects) {
  std::filesystem::remove(folder_ / "scripts/destructibles_effects.xml");
  EXPECT_THAT(refusal({"effects"}), HasSubstr("no resource root holds scripts/destructibles_effects.xml"));
  EXPECT_THAT(result({"properties", kCrate, "--options"}), HasSubstr("Hit effect        -     combo box, "
                                                                     "autocomplete  -, none\n"));
}

TEST_F(ThePanel, DoesNotOfferAShortListWhenTheEffectsCannotBeRead) {
  folder_.write("scripts/destructibles_effects.xml", "<root");
  const ProcessResult refused = run({"properties", kCrate, "--options"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_THAT(refused.err, HasSubstr("scripts/destructibles_effects.xml:1:1: unclosed token"));
  EXPECT_THAT(result({"properties", kCrate}), HasSubstr("Hit effect"));
}

}  // namespace
}  // namespace cli_test
