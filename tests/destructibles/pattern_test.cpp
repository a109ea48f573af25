// Patterns recurse with their groups, names with their length; both may be large.

#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;

std::string nestedGroups(int depth) {
  const auto count = static_cast<std::size_t>(depth);
  return std::string(count, '(') + 'a' + std::string(count, ')') + '*';
}

struct Case {
  const char* name;
  int groups;
  std::size_t length;
};

class AMaterialNameOfAnyLength : public DestructiblesTest, public ::testing::WithParamInterface<Case> {};

TEST_P(AMaterialNameOfAnyLength, IsMatchedAgainstNestedGroups) {
  const std::string name(GetParam().length, 'a');
  const OpenModel open({{{name, 0}}}, "m");
  Strings names;
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex(nestedGroups(GetParam().groups)), &names));
  EXPECT_THAT(names, ElementsAre(name));
  EXPECT_FALSE(open->hasDefaultMaterialKinds(std::regex(nestedGroups(GetParam().groups) + "b"), nullptr));
}

INSTANTIATE_TEST_SUITE_P(Patterns, AMaterialNameOfAnyLength,
                         ::testing::Values(Case{"One", 30, 1}, Case{"LastOnTheCallersStack", 30, 64},
                                           Case{"FirstOnItsOwnStack", 30, 65}, Case{"AThousand", 10, 1024},
                                           Case{"AThousandAndOne", 30, 1025}, Case{"FiveThousand", 30, 5000},
                                           Case{"AHundredThousand", 1, 100000}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace Tal
