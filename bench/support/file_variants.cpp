#include "file_variants.h"

#include <cstddef>
#include <string_view>

namespace bench {
namespace {

std::string replaceAll(std::string_view text, std::string_view what, std::string_view by) {
  std::string result;
  result.reserve(text.size() + text.size() / 16);
  for (auto found = text.find(what); found != std::string_view::npos; found = text.find(what)) {
    result.append(text.substr(0, found)).append(by);
    text.remove_prefix(found + what.size());
  }
  return result.append(text);
}

// The last state's name, which is in the last entry: who reads the file meets it when nearly all is read.
std::string withCdataAtTheEnd(std::string text) {
  constexpr std::string_view kOpen = "<name>";
  const std::size_t begin = text.rfind(kOpen) + kOpen.size();
  const std::size_t end = text.find("</name>", begin);
  const std::string name = text.substr(begin + 1, end - begin - 2);  // without the blanks around it
  return text.replace(begin, end - begin, "<![CDATA[" + name + "]]>");
}

// A letter in the tag of every structure.
std::string inLatin1(std::string_view text) {
  return "<?xml version='1.0' encoding='iso-8859-1'?>\n" + replaceAll(text, "house_", "geb\xE4ude_");
}

// In little-endian order, behind a byte-order mark; the text must be ASCII.
std::string inUtf16(std::string_view text) {
  std::string bytes = "\xFF\xFE";
  bytes.reserve(bytes.size() + 2 * text.size());
  for (const char character : text) bytes.append({character, '\0'});
  return bytes;
}

}  // namespace

std::vector<FileVariant> fileVariantsOf(const std::string& text) {
  return {{"CRLF", replaceAll(text, "\n", "\r\n")},
          {"instruction", "<?xml-stylesheet href='destructibles.xsl'?>\n" + text},
          {"CDATA", withCdataAtTheEnd(text)},
          {"DOCTYPE", "<!DOCTYPE destructibles.xml>\n" + text},
          {"Latin-1", inLatin1(text), true},
          {"UTF-16", inUtf16(text), true}};
}

}  // namespace bench
