// A database that ends too early, as after a copy that stopped halfway: at every byte.

#include <destructibles/fixture.h>
#include <destructibles/table_text.h>
#include <support/utf16.h>

#include <string>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::Key;
using ::testing::StartsWith;

constexpr const char* kWithDoctype = R"(<?xml version="1.0"?>
<!DOCTYPE root [<!ENTITY part "HP_door">]>
<!-- a street -->
<root>
  <fragiles>
    <!-- of wood --><entry>
      <filename><![CDATA[crate]]></filename>
      <health>5</health>
      <effectHP>&part;</effectHP>
    </entry>
  </fragiles>
  <structures>
    <entry><filename>house</filename><modules><module><matName>n_wall</matName></module></modules></entry>
  </structures>
</root>
<!-- its end -->
)";

const std::string kWithCarriageReturns =
    "<root>\r\n"
    "\t<fragiles>\r\n"
    "\t\t<entry name='first'>\r\n"
    "\t\t\t<filename>crate</filename>\r\n"
    "\t\t\t<health>5</health>\r\n"
    "\t\t</entry>\r\n"
    "\t</fragiles>\r\n"
    "\t<fallingAtoms>\r\n"
    "\t\t<entry>\r\n"
    "\t\t\t<filename>lamp</filename>\r\n"
    "\t\t</entry>\r\n"
    "\t</fallingAtoms>\r\n"
    "</root>\r\n\r\n";

constexpr const char16_t* kOfWideCharacters =
    u"\uFEFF<?xml version='1.0' encoding='UTF-16'?>\n"
    u"<root><fragiles><entry><filename>crate</filename><health>5</health>"
    u"<effect>\u00E9 \U0001F600</effect></entry></fragiles></root>\n";

/// Whether a text that has its root whole ends within a comment behind it.
bool isWithinComment(const std::string& behindRoot) {
  return behindRoot.find('<') != std::string::npos && behindRoot.find("-->") == std::string::npos;
}

class ADatabaseThatIsCutOff : public DestructiblesTest {
 protected:
  /// Cuts a database behind each of its bytes; `isWhole` tells whether the first so many are a document.
  template <class IsWhole>
  void expectAllOrNothing(const std::string& database, const IsWhole& isWhole) {
    writeDatabase(database);
    const OpenModel crate({}, "crate");
    ASSERT_EQ(crate->destructibleType(), DT_FRAGILE);
    const std::string tables = textOfTables();
    for (std::size_t length = 0; length <= database.size(); ++length) {
      writeDatabase(database.substr(0, length));
      messages_.clear();
      if (isWhole(length)) {
        EXPECT_TRUE(crate->loadConfig(true));
        EXPECT_EQ(textOfTables(), tables);
        EXPECT_THAT(messages_.texts(), ElementsAre());
      } else {
        expectRefused(crate, database.substr(0, length));
      }
      if (HasFailure()) FAIL() << "cut off behind " << length << " bytes";
    }
  }

 private:
  void expectRefused(const OpenModel& crate, const std::string& cut) {
    EXPECT_FALSE(crate->loadConfig(true));
    EXPECT_TRUE(Access::tablesAreEmpty());
    Access::fragileMap()["crate"].health = 77;
    EXPECT_FALSE(crate->saveConfig());
    EXPECT_EQ(readDatabase(), cut);
    EXPECT_THAT(Access::fragiles(), ElementsAre(Key("crate"))) << "the edit is kept";
    EXPECT_THAT(messages_.texts(), ElementsAre(StartsWith(kDatabase))) << "said once for both";
  }
};

TEST_F(ADatabaseThatIsCutOff, WithADoctypeAnEntityCdataAndCommentsIsLoadedWholeOrNotAtAll) {
  const std::string database = kWithDoctype;
  const std::size_t rootEnd = database.find("</root>") + 7;
  expectAllOrNothing(database, [&](std::size_t length) {
    return length >= rootEnd && !isWithinComment(database.substr(rootEnd, length - rootEnd));
  });
}

TEST_F(ADatabaseThatIsCutOff, WithCarriageReturnsIsLoadedWholeOrNotAtAll) {
  const std::size_t rootEnd = kWithCarriageReturns.find("</root>") + 7;
  expectAllOrNothing(kWithCarriageReturns, [&](std::size_t length) { return length >= rootEnd; });
}

TEST_F(ADatabaseThatIsCutOff, InUtf16IsLoadedWholeOrNotAtAll) {
  const std::u16string text = kOfWideCharacters;
  const std::size_t rootEnd = 2 * (text.find(u"</root>") + 7);
  expectAllOrNothing(support::littleEndian(text),
                     [&](std::size_t length) { return length >= rootEnd && length % 2 == 0; });
}

}  // namespace
}  // namespace Tal
