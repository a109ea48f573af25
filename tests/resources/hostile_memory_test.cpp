// What hostile files come to, and what memory that takes. Each is opened in a process of its own, so that the
// system tells its peak; no test here may have a thread, of which a fork would know nothing.

#include <support/message_recorder.h>
#include <support/mounted_root.h>
#include <support/repeated.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>

#include <unistd.h>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using support::repeated;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The file's bytes, once more as the parser takes them, and a value or two that is made of all of them: what
// a loaded database may take. The address sanitizer keeps up to 256 MiB of what was freed, which growing
// texts leave behind at each step, and has a byte for every eight.
#ifdef WITH_ADDRESS_SANITIZER
constexpr long kTimesTheFile = 8;
#else
constexpr long kTimesTheFile = 4;
#endif
constexpr long kKibibyte = 1024;
constexpr long kBesides = 64 * kKibibyte;  // KiB; for the parser's tables of hundreds of thousands of names

/// Does the work; whether nothing of it failed.
bool isDone(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& exception) {
    ADD_FAILURE() << exception.what();
  }
  std::fflush(nullptr);
  return !testing::Test::HasFailure();
}

/// Does the work in a process of its own; the most memory that this has had, in KiB.
long peakOf(const std::function<void()>& work) {
  std::fflush(nullptr);  // or the child writes it once more
  const pid_t child = ::fork();
  if (child == 0) ::_exit(isDone(work) ? 0 : 1);
  int state = 0;
  rusage usage{};
  EXPECT_EQ(::wait4(child, &state, 0, &usage), child);
  EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) == 0) << "it ended with the state " << state;
  return usage.ru_maxrss;
}

class AHostileFile : public testing::Test {
 protected:
  /// Judges what came of "a.xml" in a process that opens it, which may take no more memory than the file's
  /// size allows. Nothing more is tried after a failure, which the process would take for its own.
  void expectBounded(const std::string& name, const std::function<void()>& judge) const {
    if (HasFailure()) return;
    const long growth = peakOf(judge) - peakOf([] { EXPECT_TRUE(openResource("tiny.xml")); });
    const long size = static_cast<long>(fs::file_size(root_ / "a.xml")) / kKibibyte;
    EXPECT_LE(growth, kTimesTheFile * size + kBesides) << "KiB for a file of " << size;
    RecordProperty("KiB for " + name, std::to_string(growth) + " of " + std::to_string(size));
  }

  void expectRefused(const std::string& name, const std::string& text, const std::string& message) const {
    SCOPED_TRACE(name);
    root_.replace("a.xml", text);
    expectBounded(name, [&message] {
      const MessageRecorder messages;
      EXPECT_FALSE(openResource("a.xml"));
      EXPECT_THAT(messages.texts(), ElementsAre(HasSubstr(message)));
    });
  }

  /// Reads a file whose root has the value "1".
  void expectRead(const std::string& name, const std::string& text) const {
    SCOPED_TRACE(name);
    root_.replace("a.xml", text);
    expectBounded(name, [] {
      const MessageRecorder messages;
      const auto section = openResource("a.xml");
      ASSERT_TRUE(section);
      EXPECT_EQ(section->value(), "1");
      EXPECT_EQ(section->childCount(), 0);
      EXPECT_THAT(messages.texts(), IsEmpty());
    });
  }

  const MountedRoot root_{"tiny.xml", "<r/>"};
};

TEST_F(AHostileFile, OfAMillionLevelsIsRefusedWithinBounds) {
  constexpr int kLevels = 1'000'000;
  const std::string front = repeated("<a>", kLevels);
  expectRefused("levels without an end", front, "a.xml:1:3001: elements are nested deeper than 1000 levels");
  expectRefused("levels", front + repeated("</a>", kLevels),
                "a.xml:1:3001: elements are nested deeper than 1000 levels");
  expectRefused("levels behind a DOCTYPE", "<!DOCTYPE a>" + front,
                "a.xml:1:3013: elements are nested deeper than 1000 levels");
  expectRead("levels of a declaration", "<!DOCTYPE r [<!ELEMENT r " + repeated("(", kLevels) + 'a' +
                                            repeated(")", kLevels) + ">]><r>1</r>");
}

