// What a save of one model leaves of the database as it was: files of every variant, edits of every sort,
// compared as bytes.

#include <support/utf16.h>

#include <destructibles/fixture.h>
#include <files/file_identity.h>
#include <resources/data_section_cache.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tal {
namespace {

// In its plain variant. The values of the crate are written as no save would write them.
constexpr const char* kPlain = R"(<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE root [
  <!ENTITY oak "old oak">
  <!ATTLIST entry checked CDATA "no">
]>
<!-- the café's objects -->
<?check "all"?>
<root version="1.0" by='hand'>
  <trees a = "1"  b='2' ><tree>x &lt; y &#10;&apos;&quot;&gt;</tree></trees>
  <fragiles>
    <!-- the crate -->
    <entry id="1" kind = 'box'>
      <filename> crate</filename>
      <health> 007 </health>
      <mass unit="kg">12</mass>
      <effectScale>1.000000</effectScale>
      <decayEffect>&oak;</decayEffect>
      <effect>bang<!-- loud --></effect>
      <effectHP></effectHP>
      <matName>wood</matName>
      <lifetimeEffect><![CDATA[none]]></lifetimeEffect>
      <achievementTag>a&#38;b</achievementTag>
    </entry>
    <entry>
      <filename>other</filename> <!-- of another -->
      <empty/><empty></empty><empty /><empty
 a="1"/>
      <?of another?><health>1</health >
    </entry>
  </fragiles>
  <structures>
    <entry>
      <note>é &oak;</note>
      <filename>house</filename>
      <achievementTag>hero</achievementTag>
      <states>
        <state>
          <name>ruined</name>
          <destroyedMaterials>nwall </destroyedMaterials>
        </state>
      </states>
      <modules>
        <module>
          <matName>nroof</matName>
          <health>3</health>
          <decayEffect>none</decayEffect>
          <ramEffect>none</ramEffect>
          <effectHP/>
          <effectScale>1</effectScale>
        </module>
        <module>
          <matName>nwall</matName>
          <health>4</health>
          <decayEffect>none</decayEffect>
          <ramEffect>none</ramEffect>
          <effectHP/>
          <effectScale>1</effectScale>
        </module>
      </modules>
      <mass/>
    </entry>
  </structures>
</root>
<!-- end -->
)";

// --- File variants ---

std::string replaced(std::string text, const std::string& before, const std::string& after) {
  for (std::size_t at = 0; (at = text.find(before, at)) != std::string::npos; at += after.size())
    text.replace(at, before.size(), after);
  return text;
}

/// Each line with its two spaces of indentation exchanged for something else.
std::string indented(const std::string& text, const std::string& unit, const std::string& lineEnd) {
  std::string result;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    const std::size_t content = text.find_first_not_of(' ', begin);
    for (std::size_t i = begin; i + 1 < content; i += 2) result += unit;
    const bool isContinued = content == begin + 1;  // one space: within a tag
    result += (isContinued ? " " : "") + text.substr(content, end - content) + (isContinued ? "\n" : lineEnd);
    begin = end + 1;
  }
  return result;
}

std::string withUnit(const std::string& text, const std::string& unit) {
  return indented(text, unit, "\n");
}

std::string inEncoding(const std::string& text, const std::string& name) {
  return replaced(text, "encoding=\"utf-8\"", "encoding=\"" + name + '"');
}

/// The characters of UTF-8 text that holds none above U+07FF.
std::u16string charactersOf(const std::string& text) {
  std::u16string characters;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool isPair = byte >= 0x80;
    const auto next = isPair ? static_cast<unsigned char>(text[++i]) : 0U;
    characters += static_cast<char16_t>(isPair ? (byte & 0x1FU) << 6U | (next & 0x3FU) : byte);
  }
  return characters;
}

std::string inUtf16(const std::string& text, bool isLittleEndian) {
  const std::u16string units = u"\uFEFF" + charactersOf(inEncoding(text, "UTF-16"));
  return isLittleEndian ? support::littleEndian(units) : support::bigEndian(units);
}

