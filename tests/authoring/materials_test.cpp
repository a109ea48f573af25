#include <authoring/session_fixture.h>

namespace Tal::authoring {
namespace {

class Materials : public SessionTest {
 protected:
  std::unique_ptr<Session> withMaterials(
      const std::vector<std::pair<std::string, unsigned>>& materials) const {
    support::writeModel(root_, "content/m", {.materials = materials});
    return open("content/m.model");
  }
};

TEST_F(Materials, AreDescribedInOrderOfTheirNames) {
  const auto session = withMaterials({{"s_ground", 0},
                                      {"n_wall_1", 74},
                                      {"n_roof_2_1", 75},
                                      {"d_wall_1", 88},
                                      {"partN12", 0},
                                      {"glass", 5}});
  std::vector<std::string> lines;
  for (const Material& material : session->materials()) {
    std::string line = material.name + " " + std::to_string(material.kind) + " " +
                       std::string(materialClassName(material.materialClass));
    if (material.part) line += " part " + std::to_string(*material.part);
    if (!material.isVisible) line += " hidden";
    for (const unsigned kind : material.dependencies) line += " needs " + std::to_string(kind);
    lines.push_back(line);
  }
  EXPECT_THAT(lines,
              testing::ElementsAre("d_wall_1 88 destroyed part 1 hidden", "glass 5 other",
                                   "n_roof_2_1 75 undamaged part 2 needs 74", "n_wall_1 74 undamaged part 1",
                                   "partN12 0 undamaged part 2", "s_ground 0 static"));
}

TEST_F(Materials, WithoutAKindAreNamedWhenTheirNamesExpectAPart) {
  const auto session = withMaterials(
      {{"n_a", 0}, {"d_b", 0}, {"partN4", 0}, {"partD", 0}, {"s_c", 0}, {"glass", 0}, {"n_d", 73}});
  std::vector<std::string> names;
  for (const MaterialWarning& warning : session->materialWarnings()) {
    if (warning.code != MaterialWarning::Code::defaultKind) continue;
    EXPECT_EQ(materialWarningName(warning.code), "default-kind");
    names.push_back(warning.material);
  }
  EXPECT_THAT(names, testing::ElementsAre("d_b", "n_a", "partN4"));
  EXPECT_EQ(session->materialWarnings().front().text,
            "material \"d_b\" is named as a part but has no kind (0); give it one of 73 to 100");
}

TEST_F(Materials, WhoseKindIsNotThatOfTheirNumberAreNamedWithWhatToDo) {
  const auto session = withMaterials({{"n_a_2_1", 75},
                                      {"n_b_1", 74},
                                      {"partN3", 77},
                                      {"partN4", 77},
                                      {"partN12", 85},
                                      {"d_roof", 88},
                                      {"glass7", 0}});
  std::vector<std::string> texts;
  for (const MaterialWarning& warning : session->materialWarnings()) {
    EXPECT_EQ(materialWarningName(warning.code), "disordered-kind");
    EXPECT_THAT(warning.text, testing::StartsWith("material \"" + warning.material + "\" ends in "));
    texts.push_back(warning.text);
  }
  EXPECT_THAT(
      texts,
      testing::ElementsAre(
          "material \"d_roof\" ends in no part number, which stands for 0, but its kind 88 is not of that "
          "part; rename it or give it kind 87",
          "material \"glass7\" ends in part number 7, but its kind 0 is not of that part; rename it: only "
          "names of parts (n..., d...) end in a number",
          "material \"n_a_2_1\" ends in part number 1, but its kind 75 is not of that part; that is in order "
          "if it ends in the number of a part that it depends on",
          "material \"partN12\" ends in part number 2, but its kind 85 is not of that part; of a number "
          "above "
          "9 only the last digit counts, so it cannot agree",
          "material \"partN3\" ends in part number 3, but its kind 77 is not of that part; rename it or give "
          "it kind 76"));
}

TEST_F(Materials, OfAKindThatNoPartHasAreNamed) {
  const auto session = withMaterials({{"glass", 5}, {"n_a", 73}, {"d_a", 87}, {"s_b", 101}, {"tin", 0}});
  std::vector<std::string> texts;
  for (const MaterialWarning& warning : session->materialWarnings()) {
    EXPECT_EQ(materialWarningName(warning.code), "no-part-kind");
    texts.push_back(warning.text);
  }
  EXPECT_THAT(texts,
              testing::ElementsAre("material \"glass\" has the kind 5, which shows no part; undamaged parts "
                                   "have 73 to 86, destroyed ones 87 to 100, and all else 0",
                                   "material \"s_b\" has the kind 101, which shows no part; undamaged parts "
                                   "have 73 to 86, destroyed ones 87 to 100, and all else 0"));
}

TEST_F(Materials, OfAPartsKindWithAStaticNameAreNamed) {
  const auto session = withMaterials({{"stone", 73}, {"sx", 88}, {"s_base", 0}});
  std::vector<std::string> texts;
  for (const MaterialWarning& warning : session->materialWarnings()) {
    EXPECT_EQ(materialWarningName(warning.code), "static-part");
    texts.push_back(warning.text);
  }
  EXPECT_THAT(texts, testing::ElementsAre(
                         "material \"stone\" has the kind 73 of a part, but its name begins with \"s\", "
                         "which makes it static whatever its kind; rename it, or give it the kind 0",
                         "material \"sx\" has the kind 88 of a part, but its name begins with \"s\", "
                         "which makes it static whatever its kind; rename it, or give it the kind 0"));
}

TEST_F(Materials, ThatTakeAlongAPartWhichIsMissingAreNamedWithWhatVanishes) {
  const auto textsOf = [](const Session& session) {
    std::vector<std::string> texts;
    for (const MaterialWarning& warning : session.materialWarnings())
      texts.push_back(std::string(materialWarningName(warning.code)) + ": " + warning.text);
    return texts;
  };
  EXPECT_THAT(
      textsOf(*withMaterials({{"n_dep_1_9", 74}, {"s_base", 0}, {"glass", 0}})),
      testing::ElementsAre(
          "disordered-kind: material \"n_dep_1_9\" ends in part number 9, but its kind 74 is not of that "
          "part; its name takes "
          "along a part that is missing",
          "missing-part: material \"n_dep_1_9\" takes along a part that no undamaged material has, so where "
          "it breaks "
          "every "
          "material without a kind vanishes: \"glass\" and \"s_base\"; rename it, or give the model that "
          "part"));
  EXPECT_THAT(textsOf(*withMaterials({{"n_dep_1_9_1", 74}})),
              testing::ElementsAre(
                  "missing-part: material \"n_dep_1_9_1\" takes along a part that no undamaged material has; "
                  "rename it, or give the model that part",
                  "own-part: material \"n_dep_1_9_1\" takes along its own part, so where it breaks the part "
                  "vanishes: its destroyed look is hidden, too; rename it"));
}

TEST_F(Materials, ThatTakeAlongTheirOwnPartAreNamed) {
  const auto session = withMaterials({{"n_w_1_1", 74}, {"d_w_1", 88}, {"n_x_2", 75}});
  std::vector<std::string> texts;
  for (const MaterialWarning& warning : session->materialWarnings()) texts.push_back(warning.text);
  EXPECT_THAT(texts, testing::ElementsAre(
                         "material \"n_w_1_1\" takes along its own part, so where it breaks the part "
                         "vanishes: its destroyed look is hidden, too; rename it"));
}

TEST_F(Materials, WithVeryLongNamesAreClassified) {
  const std::string name = "n" + std::string(100'000, 'a') + "\nb7";
  const auto session = withMaterials({{name, 0}});
  const std::vector<MaterialWarning> warnings = session->materialWarnings();
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].material, name);
  EXPECT_LT(warnings[0].text.size(), 300U);
}

}  // namespace
}  // namespace Tal::authoring
