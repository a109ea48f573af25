#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/database.h>
#include <support/file_variants.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace {

using bench::FileVariant;
using bench::fileVariantsOf;
using bench::makeDatabase;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kModelCount = 20;

std::string bytesIn(std::string_view name) {
  for (const FileVariant& variant : fileVariantsOf(makeDatabase(kModelCount))) {
    if (variant.name == name) return variant.bytes;
  }
  ADD_FAILURE() << "there is no variant " << name;
  return {};
}

std::string without(std::string text, const std::string& part) {
  for (auto found = text.find(part); found != std::string::npos; found = text.find(part, found))
    text.erase(found, part.size());
  return text;
}

TEST(AFileVariant, EndsEveryLineWithCrLf) {
  const std::string bytes = bytesIn("CRLF");
  EXPECT_EQ(without(bytes, "\r"), makeDatabase(kModelCount));
  EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\r'), std::count(bytes.begin(), bytes.end(), '\n'));
  EXPECT_THAT(without(bytes, "\r\n"), testing::Not(HasSubstr("\n")));
}

TEST(AFileVariant, HasAnInstructionOrADoctypeInFront) {
  const std::string plain = makeDatabase(kModelCount);
  for (const auto& [name, begin] :
       {std::pair("instruction", "<?xml-stylesheet "), std::pair("DOCTYPE", "<!DOCTYPE destructibles.xml")}) {
    EXPECT_THAT(bytesIn(name), StartsWith(begin));
    EXPECT_THAT(bytesIn(name), EndsWith(">\n" + plain));
  }
}

TEST(AFileVariant, HasOneCdataSectionInTheLastEntry) {
  const std::string bytes = bytesIn("CDATA");
  const auto section = bytes.find("<name><![CDATA[ruined_2]]></name>");
  ASSERT_NE(section, std::string::npos);
  EXPECT_EQ(bytes.find("<entry>", section), std::string::npos);
  EXPECT_EQ(bytes.find("<![CDATA[", section + 10), std::string::npos);
  EXPECT_EQ(without(without(bytes, "<![CDATA["), "]]>").size(), makeDatabase(kModelCount).size() - 2)
      << "but for the blanks around the name, nothing else is different";
}

TEST(AFileVariant, IsInLatin1WithALetterInEveryStructure) {
  const std::string bytes = bytesIn("Latin-1");
  EXPECT_THAT(bytes, StartsWith("<?xml version='1.0' encoding='iso-8859-1'?>\n<destructibles.xml>"));
  EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\xE4'), kModelCount / 10);
  EXPECT_TRUE(std::all_of(bytes.begin(), bytes.end(),
                          [](char c) { return static_cast<unsigned char>(c) < 0x80 || c == '\xE4'; }));
}

TEST(AFileVariant, IsInUtf16BehindAByteOrderMark) {
  std::string bytes = bytesIn("UTF-16");
  ASSERT_THAT(bytes, StartsWith(std::string("\xFF\xFE<\0d\0", 6)));
  EXPECT_EQ(bytes.size(), 2 + 2 * makeDatabase(kModelCount).size());
  std::erase(bytes, '\0');
  EXPECT_EQ(bytes.substr(2), makeDatabase(kModelCount));
}

}  // namespace
