#include <support/database_deeds.h>
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

/// Milliseconds, more than pass between two looks at the files.
constexpr int kLookPassed = 400;

/// The database in a folder that links lead to.
constexpr const char* kVersionFile = "versions/v1/destructibles.xml";

/// Past every other folder in order, so that a look at the files comes to it last.
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
void writeSlowly(Stage& stage, const fs::path& file, int version) {
  const std::string text = databaseOfVersion(version);
  const std::size_t part = text.size() / 10 + 1;
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  for (std::size_t at = 0; at < text.size(); at += part) {
    stream << text.substr(at, part) << std::flush;
    stage.pause(40);
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

void prepareFirst(Stage& stage) {
  stage.write(1);
}

void prepareDanglingLink(Stage& stage) {
  fs::create_directories(stage.root("scripts"));
  fs::create_symlink("../store/first.xml", stage.database());
}

void prepareLink(Stage& stage) {
  write(stage.root("store/first.xml"), 1);
  prepareDanglingLink(stage);
}

void prepareLinkedFolder(Stage& stage) {
  write(stage.root("store/destructibles.xml"), 1);
  fs::create_directory_symlink("store", stage.root("scripts"));
}

void prepareHardLink(Stage& stage) {
  stage.write(1);
  fs::create_directories(stage.outside("elsewhere"));
  fs::create_hard_link(stage.database(), stage.outside("elsewhere/other name"));
}

std::vector<Deed> savingDeeds() {
  return {
      {"RenamingOver", prepareFirst,
       [](Stage& stage) {
         stage.replace(2);
         return 2;
       }},
      {"TruncatingAndWriting", prepareFirst,
       [](Stage& stage) {
         stage.write(2);
         return 2;
       }},
      {"WritingSlowly", prepareFirst,
       [](Stage& stage) {
         writeSlowly(stage, stage.database(), 2);
         return 2;
       }},
      {"DeletingAndMakingAnew", prepareFirst,
       [](Stage& stage) {
         fs::remove(stage.database());
         stage.pause(100);
         stage.write(2);
         return 2;
       }},
      {"DeletingAndMakingAnewSlowly", prepareFirst,
       [](Stage& stage) {
         fs::remove(stage.database());
         stage.pause(100);
         writeSlowly(stage, stage.database(), 2);
         return 2;
       }},
      {"FiveSavesInARow", prepareFirst,
       [](Stage& stage) {
         for (int version = 2; version <= 6; ++version) stage.replace(version);
         return 6;
       }},
      {"FiveSavesInFiveFrames", prepareFirst,
       [](Stage& stage) {
         for (int version = 2; version <= 6; ++version) {
           stage.replace(version);
           stage.frame();
         }
         return 6;
       }},
      {"KeepingSizeAndTime", prepareFirst,
       [](Stage& stage) {
         const auto time = fs::last_write_time(stage.database());
         stage.write(2);
         fs::last_write_time(stage.database(), time);
         return 2;
       }},
      {"KeepingABackup", prepareFirst,
       [](Stage& stage) {
         fs::rename(stage.database(), stage.root("scripts/destructibles.xml~"));
         stage.write(2);
         return 2;
       }},
      {"ExchangingTwoFiles",
       [](Stage& stage) {
         stage.write(1);
         write(stage.root("scripts/second.xml"), 2);
       },
       [](Stage& stage) {
         exchange(stage.database(), stage.root("scripts/second.xml"));
         return 2;
       }},
      {"MakingAnAbsentFile", [](Stage& /*stage*/) {},
       [](Stage& stage) {
         stage.write(2);
         return 2;
       }},
      {"GivingANamelessFileItsName",
       [](Stage& stage) { fs::create_directories(stage.database().parent_path()); },
       [](Stage& stage) {
         const int file =
             ::open(stage.database().parent_path().c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
         const std::string text = databaseOfVersion(2);
         EXPECT_EQ(::write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
         const std::string place = "/proc/self/fd/" + std::to_string(file);
         EXPECT_EQ(::linkat(AT_FDCWD, place.c_str(), AT_FDCWD, stage.database().c_str(), AT_SYMLINK_FOLLOW),
                   0);
         ::close(file);
         return 2;
       }},
      {"ABurst", prepareFirst,
       [](Stage& stage) {
         for (int version = 2; version <= 201; ++version)
           version % 2 == 0 ? stage.replace(version) : stage.write(version);
         return 201;
       }},
      {"ABurstWhileFramesPass", prepareFirst,
       [](Stage& stage) {
         for (int version = 2; version <= 201; ++version) {
           stage.replace(version);
           stage.frame();
         }
         return 201;
       }},
  };
}

std::vector<Deed> folderDeeds() {
  return {
      {"SwappingTheFolder",
       [](Stage& stage) {
         stage.write(1);
         write(stage.root("prepared/destructibles.xml"), 2);
       },
       [](Stage& stage) {
         fs::rename(stage.root("scripts"), stage.root("old"));
         fs::rename(stage.root("prepared"), stage.root("scripts"));
         return 2;
       }},
      {"ExchangingTheFolder",
       [](Stage& stage) {
         stage.write(1);
         write(stage.root("prepared/destructibles.xml"), 2);
       },
       [](Stage& stage) {
         exchange(stage.root("scripts"), stage.root("prepared"));
         return 2;
       }},
      {"DeletingTheFolderAndMakingItAnew", prepareFirst,
       [](Stage& stage) {
         fs::remove_all(stage.root("scripts"));
         stage.pause(100);
         stage.write(2);
         return 2;
       }},
      {"MovingTheRootAwayAndBack", prepareFirst,
       [](Stage& stage) {
         fs::rename(stage.root(), stage.outside("away"));
         stage.pause(100);
         write(stage.outside("away/scripts/destructibles.xml"), 2);
         fs::rename(stage.outside("away"), stage.root());
         return 2;
       }},
      {"SwappingTheFolderOfTheRoot",
       [](Stage& stage) {
         stage.write(1);
         write(stage.outside("prepared/root/scripts/destructibles.xml"), 2);
       },
       [](Stage& stage) {
         fs::rename(stage.outside("studio"), stage.outside("old"));
         stage.pause(600);
         fs::rename(stage.outside("prepared"), stage.outside("studio"));
         return 2;
       }},
  };
}

std::vector<Deed> linkDeeds() {
  return {
      {"WritingTheTargetOfALink", prepareLink,
       [](Stage& stage) {
         write(stage.root("store/first.xml"), 2);
         return 2;
       }},
      {"ReplacingTheTargetOfALink", prepareLink,
       [](Stage& stage) {
         write(stage.root("store/next.xml"), 2);
         fs::rename(stage.root("store/next.xml"), stage.root("store/first.xml"));
         return 2;
       }},
      {"GivingALinkAnotherTarget",
       [](Stage& stage) {
         prepareLink(stage);
         write(stage.root("store/second.xml"), 2);
       },
       [](Stage& stage) {
         retarget(stage.database(), "../store/second.xml");
         return 2;
       }},
      {"GivingALinkOnTheWayAnotherTarget",
       [](Stage& stage) {
         write(stage.root("one/a.xml"), 1);
         write(stage.root("two/a.xml"), 2);
         fs::create_directory_symlink("one", stage.root("current"));
         fs::create_directories(stage.root("scripts"));
         fs::create_symlink("../current/a.xml", stage.database());
       },
       [](Stage& stage) {
         retarget(stage.root("current"), "two");
         return 2;
       }},
      {"WritingInALinkedFolder", prepareLinkedFolder,
       [](Stage& stage) {
         write(stage.root("store/destructibles.xml"), 2);
         return 2;
       }},
      {"SwappingTheTargetOfALinkedFolder", prepareLinkedFolder,
       [](Stage& stage) {
         fs::rename(stage.root("store"), stage.root("old"));
         write(stage.root("store/destructibles.xml"), 2);
         return 2;
       }},
      {"WritingAHardLink", prepareHardLink,
       [](Stage& stage) {
         write(stage.outside("elsewhere/other name"), 2);
         return 2;
       }},
      {"WritingAHardLinkSlowly", prepareHardLink,
       [](Stage& stage) {
         writeSlowly(stage, stage.outside("elsewhere/other name"), 2);
         return 2;
       }},
      {"WritingAHardLinkBehindItsTimes", prepareHardLink,
       [](Stage& stage) {
         const auto time = fs::last_write_time(stage.database());
         write(stage.outside("elsewhere/other name"), 2);
         fs::last_write_time(stage.database(), time);
         return 2;
       }},
      {"MakingAHardLinkAndWritingIt", prepareFirst,
       [](Stage& stage) {
         fs::create_hard_link(stage.database(), stage.outside("other name"));
         write(stage.outside("other name"), 2);
         return 2;
       }},
  };
}

/// Makes the target of a link (a name below the root) after a look at a link that led to nothing since
/// `begin`.
Deed makingTheTarget(
    const char* name, const std::function<void(Stage&)>& prepare, const char* target,
    const std::function<void(Stage&)>& begin = [](Stage& /*stage*/) {}) {
  const auto perform = [=](Stage& stage) {
    begin(stage);
    stage.pause(kLookPassed);
    write(stage.root(target), 2);
    return 2;
  };
  return {name, prepare, perform, target};
}

void prepareDanglingLinkToFolder(Stage& stage) {
  fs::create_directories(stage.root("shared"));
  fs::create_directory_symlink("versions/v1", stage.root("scripts"));
}

void prepareChainOfLinks(Stage& stage) {
  write(stage.root(kVersionFile), 1);
  fs::create_directory_symlink("versions/v1", stage.root("current"));
  fs::create_directory_symlink("current", stage.root("scripts"));
}

void prepareLinkOutOfTheRoot(Stage& stage) {
  write(stage.root(kVersionFile), 2);
  write(stage.outside("elsewhere/destructibles.xml"), 1);
  fs::create_directories(stage.root("links"));
  fs::create_directory_symlink(stage.outside("elsewhere"), stage.root("links/current"));
  fs::create_directory_symlink("links/current", stage.root("scripts"));
}

/// Links that lead to nothing, or out of their root, for longer than a look.
std::vector<Deed> danglingLinkDeeds() {
  const auto deleteTheFolder = [](Stage& stage) { fs::remove_all(stage.root("versions/v1")); };
  return {
      makingTheTarget("MakingTheTargetOfADanglingLink", prepareDanglingLink, "store/first.xml"),
      makingTheTarget("MakingTheNewTargetOfALinkLater", prepareLink, "store/second.xml",
                      [](Stage& stage) { retarget(stage.database(), "../store/second.xml"); }),
      makingTheTarget("MakingTheTargetOfALinkAnewLater", prepareLink, "store/first.xml",
                      [](Stage& stage) { fs::remove(stage.root("store/first.xml")); }),
      makingTheTarget("MakingTheTargetOfADanglingLinkToAFolder", prepareDanglingLinkToFolder, kVersionFile),
      makingTheTarget(
          "MakingALinkedFolderAnewLater",
          [](Stage& stage) {
            prepareDanglingLinkToFolder(stage);
            write(stage.root(kVersionFile), 1);
          },
          kVersionFile, deleteTheFolder),
      makingTheTarget("MakingAFolderAnewLaterThatTwoLinksLeadTo", prepareChainOfLinks, kVersionFile,
                      deleteTheFolder),
      {"LeadingALinkBackBelowItsRoot", prepareLinkOutOfTheRoot,
       [](Stage& stage) {
         stage.pause(kLookPassed);
         retarget(stage.root("links/current"), "../versions/v1");
         return 2;
       },
       kVersionFile},
  };
}

std::vector<Deed> mappingDeeds() {
  return {
      {"WritingMappedMemory", prepareFirst,
       [](Stage& stage) {
         const std::string text = databaseOfVersion(2);
         const auto memory = mapFile(stage.database(), text.size());
         std::copy(text.begin(), text.end(), memory.get());
         flushMapped(memory, text.size());
         return 2;
       }},
      {"WritingMappedMemoryThatIsKept", prepareFirst,
       [](Stage& stage) {
         const std::string text = databaseOfVersion(2);
         const auto memory = mapFile(stage.database(), text.size());
         std::copy(text.begin(), text.end(), memory.get());
         flushMapped(memory, text.size());
         stage.hold(memory);
         return 2;
       }},
      {"WritingMappedMemorySlowly", prepareFirst,
       [](Stage& stage) {
         const std::string text = databaseOfVersion(2);
         const auto memory = mapFile(stage.database(), text.size());
         memory.get()[0] = '#';  // what is half written is not well-formed
         std::copy(text.begin() + 1, text.end(), memory.get() + 1);
         stage.pause(1000);
         memory.get()[0] = text[0];
         return 2;
       }},
  };
}

/// Changes whose end the system does not tell.
std::vector<Deed> unendedDeeds() {
  return {
      {"TruncatingByPath", prepareFirst,
       [](Stage& stage) {
         const std::string text = databaseOfVersion(2);
         // Refused until it is cut off: any cut that leaves a database well-formed leaves its models too.
         writeFile(stage.database(), text + "<<<");
         stage.letEverythingBeTold();
         fs::resize_file(stage.database(), text.size());
         return 2;
       }},
      {"ResizingAndWritingMappedMemoryThatIsKept", prepareFirst,
       [](Stage& stage) {
         const std::string text = databaseOfVersion(2) + "\n\n";
         fs::resize_file(stage.database(), text.size());
         const auto memory = mapFile(stage.database(), text.size());
         std::copy(text.begin(), text.end(), memory.get());
         flushMapped(memory, text.size());
         stage.hold(memory);
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

Stage::Stage() {
  fs::create_directories(root());
  Tal::FS::setFileSystem(std::make_unique<Tal::FS::MultiFileSystem>(std::vector<fs::path>{root()}));
}

Stage::~Stage() {
  Tal::FS::setFileSystem(nullptr);
}

void Stage::pause(int milliseconds) const {
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  framesUntil([=] { return Clock::now() >= end; });
}

bool Stage::framesUntil(const std::function<bool()>& condition) const {
  const auto deadline = Clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    frame();
  }
  return true;
}

void Stage::letEverythingBeTold() {
  const std::string name = std::string(kMarks) + '/' + std::to_string(++marks_);
  const fs::path mark = root(name);
  const MarkListener listener(name);
  writeFile(mark, "-");
  EXPECT_TRUE(framesUntil([&] { return listener.count == 1; }));
  // Only a look at the files notices this, and it notes everything else before.
  const auto memory = mapFile(mark, 1);
  *memory = '+';
  EXPECT_TRUE(framesUntil([&] { return listener.count > 1; }));
}

void Stage::replace(int version, const fs::path& name) const {
  const fs::path beside = root(name).replace_filename("next.new");
  support::write(beside, version);
  fs::rename(beside, root(name));
}

const std::vector<Deed>& changingDeeds() {
  static const std::vector<Deed> all = [] {
    std::vector<Deed> deeds = savingDeeds();
    for (const auto& more : {folderDeeds(), linkDeeds(), danglingLinkDeeds(), mappingDeeds(), unendedDeeds()})
      deeds.insert(deeds.end(), more.begin(), more.end());
    return deeds;
  }();
  return all;
}

const std::vector<Deed>& otherDeeds() {
  static const std::vector<Deed> all = {
      {"WritingASibling", prepareFirst,
       [](Stage& stage) {
         write(stage.root("scripts/sibling.xml"), 2);
         write(stage.root("scripts/next"), 3);
         fs::rename(stage.root("scripts/next"), stage.root("scripts/sibling.xml"));
         fs::remove(stage.root("scripts/sibling.xml"));
         return 1;
       }},
      {"WritingTemporaryFiles", prepareFirst,
       [](Stage& stage) {
         for (const char* name :
              {"destructibles.xml.tmp", "destructibles.xml.temp", "destructibles.xml.new",
               "destructibles.xml.part", "destructibles.xml~", "destructibles.xml.swp",
               "destructibles.xml.kate-swp", "destructibles.xml___jb_tmp___", "destructibles.xml___jb_old___",
               ".destructibles.xml.swp", "#destructibles.xml#", ".destructibles.xml.1-1.saving",
               ".#destructibles.xml"}) {
           write(stage.root("scripts") / name, 2);
           stage.pause(20);
         }
         stage.pause(600);
         fs::remove(stage.root("scripts/destructibles.xml.tmp"));
         return 1;
       }},
      {"Reading", prepareFirst,
       [](Stage& stage) {
         EXPECT_EQ(readFile(stage.database()), databaseOfVersion(1));
         EXPECT_TRUE(Tal::FS::Utils::openSection(kWatchedDatabase, false, nullptr));
         return 1;
       }},
      {"ChangingPermissionsAndNames", prepareFirst,
       [](Stage& stage) {
         EXPECT_EQ(::chmod(stage.database().c_str(), 0640), 0);
         fs::create_hard_link(stage.database(), stage.outside("other name"));
         stage.pause(600);
         fs::remove(stage.outside("other name"));
         return 1;
       }},
  };
  return all;
}

void PrintTo(const Deed& deed, std::ostream* stream) {
  *stream << deed.name;
}

void expectToBeFollowed(const Deed& deed, Stage& stage, const std::vector<int>& reads) {
  const int last = deed.perform(stage);
  EXPECT_TRUE(stage.framesUntil([&] { return reads.back() == last; })) << "last read: " << reads.back();
  stage.letEverythingBeTold();
  EXPECT_EQ(reads.back(), last);
  stage.replace(last + 1, deed.saved);
  EXPECT_TRUE(stage.framesUntil([&] { return reads.back() == last + 1; })) << "last read: " << reads.back();
  EXPECT_EQ(std::count(reads.begin(), reads.end(), kTorn), 0);
}

void expectToGoUnnoticed(const Deed& deed, Stage& stage, const std::vector<int>& reads) {
  const std::size_t before = reads.size();
  const int version = deed.perform(stage);
  stage.letEverythingBeTold();
  EXPECT_EQ(reads.size(), before);
  stage.replace(version + 1);
  EXPECT_TRUE(stage.framesUntil([&] { return reads.back() == version + 1; }));
}

}  // namespace support
