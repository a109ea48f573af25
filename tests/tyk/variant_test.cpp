#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tyk/variant.h>

#include <cmath>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using tyk::Variant;
using tyk::VariantList;
using Type = tyk::Variant::Type;

constexpr auto kNone = std::nullopt;

/// What the refusal of a cast says; "" when it is not refused.
template <class T>
std::string refusal(const Variant& value) {
  try {
    value.castTo<T>();
  } catch (const tyk::BadCast& error) {
    return error.what();
  }
  return "";
}

TEST(AVariant, HoldsAValueOfItsType) {
  EXPECT_EQ(Variant().type(), Type::empty);
  EXPECT_EQ(Variant(true).type(), Type::boolean);
  EXPECT_EQ(Variant(-5).type(), Type::signedInteger);
  EXPECT_EQ(Variant(5U).type(), Type::unsignedInteger);
  EXPECT_EQ(Variant(1.5F).type(), Type::singleFloat);
  EXPECT_EQ(Variant(1.5).type(), Type::doubleFloat);
  EXPECT_EQ(Variant("none").type(), Type::string);
  EXPECT_EQ(Variant(std::vector<std::string>{"a"}).type(), Type::list);
}

TEST(AVariant, IsNoBoolForWhatConvertsToOne) {
  static_assert(!std::is_constructible_v<Variant, const int*>);
  static_assert(!std::is_constructible_v<Variant, void*>);
  EXPECT_EQ(Variant("text").type(), Type::string);
}

TEST(AVariant, EqualsAnotherOfItsTypeAndValue) {
  EXPECT_EQ(Variant(7), Variant(7));
  EXPECT_NE(Variant(7), Variant(7U));
  EXPECT_NE(Variant(7), Variant(8));
  EXPECT_NE(Variant(7), Variant("7"));
  EXPECT_EQ(Variant(VariantList{1, "a"}), Variant(VariantList{1, "a"}));
  EXPECT_EQ(Variant(), Variant());
}

TEST(AVariant, ShowsItsValueToAPerson) {
  EXPECT_EQ(Variant().text(), "");
  EXPECT_EQ(Variant(true).text(), "true");
  EXPECT_EQ(Variant(-5).text(), "-5");
  EXPECT_EQ(Variant(0.1F).text(), "0.1");
  EXPECT_EQ(Variant(std::nan("")).text(), "nan");
  EXPECT_EQ(Variant(VariantList{1, "a", VariantList{}}).text(), "[1, a, []]");
  EXPECT_EQ(Variant(VariantList{"", "a", ""}).text(), "[, a, ]");
}

TEST(AnInteger, BecomesEveryWidthThatHoldsIt) {
  EXPECT_EQ(Variant(127).tryCastTo<std::int8_t>(), 127);
  EXPECT_EQ(Variant(128).tryCastTo<std::int8_t>(), kNone);
  EXPECT_EQ(Variant(-1).tryCastTo<std::uint32_t>(), kNone);
  EXPECT_EQ(Variant(4294967295U).tryCastTo<std::uint32_t>(), 4294967295U);
  EXPECT_EQ(Variant(4294967295U).tryCastTo<std::int32_t>(), kNone);
  EXPECT_EQ(Variant(99999999999).tryCastTo<std::int32_t>(), kNone);
  EXPECT_EQ(Variant(std::numeric_limits<std::uint64_t>::max()).tryCastTo<std::int64_t>(), kNone);
  EXPECT_EQ(Variant(std::numeric_limits<std::uint64_t>::max()).tryCastTo<std::uint64_t>(),
            std::numeric_limits<std::uint64_t>::max());
}

TEST(AnInteger, BecomesAFloatingPointNumberThatEqualsIt) {
  EXPECT_EQ(Variant(16777216).tryCastTo<float>(), 16777216.0F);
  EXPECT_EQ(Variant(16777217).tryCastTo<float>(), kNone);
  EXPECT_EQ(Variant(16777217).tryCastTo<double>(), 16777217.0);
  EXPECT_EQ(Variant(std::numeric_limits<std::int64_t>::max()).tryCastTo<double>(), kNone);
  EXPECT_EQ(Variant(std::numeric_limits<std::int64_t>::min()).tryCastTo<double>(), -9223372036854775808.0);
  EXPECT_EQ(Variant(std::numeric_limits<std::uint64_t>::max()).tryCastTo<double>(), kNone);
}

