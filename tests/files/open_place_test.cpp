#include <support/temporary_folder.h>

#include <files/atomic_file.h>
#include <files/open_place.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>

namespace {

namespace fs = std::filesystem;
using Tal::files::OpenPlace;

/// A file below a root, and the link that leads to it.
struct LinkedFile {
  const char* file;
  const char* link;
  const char* target;  ///< as it stands in the link
};

void PrintTo(const LinkedFile& one, std::ostream* stream) {
  *stream << one.link << " -> " << one.target;
}

class APlaceBehindALink : public testing::TestWithParam<LinkedFile> {};

TEST_P(APlaceBehindALink, IsThatOfTheFileThatTheLinkLeadsTo) {
  const support::TemporaryFolder root;
  root.write(GetParam().file, "old");
  fs::create_directories((root / GetParam().link).parent_path());
  fs::create_symlink(GetParam().target, root / GetParam().link);
  auto before = root.listing();
  const auto place = OpenPlace::open({root.path(), GetParam().link});
  ASSERT_TRUE(place) << Tal::textOf(place.fault());
  EXPECT_TRUE(Tal::files::replaceFile(*place, "new"));
  EXPECT_EQ(root.read(GetParam().file), "new");
  EXPECT_TRUE(fs::is_symlink(root / GetParam().link));
  EXPECT_EQ(root.listing(), before) << "nothing was made elsewhere";
}

INSTANTIATE_TEST_SUITE_P(Of, APlaceBehindALink,
                         testing::Values(LinkedFile{"a.xml", "scripts/link.xml", "../a.xml"},
                                         LinkedFile{"deep/a.xml", "link.xml", "deep/a.xml"},
                                         LinkedFile{"deep/a.xml", "scripts/link.xml", "../deep/a.xml"},
                                         LinkedFile{"scripts/a.xml", "scripts/link.xml", "a.xml"}));

}  // namespace
