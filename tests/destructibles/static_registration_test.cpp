// A program that links the static library and uses nothing of the module but its records.

#include <destructibles/ks_destructibles_helper.h>
#include <gtest/gtest.h>
#include <mio/meta_object.h>

namespace {

// Asked before main, in whatever order the files of the program are initialised.
const mio::MetaObject* const askedEarly = Tal::KsDestructibleFragileDesc().metaObject();

TEST(AProgramThatLinksTheStaticLibrary, FindsTheRecordsByTypeAndByName) {
  const auto* const module = mio::MetaObject::of<Tal::KsDestructibleModuleDesc>();
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(mio::MetaObject::find("Tal::KsDestructibleModuleDesc"), module);
  EXPECT_NE(mio::MetaObject::find("Tal::KsDestructibleFallingAtomDesc"), nullptr);
}

TEST(AProgramThatLinksTheStaticLibrary, FindsThemBeforeItsMainBegins) {
  ASSERT_NE(askedEarly, nullptr);
  EXPECT_EQ(askedEarly->typeName(), "Tal::KsDestructibleFragileDesc");
  EXPECT_EQ(mio::MetaObject::of<Tal::KsDestructibleFragileDesc>(), askedEarly);
}

}  // namespace