std::string inLatin1(const std::string& text) {
  std::string bytes;
  for (const char16_t unit : charactersOf(inEncoding(text, "ISO-8859-1"))) bytes += static_cast<char>(unit);
  return bytes;
}

std::string withQuotesExchanged(std::string text) {
  for (char& c : text) c = c == '"' ? '\'' : c == '\'' ? '"' : c;
  return text;
}

struct FileVariant {
  const char* name;
  std::function<std::string(const std::string&)> put;
};

void PrintTo(const FileVariant& variant, std::ostream* stream) {
  *stream << variant.name;
}

const std::vector<FileVariant>& fileVariants() {
  static const std::vector<FileVariant> all = {
      {"Plain", [](const std::string& text) { return text; }},
      {"Tabs", [](const std::string& text) { return withUnit(text, "\t"); }},
      {"FourSpaces", [](const std::string& text) { return withUnit(text, "    "); }},
      {"NoIndentation", [](const std::string& text) { return withUnit(text, ""); }},
      {"OneLine", [](const std::string& text) { return indented(text, "", ""); }},
      {"CarriageReturns", [](const std::string& text) { return replaced(text, "\n", "\r\n"); }},
      {"TabsAndCarriageReturns", [](const std::string& text) { return indented(text, "\t", "\r\n"); }},
      {"NoLineEndAtTheEnd", [](const std::string& text) { return text.substr(0, text.size() - 1); }},
      {"NoDeclaration", [](const std::string& text) { return text.substr(text.find('\n') + 1); }},
      {"QuotesExchanged", withQuotesExchanged},
      {"ByteOrderMark", [](const std::string& text) { return "\xEF\xBB\xBF" + text; }},
      {"Utf16LittleEndian", [](const std::string& text) { return inUtf16(text, true); }},
      {"Utf16BigEndian", [](const std::string& text) { return inUtf16(text, false); }},
      {"Latin1", inLatin1},
  };
  return all;
}

// --- Edits ---

using Helper = KsDestructiblesHelper;

struct Edit {
  const char* name;
  const char* model;
  std::function<void(Helper&)> make;
  std::vector<std::pair<std::string, std::string>> changes;  ///< of the plain text, each found once
};

Edit fragileEdit(const char* name, const std::function<void(KsDestructibleFragileDesc&)>& change,
                 const std::string& before, const std::string& after) {
  const auto make = [change](Helper& crate) {
    KsDestructibleFragileDesc desc;
    EXPECT_TRUE(crate.getFragileParameters(desc));
    change(desc);
    EXPECT_TRUE(crate.updateFragileParameters(desc));
  };
  return {name, "crate", make, {{before, after}}};
}

std::string crateEntry() {
  const std::string text = kPlain;
  const std::string end = "    </entry>\n";
  const std::size_t begin = text.find("    <entry id");
  return text.substr(begin, text.find(end, begin) + end.size() - begin);
}

std::string fallingAtomSection(const std::string& name) {
  return "  <fallingAtoms>\n    <entry>\n      <filename>" + name + R"(</filename>
      <health>20</health>
      <physicParams>200 3.2 0.03 150000 10000 0 0.05</physicParams>
      <lifetimeEffect>none</lifetimeEffect>
      <fractureEffect>none</fractureEffect>
      <touchdownEffect>none</touchdownEffect>
      <touchdownBreakEffect>none</touchdownBreakEffect>
      <effectScale>1</effectScale>
    </entry>
  </fallingAtoms>
)";
}

void makeFallingAtom(Helper& helper) {
  helper.setAsFallingAtoms();
  EXPECT_TRUE(helper.updateFallingAtomParameters(KsDestructibleFallingAtomDesc()));
}

