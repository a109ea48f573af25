#include <support/change_scenarios.h>
#include <support/mapped_file.h>

#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/monitor.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <ostream>
#include <thread>
#include <utility>

namespace support {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kEntries = 60;

/// Milliseconds, more than pass between two polls.
constexpr int kPollPassed = 400;

/// The database in a folder that links lead to.
constexpr const char* kVersionFile = "versions/v1/destructibles.xml";

/// Past every other folder in order, so that a poll comes to it last.
constexpr const char* kMarks = "~marks";

std::string modelName(int version, int entry) {
  char name[40];
  std::snprintf(name, sizeof(name), "content/%03d/%02d.model", version, entry);
  return name;
}

void write(const fs::path& file, int version) {
  writeFile(file, databaseOfVersion(version));
}

/// Writes in ten parts, with pauses between them.
void writeSlowly(Fixture& database, const fs::path& file, int version) {
  const std::string text = databaseOfVersion(version);
  const std::size_t part = text.size() / 10 + 1;
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  for (std::size_t at = 0; at < text.size(); at += part) {
    stream << text.substr(at, part) << std::flush;
    database.pause(40);
  }
}

void exchange(const fs::path& a, const fs::path& b) {
  EXPECT_EQ(::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE), 0);
}

/// Puts a link in the place of another one, at once.
void retarget(const fs::path& link, const fs::path& target) {
  const fs::path next = link.parent_path() / "next";
  fs::create_symlink(target, next);
  fs::rename(next, link);
}

/// Counts what it hears of a mark.
class MarkListener : public Tal::ResourceModificationListener {
 public:
  explicit MarkListener(std::string mark) : mark_(std::move(mark)) {
    Tal::FS::fileSystem()->getFilesystemMonitor()->addModificationListener(this);
  }
  ~MarkListener() override {
    Tal::FS::fileSystem()->getFilesystemMonitor()->removeModificationListener(this);
  }
  MarkListener(const MarkListener&) = delete;
  MarkListener& operator=(const MarkListener&) = delete;

  int count = 0;

 protected:
  void onResourceModified(const Tal::BasicStringRef& /*basePath*/, const Tal::BasicStringRef& resourceName,
                          Action /*action*/) override {
    if (resourceName == mark_) ++count;
  }

 private:
  const std::string mark_;
};

void prepareFirst(Fixture& database) {
  database.write(1);
}

void prepareDanglingLink(Fixture& database) {
  fs::create_directories(database.root("scripts"));
  fs::create_symlink("../store/first.xml", database.database());
}

void prepareLink(Fixture& database) {
  write(database.root("store/first.xml"), 1);
  prepareDanglingLink(database);
}

void prepareLinkedFolder(Fixture& database) {
  write(database.root("store/destructibles.xml"), 1);
  fs::create_directory_symlink("store", database.root("scripts"));
}

void prepareHardLink(Fixture& database) {
  database.write(1);
  fs::create_directories(database.outside("elsewhere"));
  fs::create_hard_link(database.database(), database.outside("elsewhere/other name"));
}

