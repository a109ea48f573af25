#include <support/counting_system.h>
#include <support/temporary_folder.h>

#include <files/place_status.h>
#include <files/system.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>

namespace {

namespace fs = std::filesystem;
using support::TemporaryFolder;
using Tal::files::identityAt;
using Tal::files::PlaceStatus;
using Tal::files::RootedPath;
using Tal::files::statusOf;
using Tal::files::System;
using Tal::files::SystemReplacement;
using Kind = PlaceStatus::Kind;

/// A system, old or of a container, that does not know openat2.
class OldSystem : public System {
 public:
  explicit OldSystem(int code) : code_(code) {}

  int openat2(int /*folder*/, const char* /*name*/, int /*flags*/, std::uint64_t /*resolve*/) override {
    errno = code_;
    return -1;
  }

 private:
  int code_;
};

class BrokenDisk : public OldSystem {
 public:
  BrokenDisk() : OldSystem(EIO) {}

  int fstatat(int /*folder*/, const char* /*name*/, struct stat& /*status*/, int /*flags*/) override {
    errno = EIO;
    return -1;
  }
};

struct Case {
  const char* name;  ///< below the root "root", which stands beside "outside"
  const char* link;  ///< what it leads to; empty when it is no link; "/" stands for the folder of both
  Kind kind;
  bool isOutside = false;
};

void PrintTo(const Case& one, std::ostream* stream) {
  *stream << one.name << " -> " << one.link;
}

class APlace : public testing::TestWithParam<Case> {
 protected:
  APlace() {
    for (const char* const file : {"root/a.xml", "root/deep/a.xml", "outside/a.xml"})
      folder_.write(file, "<r/>");
    const std::string target = GetParam().link;
    if (target.empty()) return;
    fs::create_symlink(target.starts_with('/') ? folder_.path().native() + target : target,
                       folder_ / "root" / topOf(GetParam().name));
  }

  void expectItsStatus() const {
    const PlaceStatus status = statusOf({folder_ / "root", GetParam().name});
    EXPECT_EQ(status.kind, GetParam().kind);
    EXPECT_EQ(status.isOutside, GetParam().isOutside);
    if (status.kind == Kind::file) EXPECT_EQ(status.identity, identityAt(folder_ / "root" / GetParam().name));
  }

 private:
  static fs::path topOf(const fs::path& name) { return *name.begin(); }

  TemporaryFolder folder_;
};

TEST_P(APlace, IsToldFromWhatItIsNot) {
  expectItsStatus();
}

TEST_P(APlace, IsToldTheSameBySystemsThatCannotFollowLinksWithinAFolder) {
  for (const int code : {ENOSYS, EPERM, EINVAL}) {
    OldSystem system(code);
    const SystemReplacement replacement(system);
    expectItsStatus();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Of, APlace,
    testing::Values(Case{"a.xml", "", Kind::file}, Case{"deep/a.xml", "", Kind::file},
                    Case{"deep", "", Kind::other}, Case{"none.xml", "", Kind::nothing},
                    Case{"none/a.xml", "", Kind::nothing}, Case{"a.xml/b.xml", "", Kind::nothing},
                    Case{"link.xml", "a.xml", Kind::file}, Case{"link.xml", "deep/../a.xml", Kind::file},
                    Case{"link.xml", "/root/a.xml", Kind::file}, Case{"link.xml", "deep", Kind::other},
                    Case{"link.xml", "none.xml", Kind::deadLink}, Case{"link/a.xml", "deep", Kind::file},
                    Case{"link/a.xml", "/root/deep", Kind::file},
                    Case{"link.xml", "../outside/a.xml", Kind::file, true},
                    Case{"link.xml", "/outside/a.xml", Kind::file, true},
                    Case{"link/a.xml", "../outside", Kind::file, true},
                    Case{"link/none.xml", "/outside", Kind::nothing, true},
                    Case{"link/deep/none.xml", "../outside", Kind::nothing, true}));

TEST(APlaceWithoutAbsoluteLinks, IsNamedToTheSystemOnce) {
  const TemporaryFolder root;
  root.write("deep/a.xml", "<r/>");
  fs::create_directory_symlink("deep", root / "link");
  for (const char* const name : {"deep/a.xml", "link/a.xml"}) {
    const support::CountingSystem system("a.xml");
    EXPECT_EQ(statusOf({root.path(), name}).kind, Kind::file);
    EXPECT_EQ(system.namings, 1) << name;
  }
}

TEST(APlaceThatCannotBeExamined, IsUnknownForTheSystemsReason) {
  const TemporaryFolder root;
  fs::create_symlink("loop", root / "loop");
  EXPECT_EQ(statusOf({root.path(), "loop"}).code, ELOOP);
  EXPECT_EQ(statusOf({root.path(), std::string(300, 'a')}).code, ENAMETOOLONG);
  root.write("a.xml", "<r/>");
  BrokenDisk disk;
  const SystemReplacement replacement(disk);
  EXPECT_EQ(statusOf({root.path(), "a.xml"}).kind, Kind::unknown);
  EXPECT_EQ(statusOf({root.path(), "a.xml"}).code, EIO);
}

TEST(APlaceBelowARootThatIsGone, HoldsNothing) {
  const TemporaryFolder folder;
  EXPECT_EQ(statusOf({folder / "gone", "a.xml"}).kind, Kind::nothing);
}

}  // namespace
