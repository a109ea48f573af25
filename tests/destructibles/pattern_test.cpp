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

// Only what matches at once: to find no match in optional repetitions takes time without end.
class ALongMaterialName : public DestructiblesTest {};

TEST_F(ALongMaterialName, IsMatchedAgainstAThousandRepetitions) {
  for (const std::size_t length : {65U, 1000U}) {
    const std::string name(length, 'a');
    const OpenModel open({{{name, 0}}}, "m");
    EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("((a?){1000})*"), nullptr));
  }
}

INSTANTIATE_TEST_SUITE_P(Patterns, AMaterialNameOfAnyLength,
                         ::testing::Values(Case{"One", 30, 1}, Case{"LastOnTheCallersStack", 30, 64},
                                           Case{"FirstOnItsOwnStack", 30, 65}, Case{"AThousand", 10, 1024},
                                           Case{"AThousandAndOne", 30, 1025}, Case{"FiveThousand", 30, 5000},
                                           Case{"AHundredThousand", 1, 100000}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace Tal
