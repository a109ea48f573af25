// Which documents are read without the parser for all of XML.

#include <xml/parser.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using Tal::files::ByteBuffer;
using Tal::xml::Tree;

bool isReadQuickly(const std::string& text) {
  Tree::Parsed parsed;
  parsed.source = ByteBuffer::copyOf(text);
  return Tal::xml::parseQuickly(parsed);
}

/// The root's text when the document is read quickly.
std::string quickText(const std::string& text) {
  Tree::Parsed parsed;
  parsed.source = ByteBuffer::copyOf(text);
  if (!Tal::xml::parseQuickly(parsed)) return "not read";
  const Tree tree(std::move(parsed));
  std::string scratch;
  return std::string(tree.text(tree.root(), scratch));
}

TEST(TheQuickParser, ReadsEveryDeclaration) {
  for (const std::string declaration :
       {"<?xml version='1.0'?>", "<?xml\tversion = \"1.0\"\r\nencoding='ISO-8859-1' standalone='yes' ?>",
        "\xEF\xBB\xBF<?xml version='1.0' standalone='no'?>", "<?xml-stylesheet href='a'?>"})
    EXPECT_TRUE(isReadQuickly(declaration + "<r/>")) << declaration;
  for (const std::string declaration :
       {"<?xml?>", "<?xml version='1.1'?>", "<?xml version='1.0' encoding='1'?>",
        "<?xml version='1.0' standalone='maybe'?>", "<?xml version='1.0'encoding='UTF-8'?>",
        "<?xml encoding='UTF-8' version='1.0'?>", "<?xml version='1.0'", " <?xml version='1.0'?>"})
    EXPECT_FALSE(isReadQuickly(declaration + "<r/>")) << declaration;
}

TEST(TheQuickParser, ReadsInstructionsCommentsAndCharacterData) {
  EXPECT_EQ(quickText("<?a?><!-- b --><r>1<?a b ? > ?>2<!----><![CDATA[<3>]]]]>4<![CDATA[]]></r><?c?>"),
            "12<3>]]4");
  EXPECT_EQ(quickText("<r>a\r\nb\rc<![CDATA[\r\n]]>d</r>\r\n"), "a\nb\nc\nd");
  for (const std::string content :
       {"<?xml a?>", "<?XmL?>", "<?\?>", "<?a", "<![CDATA[]]", "<!-- a -- b -->", "<!--->", "<![cdata[]]>",
        "<?a/?b?>", "<![CDATA[\x01]]>", "<?a \x01?>", "]]>"})
    EXPECT_FALSE(isReadQuickly("<r>" + content + "</r>")) << content;
}

TEST(TheQuickParser, ReadsWhatStandsBehindADocumentType) {
  EXPECT_EQ(quickText("<?xml version='1.0'?><!-- of --><!DOCTYPE r><r>1</r>"), "1");
  EXPECT_EQ(
      quickText("<!DOCTYPE r SYSTEM 'r.dtd' [<!ELEMENT r ANY><!-- > --><!ENTITY a '1'><!ENTITY a '2'>]>\n"
                "<!-- and --><r>&a;&lt;&a;</r>"),
      "1<1");
}

TEST(TheQuickParser, LeavesEntitiesThatItDoesNotKnowToTheOther) {
  for (const std::string entity : {"<!ENTITY b '1'>", "<!ENTITY a '&#38;'>", "<!ENTITY a '&#60;r/>'>",
                                   "<!ENTITY a ']]>'>", "<!ENTITY a SYSTEM 'a.xml'>", "<!ENTITY a '1'"})
    EXPECT_FALSE(isReadQuickly("<!DOCTYPE r [" + entity + "]><r>&a;</r>")) << entity;
  EXPECT_FALSE(isReadQuickly("<!DOCTYPE r [<!ENTITY a '1'>]><r b='&a;'/>"));
  EXPECT_FALSE(isReadQuickly("<!DOCTYPE r [<!ENTITY a '1'>]><r>&a</r>"));
}

TEST(TheQuickParser, LeavesEntitiesThatMakeMuchTextToTheOther) {
  const std::string begin = "<!DOCTYPE r [<!ENTITY a '" + std::string(100'000, 'x') + "'>]><r>";
  const std::string few = "&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;";
  EXPECT_TRUE(isReadQuickly(begin + few + "</r>"));
  EXPECT_FALSE(isReadQuickly(begin + few + few + "</r>"));
}

}  // namespace
