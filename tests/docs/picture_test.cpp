#include <gtest/gtest.h>
#include <support/process.h>
#include <support/temporary_folder.h>

#include <string>

namespace {

TEST(ThePictureOfTheReadme, ShowsWhatTheMainJobPrints) {
  const std::string source = SOURCE_FOLDER;
  const support::TemporaryFolder scratch;
  const support::ProcessResult made =
      support::runProcess(source + "/sample/picture.sh", {DESTRUCTIBLES_PROGRAM, scratch.path().string()},
                          {.folder = {}, .environment = {{"PATH", "/usr/bin:/bin"}}});
  EXPECT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(made.out, support::readFile(source + "/docs/images/tour.svg"))
      << "after a change of what the tool prints, make the picture anew with sample/picture.sh";
}

}  // namespace
