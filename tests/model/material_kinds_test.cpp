#include <gtest/gtest.h>
#include <model/material_kinds.h>

#include <optional>

namespace Tal::material_kinds {
namespace {

TEST(AMaterialKind, IsThatOfAnUndamagedOrADestroyedPartOrOfNone) {
  for (const unsigned kind : {73U, 80U, 86U}) {
    EXPECT_TRUE(isUndamaged(kind)) << kind;
    EXPECT_FALSE(isDestroyed(kind)) << kind;
  }
  for (const unsigned kind : {87U, 94U, 100U}) {
    EXPECT_TRUE(isDestroyed(kind)) << kind;
    EXPECT_FALSE(isUndamaged(kind)) << kind;
  }
  for (const unsigned kind : {kNone, 72U, 101U, kUnknown}) {
    EXPECT_FALSE(isUndamaged(kind)) << kind;
    EXPECT_FALSE(isDestroyed(kind)) << kind;
  }
}

TEST(AMaterialKind, NumbersThePartThatItBelongsTo) {
  EXPECT_EQ(partOf(73), 0U);
  EXPECT_EQ(partOf(86), 13U);
  EXPECT_EQ(partOf(87), 0U);
  EXPECT_EQ(partOf(100), 13U);
  for (const unsigned kind : {kNone, 72U, 101U, kUnknown}) EXPECT_EQ(partOf(kind), std::nullopt) << kind;
}

TEST(AMaterialKind, OfAnUndamagedPartLeadsToThatOfTheSamePartDestroyed) {
  for (unsigned part = 0; part <= 13; ++part) {
    EXPECT_EQ(partOf(kFirstUndamaged + part), part);
    EXPECT_TRUE(isDestroyed(kFirstUndamaged + part + kToDestroyed)) << part;
    EXPECT_EQ(partOf(kFirstUndamaged + part + kToDestroyed), part);
  }
}

TEST(TheNamingConvention, TellsStaticUndamagedAndDestroyedNamesByTheirBeginnings) {
  for (const char* name : {"s", "stone1", "sd"}) {
    EXPECT_TRUE(isStaticName(name)) << name;
    EXPECT_FALSE(isUndamagedName(name) || isDestroyedName(name)) << name;
  }
  for (const char* name : {"n", "n_wall_1", "partN0", "partNx"}) {
    EXPECT_TRUE(isUndamagedName(name)) << name;
    EXPECT_FALSE(isStaticName(name) || isDestroyedName(name)) << name;
  }
  for (const char* name : {"d", "d_wall_1", "partD0", "partDx"}) {
    EXPECT_TRUE(isDestroyedName(name)) << name;
    EXPECT_FALSE(isStaticName(name) || isUndamagedName(name)) << name;
  }
  for (const char* name : {"", "partN", "partD", "partd1", "N1", "D1", "S1", "glass"}) {
    EXPECT_FALSE(isStaticName(name) || isUndamagedName(name) || isDestroyedName(name)) << name;
  }
}

TEST(TheNamingConvention, NumbersAPartByItsOwnNumberOrByTheEndOfItsName) {
  EXPECT_EQ(kindByName("partN0"), 73U);
  EXPECT_EQ(kindByName("partN13"), 86U);
  EXPECT_EQ(kindByName("partD13"), 100U);
  EXPECT_EQ(kindByName("partNx"), 73U);
  EXPECT_EQ(kindByName("nothing"), 73U);
  EXPECT_EQ(kindByName("n_wall_4_5_6"), 77U);
  EXPECT_EQ(kindByName("n__wall__4__5"), 77U);
  EXPECT_EQ(kindByName("n_wall_brick_6"), 79U);
  EXPECT_EQ(kindByName("d_roof_007"), 94U);
}

TEST(TheNamingConvention, GivesNoKindToStaticNamesOtherNamesAndPartsThatDoNotExist) {
  EXPECT_EQ(kindByName("stone1"), 0U);
  EXPECT_EQ(kindByName("partN"), 0U);
  EXPECT_EQ(kindByName("partD"), 0U);
  EXPECT_EQ(kindByName("Material.001"), 0U);
  EXPECT_EQ(kindByName(""), 0U);
  EXPECT_EQ(kindByName("partN14"), 0U);
  EXPECT_EQ(kindByName("partN99999999999999999999999"), 0U);
}

}  // namespace
}  // namespace Tal::material_kinds
