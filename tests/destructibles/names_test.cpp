#include <destructibles/fixture.h>

#include <random>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

class MaterialNames : public DestructiblesTest {
 protected:
  unsigned numberOf(const std::string& name) const { return helper_.getMaterialNumericID(name); }

  KsDestructiblesHelper helper_;
};

// --- The part number ---

TEST_F(MaterialNames, GiveTheirLastDigitAsThePartNumber) {
  EXPECT_EQ(numberOf("partN12"), 2U);
  EXPECT_EQ(numberOf("partN3"), 3U);
  EXPECT_EQ(numberOf("7"), 7U);
  EXPECT_EQ(numberOf("10"), 0U);
  EXPECT_EQ(numberOf("a1b9"), 9U);
  EXPECT_EQ(numberOf("4294967296"), 6U);
}

TEST_F(MaterialNames, ThatDoNotEndInADigitGive0) {
  for (const char* name : {"", "wall", "7a", "wall7 ", "wall7_", "7.", "-"})
    EXPECT_EQ(numberOf(name), 0U) << name;
}

TEST_F(MaterialNames, ThatHoldALineBreakGive0) {
  for (const char* name : {"a\n7", "\n7", "a7\n", "a\r7", "\r7", "a7\r", "\n", "1\n2\n3"})
    EXPECT_EQ(numberOf(name), 0U) << ::testing::PrintToString(name);
}

TEST_F(MaterialNames, WithOtherCharactersGiveTheirLastDigit) {
  EXPECT_EQ(numberOf("a\t7"), 7U);
  EXPECT_EQ(numberOf("é7"), 7U);
  EXPECT_EQ(numberOf("\xff\x80"
                     "7"),
            7U);
  EXPECT_EQ(numberOf("\x0b\x0c"
                     "7"),
            7U);
  EXPECT_EQ(numberOf(std::string("a\0007", 3)), 7U);
  EXPECT_EQ(numberOf("100%s7"), 7U);
}

TEST_F(MaterialNames, GiveThePartNumberThatTheExpressionGives) {
  const std::regex expression(".*(\\d+)$");
  const std::string alphabet = "a07\n\r_9";
  std::mt19937 random(20);  // NOLINT(cert-msc51-cpp,cert-msc32-c): the same names in every run
  for (int i = 0; i < 3000; ++i) {
    std::string name(random() % 7, ' ');
    for (char& c : name) c = alphabet[random() % alphabet.size()];
    std::smatch match;
    const bool isMatch = std::regex_match(name, match, expression);
    const unsigned expected = isMatch ? static_cast<unsigned>(std::stoul(match[1].str())) : 0U;
    EXPECT_EQ(numberOf(name), expected) << ::testing::PrintToString(name);
  }
}

TEST_F(MaterialNames, GiveTheSameNumberWhereverALineBreakStandsInALongName) {
  for (const std::size_t length : {63U, 64U, 65U, 66U, 130U}) {
    EXPECT_EQ(numberOf(std::string(length - 1, 'a') + "7"), 7U);
    EXPECT_EQ(numberOf(std::string(length, '7')), 7U);
    for (std::size_t place = 0; place < length; ++place) {
      std::string name(length, '7');
      name[place] = place % 2 == 0 ? '\n' : '\r';
      EXPECT_EQ(numberOf(name), 0U) << "a line break at " << place << " of " << length;
    }
  }
}

// --- Names of any length ---