TEST_F(AHostileFile, OfTwoHundredThousandAttributesIsReadWithinBoundsAndRefusedWhenItDeclaresThem) {
  std::string attributes;
  std::string declarations;
  for (int i = 0; i < 200'000; ++i) {
    const std::string name = " a" + std::to_string(i);
    attributes += name + "='" + std::to_string(i) + '\'';
    declarations += "<!ATTLIST r" + name + " CDATA '1'>";
  }
  expectRead("attributes", "<r" + attributes + ">1</r>");
  expectRefused("attributes, one of them twice", "<r" + attributes + " a0=''>1</r>", "duplicate attribute");
  expectRefused("declared attributes", "<!DOCTYPE r [" + declarations + "]><r>1</r>",
                "more than 256 attributes are declared");
}

TEST_F(AHostileFile, WithAnEntityBombIsRefusedWithinBounds) {
  std::string ofMany = "<!DOCTYPE r [<!ENTITY e0 'boom'>";
  for (int i = 1; i < 30; ++i) {
    const std::string previous = "&e" + std::to_string(i - 1) + ';';
    ofMany += "<!ENTITY e" + std::to_string(i) + " '" + repeated(previous, 10) + "'>";
  }
  expectRefused("a bomb of entities", ofMany + "]><r>&e29;</r>", "entity \"e1\" holds markup or references");
  expectRefused("a bomb of one long text",
                "<!DOCTYPE r [<!ENTITY e '" + std::string(100'000, 'x') + "'>]><r><a>" +
                    repeated("&e;", 100'000) + "</a></r>",
                "amplification");
}

constexpr std::streamoff kHuge = 100'000'000;

/// A file of 100 MB of "x" between a beginning and an end, which alone are written for each use.
class HugeFile {
 public:
  explicit HugeFile(const fs::path& file) : file_(file) {
    constexpr std::streamoff kBlock = 1'000'000;
    const std::string block(kBlock, 'x');
    std::ofstream stream(file_, std::ios::binary);
    stream.seekp(kRoom);
    for (std::streamoff done = 0; done < kHuge; done += kBlock) stream.write(block.data(), kBlock);
    EXPECT_TRUE(stream.good());
  }

  void enclose(const std::string& begin, const std::string& end) const {
    std::fstream stream(file_, std::ios::binary | std::ios::in | std::ios::out);
    stream << std::string(kRoom - begin.size(), ' ') << begin;
    stream.seekp(kRoom + kHuge);
    stream << end << std::string(kRoom - end.size(), ' ');
    EXPECT_TRUE(stream.flush().good());
  }

 private:
  static constexpr std::size_t kRoom = 64;

  fs::path file_;
};

/// What 100 MB stand in, in an element b or beside it.
struct HugeCase {
  const char* name;
  const char* begin;
  const char* end;
  bool isText;
};

TEST_F(AHostileFile, OfAHundredMegabytesIsReadRightWithinBounds) {
  const std::vector<HugeCase> cases = {
      {"a text", "<b>", "</b>", true},
      {"an attribute", "<b a='", "'/>", false},
      {"a comment", "<b/><!--", "-->", false},
      {"a text in CDATA", "<b><![CDATA[", "]]></b>", true},
      {"an instruction", "<b/><?p ", "?>", false},
  };
  const HugeFile file(root_ / "a.xml");
  // What has a DOCTYPE is parsed by another parser than what has none.
  for (const std::string doctype : {"", "<!DOCTYPE r>"}) {
    for (const HugeCase& one : cases) {
      const std::string name = one.name + std::string(doctype.empty() ? "" : " behind a DOCTYPE");
      SCOPED_TRACE(name);
      file.enclose(doctype + "<r><c>1</c>" + one.begin, one.end + std::string("</r>"));
      expectBounded(name, [&one] {
        const MessageRecorder messages;
        const auto section = openResource("a.xml");
        ASSERT_TRUE(section);
        EXPECT_EQ(section->readInt("c"), 1);
        const std::string value = section->readString("b");
        EXPECT_EQ(value.size(), one.isText ? static_cast<std::size_t>(kHuge) : 0U);
        EXPECT_EQ(value.find_first_not_of('x'), std::string::npos);
        EXPECT_THAT(messages.texts(), IsEmpty());
      });
    }
  }
}

}  // namespace