std::vector<Scenario> savingScenarios() {
  return {
      {"RenamingOver", prepareFirst,
       [](Fixture& database) {
         database.replace(2);
         return 2;
       }},
      {"TruncatingAndWriting", prepareFirst,
       [](Fixture& database) {
         database.write(2);
         return 2;
       }},
      {"WritingSlowly", prepareFirst,
       [](Fixture& database) {
         writeSlowly(database, database.database(), 2);
         return 2;
       }},
      {"DeletingAndMakingAnew", prepareFirst,
       [](Fixture& database) {
         fs::remove(database.database());
         database.pause(100);
         database.write(2);
         return 2;
       }},
      {"DeletingAndMakingAnewSlowly", prepareFirst,
       [](Fixture& database) {
         fs::remove(database.database());
         database.pause(100);
         writeSlowly(database, database.database(), 2);
         return 2;
       }},
      {"FiveSavesInARow", prepareFirst,
       [](Fixture& database) {
         for (int version = 2; version <= 6; ++version) database.replace(version);
         return 6;
       }},
      {"FiveSavesInFiveFrames", prepareFirst,
       [](Fixture& database) {
         for (int version = 2; version <= 6; ++version) {
           database.replace(version);
           database.frame();
         }
         return 6;
       }},
      {"KeepingSizeAndTime", prepareFirst,
       [](Fixture& database) {
         const auto time = fs::last_write_time(database.database());
         database.write(2);
         fs::last_write_time(database.database(), time);
         return 2;
       }},
      {"KeepingABackup", prepareFirst,
       [](Fixture& database) {
         fs::rename(database.database(), database.root("scripts/destructibles.xml~"));
         database.write(2);
         return 2;
       }},
      {"ExchangingTwoFiles",
       [](Fixture& database) {
         database.write(1);
         write(database.root("scripts/second.xml"), 2);
       },
       [](Fixture& database) {
         exchange(database.database(), database.root("scripts/second.xml"));
         return 2;
       }},
      {"MakingAnAbsentFile", [](Fixture& /*database*/) {},
       [](Fixture& database) {
         database.write(2);
         return 2;
       }},
      {"GivingANamelessFileItsName",
       [](Fixture& database) { fs::create_directories(database.database().parent_path()); },
       [](Fixture& database) {
         const int file =
             ::open(database.database().parent_path().c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
         const std::string text = databaseOfVersion(2);
         EXPECT_EQ(::write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
         const std::string place = "/proc/self/fd/" + std::to_string(file);
         EXPECT_EQ(
             ::linkat(AT_FDCWD, place.c_str(), AT_FDCWD, database.database().c_str(), AT_SYMLINK_FOLLOW), 0);
         ::close(file);
         return 2;
       }},
      {"ABurst", prepareFirst,
       [](Fixture& database) {
         for (int version = 2; version <= 201; ++version)
           version % 2 == 0 ? database.replace(version) : database.write(version);
         return 201;
       }},
      {"ABurstWhileFramesPass", prepareFirst,
       [](Fixture& database) {
         for (int version = 2; version <= 201; ++version) {
           database.replace(version);
           database.frame();
         }
         return 201;
       }},
  };
}

std::vector<Scenario> folderScenarios() {
  return {
      {"SwappingTheFolder",
       [](Fixture& database) {
         database.write(1);
         write(database.root("prepared/destructibles.xml"), 2);
       },
       [](Fixture& database) {
         fs::rename(database.root("scripts"), database.root("old"));
         fs::rename(database.root("prepared"), database.root("scripts"));
         return 2;
       }},
      {"ExchangingTheFolder",
       [](Fixture& database) {
         database.write(1);
         write(database.root("prepared/destructibles.xml"), 2);
       },
       [](Fixture& database) {
         exchange(database.root("scripts"), database.root("prepared"));
         return 2;
       }},
      {"DeletingTheFolderAndMakingItAnew", prepareFirst,
       [](Fixture& database) {
         fs::remove_all(database.root("scripts"));
         database.pause(100);
         database.write(2);
         return 2;
       }},
      {"MovingTheRootAwayAndBack", prepareFirst,
       [](Fixture& database) {
         fs::rename(database.root(), database.outside("away"));
         database.pause(100);
         write(database.outside("away/scripts/destructibles.xml"), 2);
         fs::rename(database.outside("away"), database.root());
         return 2;
       }},
      {"SwappingTheFolderOfTheRoot",
       [](Fixture& database) {
         database.write(1);
         write(database.outside("prepared/root/scripts/destructibles.xml"), 2);
       },
       [](Fixture& database) {
         fs::rename(database.outside("studio"), database.outside("old"));
         database.pause(600);
         fs::rename(database.outside("prepared"), database.outside("studio"));
         return 2;
       }},
  };
}

std::vector<Scenario> linkScenarios() {
  return {
      {"WritingTheTargetOfALink", prepareLink,
       [](Fixture& database) {
         write(database.root("store/first.xml"), 2);
         return 2;
       }},
      {"ReplacingTheTargetOfALink", prepareLink,
       [](Fixture& database) {
         write(database.root("store/next.xml"), 2);
         fs::rename(database.root("store/next.xml"), database.root("store/first.xml"));
         return 2;
       }},
      {"GivingALinkAnotherTarget",
       [](Fixture& database) {
         prepareLink(database);
         write(database.root("store/second.xml"), 2);
       },
       [](Fixture& database) {
         retarget(database.database(), "../store/second.xml");
         return 2;
       }},
      {"GivingALinkOnTheWayAnotherTarget",
       [](Fixture& database) {
         write(database.root("one/a.xml"), 1);
         write(database.root("two/a.xml"), 2);
         fs::create_directory_symlink("one", database.root("current"));
         fs::create_directories(database.root("scripts"));
         fs::create_symlink("../current/a.xml", database.database());
       },
       [](Fixture& database) {
         retarget(database.root("current"), "two");
         return 2;
       }},
      {"WritingInALinkedFolder", prepareLinkedFolder,
       [](Fixture& database) {
         write(database.root("store/destructibles.xml"), 2);
         return 2;
       }},
      {"SwappingTheTargetOfALinkedFolder", prepareLinkedFolder,
       [](Fixture& database) {
         fs::rename(database.root("store"), database.root("old"));
         write(database.root("store/destructibles.xml"), 2);
         return 2;
       }},
      {"WritingAHardLink", prepareHardLink,
       [](Fixture& database) {
         write(database.outside("elsewhere/other name"), 2);
         return 2;
       }},
      {"WritingAHardLinkSlowly", prepareHardLink,
       [](Fixture& database) {
         writeSlowly(database, database.outside("elsewhere/other name"), 2);
         return 2;
       }},
      {"WritingAHardLinkBehindItsTimes", prepareHardLink,
       [](Fixture& database) {
         const auto time = fs::last_write_time(database.database());
         write(database.outside("elsewhere/other name"), 2);
         fs::last_write_time(database.database(), time);
         return 2;
       }},
      {"MakingAHardLinkAndWritingIt", prepareFirst,
       [](Fixture& database) {
         fs::create_hard_link(database.database(), database.outside("other name"));
         write(database.outside("other name"), 2);
         return 2;
       }},
  };
}

/// Makes the target of a link (a name below the root) after a poll of a link that led to nothing since
/// `begin`.
Scenario makingTheTarget(
    const char* name, const std::function<void(Fixture&)>& prepare, const char* target,
    const std::function<void(Fixture&)>& begin = [](Fixture& /*database*/) {}) {
  const auto perform = [=](Fixture& database) {
    begin(database);
    database.pause(kPollPassed);
    write(database.root(target), 2);
    return 2;
  };
  return {name, prepare, perform, target};
}

void prepareDanglingLinkToFolder(Fixture& database) {
  fs::create_directories(database.root("shared"));
  fs::create_directory_symlink("versions/v1", database.root("scripts"));
}

void prepareChainOfLinks(Fixture& database) {
  write(database.root(kVersionFile), 1);
  fs::create_directory_symlink("versions/v1", database.root("current"));
  fs::create_directory_symlink("current", database.root("scripts"));
}

void prepareLinkOutOfTheRoot(Fixture& database) {
  write(database.root(kVersionFile), 2);
  write(database.outside("elsewhere/destructibles.xml"), 1);
  fs::create_directories(database.root("links"));
  fs::create_directory_symlink(database.outside("elsewhere"), database.root("links/current"));
  fs::create_directory_symlink("links/current", database.root("scripts"));
}

/// Links that lead to nothing, or out of their root, for longer than a poll takes to come.
std::vector<Scenario> danglingLinkScenarios() {
  const auto deleteTheFolder = [](Fixture& database) { fs::remove_all(database.root("versions/v1")); };
  return {
      makingTheTarget("MakingTheTargetOfADanglingLink", prepareDanglingLink, "store/first.xml"),
      makingTheTarget("MakingTheNewTargetOfALinkLater", prepareLink, "store/second.xml",
                      [](Fixture& database) { retarget(database.database(), "../store/second.xml"); }),
      makingTheTarget("MakingTheTargetOfALinkAnewLater", prepareLink, "store/first.xml",
                      [](Fixture& database) { fs::remove(database.root("store/first.xml")); }),
      makingTheTarget("MakingTheTargetOfADanglingLinkToAFolder", prepareDanglingLinkToFolder, kVersionFile),
      makingTheTarget(
          "MakingALinkedFolderAnewLater",
          [](Fixture& database) {
            prepareDanglingLinkToFolder(database);
            write(database.root(kVersionFile), 1);
          },
          kVersionFile, deleteTheFolder),
      makingTheTarget("MakingAFolderAnewLaterThatTwoLinksLeadTo", prepareChainOfLinks, kVersionFile,
                      deleteTheFolder),
      {"LeadingALinkBackBelowItsRoot", prepareLinkOutOfTheRoot,
       [](Fixture& database) {
         database.pause(kPollPassed);
         retarget(database.root("links/current"), "../versions/v1");
         return 2;
       },
       kVersionFile},
  };
}

std::vector<Scenario> mappingScenarios() {
  return {
      {"WritingMappedMemory", prepareFirst,
       [](Fixture& database) {
         const std::string text = databaseOfVersion(2);
         const auto memory = mapFile(database.database(), text.size());
         std::copy(text.begin(), text.end(), memory.get());
         flushMapped(memory, text.size());
         return 2;
       }},
      {"WritingMappedMemoryThatIsKept", prepareFirst,
       [](Fixture& database) {
         const std::string text = databaseOfVersion(2);
         const auto memory = mapFile(database.database(), text.size());
         std::copy(text.begin(), text.end(), memory.get());
         flushMapped(memory, text.size());
         database.hold(memory);
         return 2;
       }},
      {"WritingMappedMemorySlowly", prepareFirst,
       [](Fixture& database) {
         const std::string text = databaseOfVersion(2);
         const auto memory = mapFile(database.database(), text.size());
         memory.get()[0] = '#';  // what is half written is not well-formed
         std::copy(text.begin() + 1, text.end(), memory.get() + 1);
         database.pause(1000);
         memory.get()[0] = text[0];
         return 2;
       }},
  };
}

/// Changes whose end the system does not report.
std::vector<Scenario> unendedScenarios() {
  return {
      {"TruncatingByPath", prepareFirst,
       [](Fixture& database) {
         const std::string text = databaseOfVersion(2);
         // Refused until it is cut off: any cut that leaves a database well-formed leaves its models too.
         writeFile(database.database(), text + "<<<");
         database.letEverythingBeTold();
         fs::resize_file(database.database(), text.size());
         return 2;
       }},
      {"ResizingAndWritingMappedMemoryThatIsKept", prepareFirst,
       [](Fixture& database) {
         const std::string text = databaseOfVersion(2) + "\n\n";
         fs::resize_file(database.database(), text.size());
         const auto memory = mapFile(database.database(), text.size());
         std::copy(text.begin(), text.end(), memory.get());
         flushMapped(memory, text.size());
         database.hold(memory);
         return 2;
       }},
  };
}

}  // namespace

std::string databaseOfVersion(int version) {
  std::string text = "<root>\n\t<fragiles>\n";
  for (int entry = 0; entry < kEntries; ++entry)
    text += "\t\t<entry>\n\t\t\t<filename>" + modelName(version, entry) + "</filename>\n\t\t</entry>\n";
  return text + "\t</fragiles>\n</root>";
}

int versionOfNames(const std::vector<std::string>& names) {
  if (names.empty()) return kNothing;
  const int version = std::atoi(names.front().substr(std::string("content/").size()).c_str());
  for (int entry = 0; entry < kEntries; ++entry) {
    const auto place = static_cast<std::size_t>(entry);
    if (names.size() != kEntries || names[place] != modelName(version, entry)) return kTorn;
  }
  return version;
}

Fixture::Fixture() {
  fs::create_directories(root());
  Tal::FS::setFileSystem(std::make_unique<Tal::FS::MultiFileSystem>(std::vector<fs::path>{root()}));
}

Fixture::~Fixture() {
  Tal::FS::setFileSystem(nullptr);
}

void Fixture::pause(int milliseconds) const {
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  framesUntil([=] { return Clock::now() >= end; });
}

bool Fixture::framesUntil(const std::function<bool()>& condition) const {
  const auto deadline = Clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    frame();
  }
  return true;
}

