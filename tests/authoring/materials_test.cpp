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

TEST_F(Materials, WhoseKindIsNotThatOfTheirNumberAreNamed) {
  const auto session = withMaterials({{"partN3", 77}, {"partN4", 77}, {"glass7", 0}});
  const std::vector<MaterialWarning> warnings = session->materialWarnings();
  ASSERT_EQ(warnings.size(), 2U);
  EXPECT_EQ(warnings[0].material, "glass7");
  EXPECT_EQ(materialWarningName(warnings[1].code), "disordered-kind");
  EXPECT_EQ(
      warnings[1].text,
      "material \"partN3\" ends in part number 3, but its kind 77 is not that part; rename it or give it "
      "another kind, unless the number is that of another part");
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
