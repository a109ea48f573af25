// A host that loads the module while it runs: it links the engine alone.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mio/meta_object.h>

#include <array>
#include <string>

namespace {

constexpr std::array<const char*, 3> kRecords = {
    "Tal::KsDestructibleModuleDesc", "Tal::KsDestructibleFragileDesc", "Tal::KsDestructibleFallingAtomDesc"};

int countOfRegistered() {
  int count = 0;
  for (const char* const name : kRecords) count += mio::MetaObject::find(name) == nullptr ? 0 : 1;
  return count;
}

/// Whether the process holds the library.
bool isLoaded() {
  void* const library = dlopen(DESTRUCTIBLES_SHARED_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
  if (library != nullptr) dlclose(library);
  return library != nullptr;
}

TEST(TheModule, DescribesItsRecordsWhileItIsLoadedAHundredTimes) {
  ASSERT_FALSE(isLoaded());
  for (int round = 0; round < 100; ++round) {
    EXPECT_EQ(countOfRegistered(), 0);
    void* const library = dlopen(DESTRUCTIBLES_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_EQ(countOfRegistered(), 3);
    const mio::MetaObject* const module = mio::MetaObject::find(kRecords[0]);
    EXPECT_EQ(mio::MetaObject::find(module->type()), module);
    EXPECT_EQ(module->properties().size(), 5U);
    ASSERT_EQ(dlclose(library), 0);
    ASSERT_FALSE(isLoaded()) << "the library went";
  }
  EXPECT_EQ(countOfRegistered(), 0);
}

}  // namespace
