// A host that loads the module while it runs: it links the engine alone.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mio/dynamic_object.h>
#include <mio/meta_object.h>
#include <resources/data_section_cache.h>
#include <resources/file_system.h>
#include <support/temporary_folder.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

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

/// The options of a record's field in a tree whose model is a structure.
tyk::VariantList optionsOf(const char* record, const char* field) {
  mio::DynamicObject model;
  model.addProperty("Destructible Type", tyk::Variant::Type::signedInteger, [] { return tyk::Variant(0); });
  mio::Object edited;
  edited.setParent(&model);
  return mio::BoundProperty(edited, *mio::MetaObject::find(record)->property(field)).options();
}

TEST(TheModule, LeavesNothingInADocumentThatItHasListedTheEffectsOf) {
  const support::TemporaryFolder folder;
  folder.write("scripts/destructibles_effects.xml", "<root><structures><boom/></structures></root>");
  Tal::FS::setFileSystem(
      std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{folder.path()}));
  const auto effects = Tal::FS::Utils::openSection("scripts/destructibles_effects.xml", false, nullptr);
  for (int round = 0; round < 3; ++round) {
    void* const library = dlopen(DESTRUCTIBLES_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_EQ(tyk::Variant(optionsOf(kRecords[0], "Hit effect")).text(),
              round == 0 ? "[, none, boom]" : "[, none, boom, bang]");
    ASSERT_EQ(dlclose(library), 0);
    ASSERT_FALSE(isLoaded()) << "the library went";
    if (round == 0) effects->openSection("structures")->appendChild("bang");
  }
  Tal::FS::setFileSystem(nullptr);
  Tal::DataSectionCache::clear();
}

}  // namespace