TEST_F(MaterialNames, OfAMillionCharactersGiveTheirPartNumber) {
  EXPECT_EQ(numberOf(std::string(999'999, 'a') + "7"), 7U);
  EXPECT_EQ(numberOf(std::string(1'000'000, '8')), 8U);
  EXPECT_EQ(numberOf(std::string(1'000'000, 'a')), 0U);
  EXPECT_EQ(numberOf("\n" + std::string(999'999, '5')), 0U);
}

TEST_F(MaterialNames, OfAMillionCharactersAreClassifiedAndChecked) {
  const std::string undamaged = "partN" + std::string(1'000'000, 'x') + "3";
  const std::string destroyed = "d" + std::string(1'000'000, '1') + "4";
  const OpenModel open({{{undamaged, 76}, {destroyed, 90}}}, "m");
  EXPECT_TRUE(open->isMaterialKindUndamaged(undamaged));
  EXPECT_TRUE(open->isMaterialKindDestroyed(destroyed));
  Strings names;
  EXPECT_TRUE(open->hasDisorderedMaterialKinds(&names));
  EXPECT_THAT(names, ElementsAre(destroyed));
}

TEST_F(MaterialNames, MadeOfUnderscoresAndNumbersInAMillionCharactersAreSafe) {
  std::string name = "a_b_1";
  while (name.size() < 1'000'000) name += "_2";
  const OpenModel open({{{name, 80}, {"c_d_2", 81}}}, "m");
  EXPECT_THAT(open->getMaterialDependencies(80), ElementsAre(81U));
}

struct PatternRow {
  const char* title;
  const char* pattern;
  std::string name;
  bool matches;
};

class LongNames : public DestructiblesTest, public ::testing::WithParamInterface<PatternRow> {};

TEST_P(LongNames, AreMatchedAsShortOnes) {
  pretendLoaded();
  const OpenModel open({{{GetParam().name, 0}}}, "m");
  Strings names;
  EXPECT_EQ(open->hasDefaultMaterialKinds(std::regex(GetParam().pattern), &names), GetParam().matches);
  EXPECT_THAT(names, SizeIs(GetParam().matches ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, LongNames,
    ::testing::Values(
        PatternRow{"WithAnything", ".*", std::string(100'000, 'a'), true},
        PatternRow{"OfAMillionCharactersWithAnything", ".*", std::string(1'000'000, 'a'), true},
        PatternRow{"WithAnythingButALineBreak", ".*", std::string(99'999, 'a') + "\n", false},
        PatternRow{"WithAPrefixOfAParts", "(part|x)[ND].*", "partD" + std::string(100'000, '7'), true},
        PatternRow{"WithAPrefixOfAnotherName", "(part|x)[ND].*", "partE" + std::string(100'000, '7'), false},
        PatternRow{"WithARepeatedChoice", "([a-z]|[0-9])*",
                   std::string(50'000, 'a') + std::string(50'000, '1'), true},
        PatternRow{"WithARepeatedChoiceThatFailsAtTheEnd", "([a-z]|[0-9])*", std::string(100'000, 'a') + "A",
                   false}),
    [](const auto& row) { return std::string(row.param.title); });

TEST_F(MaterialNames, OfAllLengthsAreFoundTogether) {
  const std::string longName = "n" + std::string(100'000, 'x');
  const OpenModel open({{{"na", 0}, {longName, 0}, {"nz", 73}, {"b", 0}}}, "m");
  Strings names;
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("n.*"), &names));
  EXPECT_THAT(names, ElementsAre("na", longName));
}

TEST_F(MaterialNames, AreMatchedAsTheLibraryMatchesThem) {
  const std::string alphabet = "ab1\n";
  std::mt19937 random(21);  // NOLINT(cert-msc51-cpp,cert-msc32-c): the same names in every run
  for (const char* text : {".*", "a.*", "(a|b)+1?", "^a.*1$", "[^a]*", ""}) {
    const std::regex pattern(text);
    std::vector<support::MaterialPart> materials;
    std::set<std::string> expected;
    for (int i = 0; i < 200; ++i) {
      std::string name(random() % 5, ' ');
      for (char& c : name) c = alphabet[random() % alphabet.size()];
      materials.push_back({name, 0});
      if (std::regex_match(name, pattern)) expected.insert(name);
    }
    pretendLoaded();
    const OpenModel open({materials}, "m");
    Strings names;
    EXPECT_EQ(open->hasDefaultMaterialKinds(pattern, &names), !expected.empty()) << text;
    EXPECT_THAT(names, ::testing::ElementsAreArray(expected)) << text;
  }
}

}  // namespace
}  // namespace Tal