TEST(AFloatingPointNumber, BecomesAnIntegerWhenItIsWholeAndInRange) {
  EXPECT_EQ(Variant(3.0).tryCastTo<int>(), 3);
  EXPECT_EQ(Variant(3.5).tryCastTo<int>(), kNone);
  EXPECT_EQ(Variant(-0.0).tryCastTo<unsigned>(), 0U);
  EXPECT_EQ(Variant(-1.0F).tryCastTo<unsigned>(), kNone);
  EXPECT_EQ(Variant(2147483648.0).tryCastTo<int>(), kNone);
  EXPECT_EQ(Variant(9223372036854775808.0).tryCastTo<std::int64_t>(), kNone);
  EXPECT_EQ(Variant(18446744073709551616.0).tryCastTo<std::uint64_t>(), kNone);
  EXPECT_EQ(Variant(1e300).tryCastTo<int>(), kNone);
  EXPECT_EQ(Variant(std::nan("")).tryCastTo<int>(), kNone);
  EXPECT_EQ(Variant(std::numeric_limits<double>::infinity()).tryCastTo<std::int64_t>(), kNone);
}

TEST(ADouble, BecomesAFloatOfTheSameValueOrTheSameDigits) {
  EXPECT_EQ(Variant(0.5).tryCastTo<float>(), 0.5F);
  EXPECT_EQ(Variant(0.1).tryCastTo<float>(), 0.1F);
  EXPECT_EQ(Variant(double{0.1F}).tryCastTo<float>(), 0.1F);
  EXPECT_EQ(Variant(16777217.0).tryCastTo<float>(), kNone);
  EXPECT_EQ(Variant(3.141592653589793).tryCastTo<float>(), kNone);
  EXPECT_EQ(Variant(1e39).tryCastTo<float>(), kNone);
  EXPECT_EQ(Variant(1e-60).tryCastTo<float>(), kNone);
  EXPECT_EQ(Variant(std::nan("")).tryCastTo<float>(), kNone);
}

TEST(AText, BecomesANumberWhenAllOfItIsOne) {
  EXPECT_EQ(Variant("12").tryCastTo<int>(), 12);
  EXPECT_EQ(Variant("-12").tryCastTo<int>(), -12);
  EXPECT_EQ(Variant("1e3").tryCastTo<float>(), 1000.0F);
  EXPECT_EQ(Variant("0.1").tryCastTo<float>(), 0.1F);
  for (const char* const text :
       {"", " 12", "12 ", "12abc", "+12", "3.5", "1e3", "0x10", "99999999999", "-", "twelve", "1,2"})
    EXPECT_EQ(Variant(text).tryCastTo<int>(), kNone) << text;
  for (const char* const text : {"", " 1", "1.5f", "1,5", "1e40", "nan", "inf", "-infinity", ".", "+1"})
    EXPECT_EQ(Variant(text).tryCastTo<float>(), kNone) << text;
  EXPECT_EQ(Variant(std::string("1\0", 2)).tryCastTo<int>(), kNone);
  EXPECT_EQ(Variant("-1").tryCastTo<unsigned>(), kNone);
  EXPECT_EQ(Variant("18446744073709551615").tryCastTo<std::uint64_t>(), 18446744073709551615ULL);
  EXPECT_EQ(Variant("1e400").tryCastTo<double>(), kNone);
}

TEST(ANumber, BecomesTheShortestTextThatReadsBackEqual) {
  EXPECT_EQ(Variant(-2147483647 - 1).tryCastTo<std::string>(), "-2147483648");
  EXPECT_EQ(Variant(1.0F).tryCastTo<std::string>(), "1");
  EXPECT_EQ(Variant(0.1).tryCastTo<std::string>(), "0.1");
  EXPECT_EQ(Variant(std::nan("")).tryCastTo<std::string>(), kNone);
  for (const float number : {1.0F / 3.0F, std::numeric_limits<float>::max(),
                             std::numeric_limits<float>::denorm_min(), -1234.5678F}) {
    const auto text = Variant(number).castTo<std::string>();
    EXPECT_EQ(Variant(text).castTo<float>(), number) << text;
  }
}

