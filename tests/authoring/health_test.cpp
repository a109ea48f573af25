#include <authoring/category.h>
#include <authoring/session_fixture.h>

#include <filesystem>
#include <tuple>

namespace Tal::authoring {
namespace {

/// The estimate that an explanation's own figures give, by the rule that it names.
int healthByRule(const HealthExplanation& explanation) {
  switch (explanation.rule) {
    case HealthRule::gatesAndFences:
      if (explanation.words->empty()) return -1;
      return explanation.words->front() == "stone" ? 10 : 1;
    case HealthRule::environment:
      if (!explanation.extent) return -1;
      return explanation.extent->volume >= 3.0F ? 10 : 1;
    case HealthRule::small:
      return 1;
    case HealthRule::structure:
      return explanation.bspMaterialCount == 2 ? 35 : 50;
    case HealthRule::category:
      return explanation.category == DT_NON_DESTRUCTIBLE ? -1 : 20;
  }
  return 0;
}

using Estimate = SessionTest;

TEST_F(Estimate, AgreesWithItsExplanationInEveryCase) {
  int compared = 0;
  for (const std::string folder :
       {"props", "GatesAndFences", "Environment", "militaryenvironment", "railway"}) {
    for (const std::string corner : {"1 1 0.5", "1 1 2.9", "1 1 3", "2 2 2", "-1 1 9", ""}) {
      for (const std::string word : {"stone", "wood", "metal", "woodmetal", "brick"}) {
        for (const std::size_t bspCount : {1U, 2U, 3U}) {
          const std::string stem = "content/" + folder + "/m" + std::to_string(compared);
          support::ModelFiles files;
          files.corner = corner.empty() ? "1 1 1" : corner;
          for (const char* const digit : {"1", "2", "3"}) {
            const std::string name = "n_" + word + digit;
            files.materials.emplace_back(name, 73 + static_cast<unsigned>(*digit - '0'));
            if (files.bsp.size() < bspCount) files.bsp.push_back(name);
          }
          support::writeModel(root_, stem, files);
          if (corner.empty()) {
            // The model finds its visual by another name than the estimate looks for.
            std::filesystem::rename(root_ / (stem + ".visual"), root_ / (stem + "_far.visual"));
            root_.write(stem + ".model", "<root><visual>" + stem + "_far.visual</visual></root>");
          }
          const auto session = open(stem + ".model");
          for (const KsDestructibleType category :
               {DT_NON_DESTRUCTIBLE, DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS}) {
            expectDone(session->convert(category));
            const HealthExplanation explanation = *session->explainHealth();
            EXPECT_EQ(explanation.health, session->helper().calculateDestructibleHealth());
            EXPECT_EQ(explanation.health, healthByRule(explanation))
                << stem << " " << corner << " " << categoryName(category) << " "
                << healthRuleName(explanation.rule);
            ++compared;
          }
        }
      }
    }
  }
  EXPECT_EQ(compared, 5 * 6 * 5 * 3 * 4);
}

TEST_F(Estimate, OfAGateNamesTheWordsAndMaterials) {
  support::writeModel(root_, "content/gatesandfences/gate",
                      {.materials = {{"n_wood1", 74}, {"n_metalstone2", 75}, {"d_wood1", 88}}});
  const HealthExplanation explanation = *open("content/gatesandfences/gate.model")->explainHealth();
  EXPECT_EQ(explanation.health, 10);
  EXPECT_EQ(healthRuleName(explanation.rule), "gates-and-fences");
  EXPECT_THAT(explanation.words.value(), testing::ElementsAre("stone", "wood", "metal"));
  EXPECT_THAT(explanation.materials.value(), testing::ElementsAre("n_metalstone2", "n_wood1"));
  EXPECT_FALSE(explanation.extent.has_value());
  EXPECT_EQ(healthReason(explanation),
            "a gate or fence, its undamaged materials are named after stone and wood and metal");
}

TEST_F(Estimate, OfAGateOfUnknownMaterialIsRefusedWithTheModulesWarning) {
  support::writeModel(root_, "content/gatesandfences/gate", {.materials = {{"n_brick1", 74}}});
  const HealthExplanation explanation = *open("content/gatesandfences/gate.model")->explainHealth();
  EXPECT_EQ(explanation.health, -1);
  EXPECT_THAT(
      messages_.texts(),
      testing::ElementsAre("[Wrn.122] Model content/gatesandfences/gate.model has no stone, wood and metal "
                           "materials - cannot calculate health of destructible."));
  EXPECT_EQ(healthReason(explanation),
            "a gate or fence, but no undamaged material is named after stone, wood or metal");
}

TEST_F(Estimate, OfAnEnvironmentObjectNamesItsVolume) {
  support::writeModel(root_, "content/environment/rock", {.materials = {{"n_rock", 73}}, .corner = "1 1 3"});
  const HealthExplanation explanation = *open("content/environment/rock.model")->explainHealth();
  EXPECT_EQ(explanation.health, 10);
  EXPECT_EQ(healthRuleName(explanation.rule), "environment");
  EXPECT_EQ(explanation.extent.value().volume, 3.0F);
  EXPECT_EQ(explanation.extent.value().max, (Vector3{1, 1, 3}));
  EXPECT_EQ(healthReason(explanation),
            "an environment object, its bounding box has a volume of 3 (3 or more)");
}

TEST_F(Estimate, OfASmallObjectNamesItsVolume) {
  support::writeModel(root_, "content/props/tin", {.materials = {{"n_tin", 73}}, .corner = "0.5 1 1"});
  const HealthExplanation explanation = *open("content/props/tin.model")->explainHealth();
  EXPECT_EQ(explanation.health, 1);
  EXPECT_EQ(healthRuleName(explanation.rule), "small");
  EXPECT_EQ(healthReason(explanation), "a small object, its bounding box has a volume of 0.5 (below 3)");
}

TEST_F(Estimate, OfAnObjectBeyondAllNumbersSaysSo) {
  support::writeModel(root_, "content/environment/sky",
                      {.materials = {{"n_sky", 73}}, .corner = "1e38 1e38 1e38"});
  EXPECT_EQ(healthReason(*open("content/environment/sky.model")->explainHealth()),
            "an environment object, its bounding box has a volume of more than any number (3 or more)");
}

TEST_F(Estimate, OfABigObjectNamesItsCategory) {
  const auto session = open(kCrate);
  HealthExplanation explanation = *session->explainHealth();
  EXPECT_EQ(explanation.health, -1);
  EXPECT_EQ(healthRuleName(explanation.rule), "category");
  EXPECT_EQ(
      healthReason(explanation),
      "its bounding box has a volume of 8 (3 or more), and its category is none; no health is estimated for "
      "that, convert the model first");
  expectDone(session->convert(DT_FALLING_ATOMS));
  explanation = *session->explainHealth();
  EXPECT_EQ(explanation.health, 20);
  EXPECT_EQ(healthReason(explanation),
            "its bounding box has a volume of 8 (3 or more), and its category is falling-atom");
}

TEST_F(Estimate, OfABigStructureCountsItsCollisionMaterials) {
  const auto session = open(kHouse);
  expectDone(session->convert(DT_STRUCTURE));
  const HealthExplanation explanation = *session->explainHealth();
  EXPECT_EQ(explanation.health, 50);
  EXPECT_EQ(healthRuleName(explanation.rule), "structure");
  EXPECT_EQ(explanation.bspMaterialCount, 4);
  EXPECT_EQ(healthReason(explanation),
            "a structure, its bounding box has a volume of 8 (3 or more); 4 of its 5 undamaged materials are "
            "collision materials (exactly 2 make it 35, else it is 50)");
}

}  // namespace
}  // namespace Tal::authoring