const std::vector<Edit>& edits() {
  using Fragile = KsDestructibleFragileDesc;
  static const std::vector<Edit> all = {
      {"nothing is edited", "crate", [](Helper&) {}, {}},
      fragileEdit(
          "a number", [](Fragile& desc) { desc.health = 12; }, "> 007 <", "> 12 <"),
      fragileEdit(
          "a fraction", [](Fragile& desc) { desc.effectScale = 2.5F; }, "1.000000", "2.5"),
      fragileEdit(
          "a text in place of an entity", [](Fragile& desc) { desc.decayEffect = "a<b & c"; }, "&oak;</d",
          "a&lt;b &amp; c</d"),
      fragileEdit(
          "a text beside a comment", [](Fragile& desc) { desc.effect = "boom"; }, "bang", "boom"),
      fragileEdit(
          "a text in place of CDATA", [](Fragile& desc) { desc.lifetimeEffect = "smoke"; },
          "<![CDATA[none]]>", "smoke"),
      fragileEdit(
          "a text where there was none", [](Fragile& desc) { desc.effectHP = "HP_1"; },
          "<effectHP></effectHP>", "<effectHP>HP_1</effectHP>"),
      fragileEdit(
          "a key more", [](Fragile& desc) { desc.hitEffect = "hit"; }, "</achievementTag>\n    </entry>",
          "</achievementTag>\n      <hitEffect>hit</hitEffect>\n    </entry>"),
      fragileEdit(
          "a key less", [](Fragile& desc) { desc.matName = ""; }, "      <matName>wood</matName>\n", ""),
      fragileEdit(
          "the last key less", [](Fragile& desc) { desc.achievementTag = "none"; },
          "      <achievementTag>a&#38;b</achievementTag>\n", ""),
      {"a new entry",
       "barrel",
       [](Helper& barrel) {
         barrel.setAsFragile();
         EXPECT_TRUE(barrel.updateFragileParameters(KsDestructibleFragileDesc()));
       },
       {{"  </fragiles>\n", R"(    <entry>
      <filename>barrel</filename>
      <health>5</health>
      <decayEffect>none</decayEffect>
      <effect>none</effect>
      <effectHP/>
      <effectScale>1</effectScale>
      <lifetimeEffect>none</lifetimeEffect>
    </entry>
  </fragiles>
)"}}},
      {"a new section", "lamp", makeFallingAtom, {{"</root>", fallingAtomSection("lamp") + "</root>"}}},
      {"an entry less",
       "crate",
       [](Helper& crate) { crate.setAsNonDestructible(true); },
       {{crateEntry(), ""}}},
      {"an entry that moves",
       "crate",
       makeFallingAtom,
       {{crateEntry(), ""}, {"</root>", fallingAtomSection("crate") + "</root>"}}},
      {"modules and states as they were", "house", [](Helper&) {}, {}},
      {"modules and states anew",
       "house",
       [](Helper& house) {
         EXPECT_TRUE(house.addDestructibleState("burnt"));
         EXPECT_TRUE(house.addMaterialToDestrState("burnt", "nroof"));
         KsDestructibleModuleDesc desc;
         desc.health = 50;
         EXPECT_TRUE(house.updateDestructibleModule("nwall", desc, false));
       },
       {{"      <states>\n",
         "      <states>\n        <state>\n          <name>burnt</name>\n"
         "          <destroyedMaterials>nroof </destroyedMaterials>\n        </state>\n"},
        {"<health>4</health>", "<health>50</health>"}}},
  };
  return all;
}

std::string afterEdit(const Edit& edit) {
  std::string text = kPlain;
  for (const auto& [before, after] : edit.changes) {
    const std::size_t at = text.find(before);
    EXPECT_TRUE(at != std::string::npos && text.find(before, at + 1) == std::string::npos) << before;
    text.replace(at, before.size(), after);
  }
  return text;
}

support::ModelParts partsOf(const std::string& model) {
  if (model != "house") return {};
  return {.materials = {{"nwall", 73}, {"nroof", 74}}, .bsp = {"nwall", "nroof"}};
}

/// Readable also when it is in UTF-16.
std::string shown(const std::string& bytes) {
  return replaced(bytes, std::string(1, '\0'), "");
}

class ASaveKeepsTheBytes : public DestructiblesTest, public testing::WithParamInterface<FileVariant> {
 protected:
  files::FileIdentity identity() const {
    return files::identityAt(root_ / kDatabase).value_or(files::FileIdentity());
  }

  /// Saves; the result says whether the file was touched.
  bool isTouchedBySaving(Helper& helper) const {
    const files::FileIdentity before = identity();
    EXPECT_EQ(helper.saveConfig(), helper.destructibleType() != DT_NON_DESTRUCTIBLE);
    return identity() != before;
  }

  void tryEdit(const Edit& edit) {
    const std::string before = GetParam().put(kPlain);
    const std::string expected = GetParam().put(afterEdit(edit));
    Access::clearTables();
    DataSectionCache::clear();
    writeDatabase(before);
    const OpenModel open(partsOf(edit.model), edit.model);
    edit.make(*open);
    EXPECT_EQ(isTouchedBySaving(*open), before != expected);
    EXPECT_EQ(shown(readDatabase()), shown(expected));
    EXPECT_TRUE(readDatabase() == expected);
    EXPECT_FALSE(isTouchedBySaving(*open)) << "saving twice is saving once";
    Access::clearTables();
    DataSectionCache::clear();
    const OpenModel again(partsOf(edit.model), edit.model);
    EXPECT_FALSE(isTouchedBySaving(*again)) << "what was written is read as it was meant";
  }
};

TEST_P(ASaveKeepsTheBytes, ThatNoEditTouches) {
  for (const Edit& edit : edits()) {
    SCOPED_TRACE(edit.name);
    tryEdit(edit);
  }
}

// --- Files that no rule has laid out ---

struct Case {
  const char* name;
  std::string before;
  const char* model;
  std::function<void(Helper&)> make;
  std::string after;
};

void setHealth(Helper& crate) {
  KsDestructibleFragileDesc desc;
  EXPECT_TRUE(crate.getFragileParameters(desc));
  desc.health = 12;
  EXPECT_TRUE(crate.updateFragileParameters(desc));
}

void setHitEffect(Helper& crate) {
  KsDestructibleFragileDesc desc;
  EXPECT_TRUE(crate.getFragileParameters(desc));
  desc.hitEffect = "hit";
  EXPECT_TRUE(crate.updateFragileParameters(desc));
}

void makeFragile(Helper& helper) {
  helper.setAsFragile();
  EXPECT_TRUE(helper.updateFragileParameters(KsDestructibleFragileDesc()));
}

void removeEntry(Helper& helper) {
  helper.setAsNonDestructible(true);
}

// The keys of an entry, each between `lead` and the next.
std::string keys(const std::string& model, const std::string& health, const std::string& lead) {
  std::string text;
  for (const std::string& key :
       {"<filename>" + model + "</filename>", "<health>" + health + "</health>",
        std::string("<decayEffect>none</decayEffect>"), std::string("<effect>none</effect>"),
        std::string("<effectHP/>"), std::string("<effectScale>1</effectScale>"),
        std::string("<lifetimeEffect>none</lifetimeEffect>")})
    text += lead + key;
  return text;
}

std::vector<Case> irregularFiles() {
  const std::string crate = keys("crate", "5", "");
  const std::string edited = keys("crate", "12", "");
  const std::string hit = "<hitEffect>hit</hitEffect>";
  const std::string other = "<entry><filename>other</filename></entry>";
  return {
      {"mixed line ends, a value",
       "<r>\r\n<fragiles>\n<entry>" + keys("crate", "5", "\r\n\n") + "\r</entry>\n</fragiles>\r\n</r>\n",
       "crate", setHealth,
       "<r>\r\n<fragiles>\n<entry>" + keys("crate", "12", "\r\n\n") + "\r</entry>\n</fragiles>\r\n</r>\n"},
      {"mixed line ends, a key more takes that of the key before",
       "<r>\n<fragiles>\n<entry>" + keys("crate", "5", "\r\n\t") + "\n</entry>\n</fragiles>\n</r>", "crate",
       setHitEffect,
       "<r>\n<fragiles>\n<entry>" + keys("crate", "5", "\r\n\t") + "\r\n\t" + hit +
           "\n</entry>\n</fragiles>\n</r>"},
      {"an entry on one line of a file of many",
       "<r>\n  <fragiles>\n    <entry>" + crate + "</entry>\n  </fragiles>\n</r>\n", "crate", setHitEffect,
       "<r>\n  <fragiles>\n    <entry>" + crate + hit + "</entry>\n  </fragiles>\n</r>\n"},
      {"a comment behind the last key",
       "<r><fragiles>\n<entry>\n" + crate + " <!-- last --></entry></fragiles></r>", "crate", setHitEffect,
       "<r><fragiles>\n<entry>\n" + crate + " <!-- last -->" + hit + "</entry></fragiles></r>"},
      {"the first entry of a section without end tag", "<r>\n  <fragiles/>\n</r>\n", "crate", makeFragile,
       "<r>\n  <fragiles>\n    <entry>" + keys("crate", "5", "\n      ") +
           "\n    </entry>\n  </fragiles>\n</r>\n"},
      {"the first entry of a section of blank lines", "<r>\n\t<fragiles a='1'>\n\t</fragiles>\n</r>\n",
       "crate", makeFragile,
       "<r>\n\t<fragiles a='1'>\n\t\t<entry>" + keys("crate", "5", "\n\t\t\t") +
           "\n\t\t</entry>\n\t</fragiles>\n</r>\n"},
      {"the first entry of a file on one line", "<r/>", "crate", makeFragile,
       "<r><fragiles><entry>" + crate + "</entry></fragiles></r>"},
      {"the first entry of a file of two lines", "<?xml version='1.0'?>\r\n<r/>", "crate", makeFragile,
       "<?xml version='1.0'?>\r\n<r>\r\n\t<fragiles>\r\n\t\t<entry>" + keys("crate", "5", "\r\n\t\t\t") +
           "\r\n\t\t</entry>\r\n\t</fragiles>\r\n</r>"},
      {"the only entry less", "<r>\n  <fragiles>\n    <entry>" + crate + "</entry>\n  </fragiles>\n</r>",
       "crate", removeEntry, "<r>\n  <fragiles></fragiles>\n</r>"},
      {"entries of the model in other places less",
       "<r><entry>" + crate + "</entry><!-- 1 --><x>" + other + "<entry>" + crate +
           "</entry></x><fragiles><entry>" + crate + "</entry>" + other + "<entry>" + crate +
           "</entry></fragiles></r>",
       "crate", setHealth,
       "<r><!-- 1 --><x>" + other + "</x><fragiles><entry>" + edited + "</entry>" + other +
           "</fragiles></r>"},
  };
}

class ASaveOfAnIrregularFile : public DestructiblesTest {};

TEST_F(ASaveOfAnIrregularFile, KeepsTheBytesThatNoEditTouches) {
  for (const Case& one : irregularFiles()) {
    SCOPED_TRACE(one.name);
    Access::clearTables();
    DataSectionCache::clear();
    writeDatabase(one.before);
    const OpenModel open({}, one.model);
    one.make(*open);
    open->saveConfig();
    EXPECT_EQ(readDatabase(), one.after);
    const std::optional<files::FileIdentity> identity = files::identityAt(root_ / kDatabase);
    open->saveConfig();
    EXPECT_TRUE(files::identityAt(root_ / kDatabase) == identity) << "saving twice is saving once";
  }
}

std::string nameOf(const testing::TestParamInfo<FileVariant>& variant) {
  return variant.param.name;
}

INSTANTIATE_TEST_SUITE_P(Variant, ASaveKeepsTheBytes, testing::ValuesIn(fileVariants()), nameOf);

}  // namespace
}  // namespace Tal