/// A locale as many countries have it.
struct DecimalComma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(ANumber, IsReadAndWrittenAlikeInEveryLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new DecimalComma));
  std::ostringstream stream;
  stream << 1234.5;
  EXPECT_EQ(stream.str(), "1.234,5") << "the locale is in force";
  EXPECT_EQ(Variant(1234567).castTo<std::string>(), "1234567");
  EXPECT_EQ(Variant(1.5).castTo<std::string>(), "1.5");
  EXPECT_EQ(Variant("1.5").tryCastTo<double>(), 1.5);
  EXPECT_EQ(Variant("1,5").tryCastTo<double>(), kNone);
  std::locale::global(before);
}

TEST(ABool, BecomesZeroOrOneAndItsName) {
  EXPECT_EQ(Variant(true).tryCastTo<int>(), 1);
  EXPECT_EQ(Variant(false).tryCastTo<double>(), 0.0);
  EXPECT_EQ(Variant(true).tryCastTo<std::string>(), "true");
  EXPECT_EQ(Variant("false").tryCastTo<bool>(), false);
  EXPECT_EQ(Variant("1").tryCastTo<bool>(), true);
  EXPECT_EQ(Variant("yes").tryCastTo<bool>(), kNone);
  EXPECT_EQ(Variant(1).tryCastTo<bool>(), true);
  EXPECT_EQ(Variant(0.0).tryCastTo<bool>(), false);
  EXPECT_EQ(Variant(2).tryCastTo<bool>(), kNone);
}