void Fixture::letEverythingBeTold() {
  const std::string name = std::string(kMarks) + '/' + std::to_string(++marks_);
  const fs::path mark = root(name);
  const MarkListener listener(name);
  writeFile(mark, "-");
  EXPECT_TRUE(framesUntil([&] { return listener.count == 1; }));
  // Only a poll notices this, and it notes everything else before.
  const auto memory = mapFile(mark, 1);
  *memory = '+';
  EXPECT_TRUE(framesUntil([&] { return listener.count > 1; }));
}

void Fixture::replace(int version, const fs::path& name) const {
  const fs::path beside = root(name).replace_filename("next.new");
  support::write(beside, version);
  fs::rename(beside, root(name));
}

const std::vector<Scenario>& changingScenarios() {
  static const std::vector<Scenario> all = [] {
    std::vector<Scenario> scenarios = savingScenarios();
    for (const auto& more : {folderScenarios(), linkScenarios(), danglingLinkScenarios(), mappingScenarios(),
                             unendedScenarios()})
      scenarios.insert(scenarios.end(), more.begin(), more.end());
    return scenarios;
  }();
  return all;
}

const std::vector<Scenario>& otherScenarios() {
  static const std::vector<Scenario> all = {
      {"WritingASibling", prepareFirst,
       [](Fixture& database) {
         write(database.root("scripts/sibling.xml"), 2);
         write(database.root("scripts/next"), 3);
         fs::rename(database.root("scripts/next"), database.root("scripts/sibling.xml"));
         fs::remove(database.root("scripts/sibling.xml"));
         return 1;
       }},
      {"WritingTemporaryFiles", prepareFirst,
       [](Fixture& database) {
         for (const char* name :
              {"destructibles.xml.tmp", "destructibles.xml.temp", "destructibles.xml.new",
               "destructibles.xml.part", "destructibles.xml~", "destructibles.xml.swp",
               "destructibles.xml.kate-swp", "destructibles.xml___jb_tmp___", "destructibles.xml___jb_old___",
               ".destructibles.xml.swp", "#destructibles.xml#", ".destructibles.xml.1-1.saving",
               ".#destructibles.xml"}) {
           write(database.root("scripts") / name, 2);
           database.pause(20);
         }
         database.pause(600);
         fs::remove(database.root("scripts/destructibles.xml.tmp"));
         return 1;
       }},
      {"Reading", prepareFirst,
       [](Fixture& database) {
         EXPECT_EQ(readFile(database.database()), databaseOfVersion(1));
         EXPECT_TRUE(Tal::FS::Utils::openSection(kWatchedDatabase, false, nullptr));
         return 1;
       }},
      {"ChangingPermissionsAndNames", prepareFirst,
       [](Fixture& database) {
         EXPECT_EQ(::chmod(database.database().c_str(), 0640), 0);
         fs::create_hard_link(database.database(), database.outside("other name"));
         database.pause(600);
         fs::remove(database.outside("other name"));
         return 1;
       }},
  };
  return all;
}

void PrintTo(const Scenario& scenario, std::ostream* stream) {
  *stream << scenario.name;
}

void expectToBeFollowed(const Scenario& scenario, Fixture& database, const std::vector<int>& reads) {
  const int last = scenario.perform(database);
  EXPECT_TRUE(database.framesUntil([&] { return reads.back() == last; })) << "last read: " << reads.back();
  database.letEverythingBeTold();
  EXPECT_EQ(reads.back(), last);
  database.replace(last + 1, scenario.saved);
  EXPECT_TRUE(database.framesUntil([&] { return reads.back() == last + 1; }))
      << "last read: " << reads.back();
  EXPECT_EQ(std::count(reads.begin(), reads.end(), kTorn), 0);
}

void expectToGoUnnoticed(const Scenario& scenario, Fixture& database, const std::vector<int>& reads) {
  const std::size_t before = reads.size();
  const int version = scenario.perform(database);
  database.letEverythingBeTold();
  EXPECT_EQ(reads.size(), before);
  database.replace(version + 1);
  EXPECT_TRUE(database.framesUntil([&] { return reads.back() == version + 1; }));
}

}  // namespace support
