// How often an operation asks the system for the database.

#include <resources/data_section_cache.h>
#include <support/counting_system.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "session_fixture.h"

namespace Tal::authoring {
namespace {

/// To be made before the roots, whose monitor has a thread, and to end after them.
struct CountedDatabase {
  support::CountingSystem counted{"destructibles.xml"};
};

class TheDatabaseOf : public CountedDatabase, public SessionTest {
 protected:
  TheDatabaseOf() {
    for (const char* const model : {kHouse, kCrate}) {
      const auto session = open(model);
      expectDone(session->convert(DT_FRAGILE));
      expectDone(session->save());
    }
    DataSectionCache::clear();
    // A file that was written just now is read again each time, since its times do not tell yet.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    counted.reset();
  }
};

TEST_F(TheDatabaseOf, AModelThatIsOpenedIsReadOnce) {
  const auto session = open(kCrate);
  EXPECT_EQ(counted.openings, 1);
  EXPECT_LE(counted.namings, 4);
}

TEST_F(TheDatabaseOf, AnEditThatIsSavedIsOpenedOnceToBeReadAndOnceToBeLocked) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "12"}}));
  EXPECT_EQ(counted.openings, 1);
  expectDone(session->save());
  EXPECT_EQ(counted.replacements, 1);
  // The handle of the lock serves for the attributes; that of the new file, for reading it again.
  EXPECT_EQ(counted.openings, 2);
  EXPECT_LE(counted.namings, 12);
}

TEST_F(TheDatabaseOf, TenModelsThatAreSavedTogetherIsReplacedOnce) {
  std::vector<std::unique_ptr<Session>> sessions;
  std::vector<Session*> all;
  for (int number = 0; number < 10; ++number) {
    const std::string stem = "content/many/model_" + std::to_string(number);
    support::writeModel(root_, stem, {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}, .corner = "2 2 2"});
    all.push_back(sessions.emplace_back(open(stem + ".model")).get());
    expectDone(all.back()->convert(DT_FRAGILE));
  }
  counted.reset();
  EXPECT_TRUE(Session::saveAll(all));
  EXPECT_EQ(counted.replacements, 1);
  EXPECT_LE(counted.openings, 2);
  EXPECT_LE(counted.namings, 12);
}

TEST_F(TheDatabaseOf, AModelThatIsShownIsNotNamedAgain) {
  const auto session = open(kCrate);
  counted.reset();
  session->description();
  EXPECT_EQ(counted.openings, 0);
}

}  // namespace
}  // namespace Tal::authoring