TEST(AList, BecomesAVectorWhenEachValueDoes) {
  const Variant names(std::vector<std::string>{"HP_1", "HP_2"});
  EXPECT_EQ(names.castTo<std::vector<std::string>>(), (std::vector<std::string>{"HP_1", "HP_2"}));
  EXPECT_EQ(Variant(VariantList{1, "2", 3.0}).castTo<std::vector<int>>(), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(Variant(VariantList{1, "b"}).tryCastTo<std::vector<int>>(), kNone);
  EXPECT_EQ(names.castTo<VariantList>(), (VariantList{"HP_1", "HP_2"}));
  EXPECT_EQ(Variant("HP_1").tryCastTo<std::vector<std::string>>(), kNone);
  EXPECT_EQ(names.tryCastTo<std::string>(), kNone);
}

TEST(AnEmptyVariant, BecomesNothingElse) {
  EXPECT_EQ(Variant().tryCastTo<int>(), kNone);
  EXPECT_EQ(Variant().tryCastTo<std::string>(), kNone);
  EXPECT_EQ(Variant().tryCastTo<bool>(), kNone);
  EXPECT_EQ(Variant().tryCastTo<VariantList>(), kNone);
  EXPECT_EQ(Variant().castTo<Variant>(), Variant());
}

enum Plain { kPlainA, kPlainB = 5 };
enum Fixed : std::int32_t { kFixedNegative = -3, kFixedMost = 2147483647 };
enum class Small : std::uint8_t { none, most = 255 };
enum class Huge : std::uint64_t { most = 18446744073709551615U };
enum class Switch : bool { off, on };
enum class Letter : char { w = 'w' };
enum class WideLetter : char32_t { most = 0xffffffffU };

TEST(AnEnumeration, IsHeldAsAnIntegerOfItsKind) {
  EXPECT_EQ(Variant(kFixedNegative), Variant(-3));
  EXPECT_EQ(Variant(Small::most), Variant(255U));
  EXPECT_EQ(Variant(Huge::most), Variant(18446744073709551615U));
  EXPECT_EQ(Variant(kPlainB).tryCastTo<int>(), 5);
  EXPECT_EQ(Variant(Switch::on), Variant(true));
  EXPECT_EQ(Variant(std::vector<Fixed>{kFixedNegative}), Variant(VariantList{-3}));
  EXPECT_EQ(Variant::typeOf<Fixed>(), Type::signedInteger);
  EXPECT_EQ(Variant::typeOf<Small>(), Type::unsignedInteger);
}

TEST(AnEnumeration, IsWhatACastGivesWhenItsTypeHoldsTheNumber) {
  EXPECT_EQ(Variant(kFixedNegative).castTo<Fixed>(), kFixedNegative);
  EXPECT_EQ(Variant(Letter::w).castTo<Letter>(), Letter::w);
  EXPECT_EQ(Variant(WideLetter::most).castTo<WideLetter>(), WideLetter::most);
  EXPECT_EQ(Variant(0x110000).tryCastTo<WideLetter>(), WideLetter{0x110000});
  EXPECT_EQ(Variant(-1).tryCastTo<WideLetter>(), std::nullopt);
  EXPECT_EQ(Variant(300).tryCastTo<Letter>(), std::nullopt);
  EXPECT_EQ(Variant(Huge::most).castTo<Huge>(), Huge::most);
  EXPECT_EQ(Variant(Switch::on).castTo<Switch>(), Switch::on);
  EXPECT_EQ(Variant(255).tryCastTo<Small>(), Small::most);
  EXPECT_EQ(Variant("255").tryCastTo<Small>(), Small::most);
  EXPECT_EQ(Variant(2147483647.0).tryCastTo<Fixed>(), kFixedMost);
  EXPECT_EQ(Variant(77).tryCastTo<Fixed>(), Fixed{77}) << "also a number that no enumerator has";
  EXPECT_EQ(Variant(VariantList{0, "255"}).castTo<std::vector<Small>>(),
            (std::vector<Small>{Small::none, Small::most}));
}

TEST(AnEnumeration, IsNoneOfANumberThatItsTypeDoesNotHold) {
  EXPECT_EQ(Variant(256).tryCastTo<Small>(), kNone);
  EXPECT_EQ(Variant(-1).tryCastTo<Small>(), kNone);
  EXPECT_EQ(Variant(-1).tryCastTo<Huge>(), kNone);
  EXPECT_EQ(Variant(2147483648U).tryCastTo<Fixed>(), kNone);
  EXPECT_EQ(Variant(2).tryCastTo<Switch>(), kNone);
  EXPECT_EQ(Variant(0.5).tryCastTo<Fixed>(), kNone);
  EXPECT_EQ(Variant("most").tryCastTo<Small>(), kNone);
  EXPECT_EQ(Variant().tryCastTo<Small>(), kNone);
  EXPECT_EQ(refusal<Small>(256), "cannot convert the integer \"256\" to uint8");
  EXPECT_EQ(refusal<Fixed>("most"), "cannot convert the string \"most\" to int32");
}

TEST(ARefusedCast, SaysFromWhatToWhatAndShowsTheValue) {
  EXPECT_EQ(refusal<int>("12abc"), "cannot convert the string \"12abc\" to int32");
  EXPECT_EQ(refusal<int>(""), "cannot convert the string \"\" to int32");
  EXPECT_EQ(refusal<int>(3.5), "cannot convert the double \"3.5\" to int32");
  EXPECT_EQ(refusal<std::int32_t>(99999999999), "cannot convert the integer \"99999999999\" to int32");
  EXPECT_EQ(refusal<std::uint8_t>(256U), "cannot convert the unsigned integer \"256\" to uint8");
  EXPECT_EQ(refusal<float>(Variant()), "cannot convert the empty value to float");
  EXPECT_EQ(refusal<std::string>(VariantList{1}), "cannot convert the list \"[1]\" to string");
  EXPECT_EQ(refusal<std::vector<int>>("a\nb"), "cannot convert the string \"a\\nb\" to list");
  EXPECT_EQ(refusal<int>("12"), "");
  EXPECT_LT(refusal<int>(std::string(100'000, 'x')).size(), 300U);
}

TEST(ARefusedCast, NamesTheTypes) {
  const tyk::BadCast error("string", "int32", "x");
  EXPECT_EQ(error.from(), "string");
  EXPECT_EQ(error.to(), "int32");
}

}  // namespace
