#include <core/format.h>
#include <resources/file_read.h>
#include <resources/report.h>
#include <resources/section_document.h>
#include <resources/xml_parser.h>

#include <cstdlib>
#include <utility>

namespace Tal {
namespace {

constexpr BasicStringRef kEmptyDocument = "<root></root>\n";

std::string placeOf(const std::string& resourceName, const Xml::ParseError& error) {
  if (error.line == 0) return resourceName;
  return resourceName + ':' + std::to_string(error.line) + ':' + std::to_string(error.column);
}

struct Text {
  Xml::Source utf8;
  Xml::Encoding encoding = Xml::Encoding::utf8;
};

std::optional<Text> textOf(Xml::Source bytes, Xml::ParseError& error) {
  const auto encoding = Xml::detectEncoding(bytes.view(), error.reason);
  if (!encoding) return std::nullopt;
  std::optional<Xml::Source> utf8 = Xml::toUtf8(std::move(bytes), *encoding, error.reason);
  if (!utf8) return std::nullopt;
  return Text{std::move(*utf8), *encoding};
}

}  // namespace

SectionDocument::SectionDocument(std::string resourceName, Xml::Tree tree, Xml::Encoding encoding,
                                 std::optional<FileIdentity> identity)
    : resourceName_(std::move(resourceName)),
      tree_(std::move(tree)),
      encoding_(encoding),
      identity_(identity) {}

SmartPointer<SectionDocument> SectionDocument::read(std::string resourceName,
                                                    const std::filesystem::path& file, Refusal& refusal) {
  const std::string name = escapeControls(resourceName);
  FileContent content;
  if (const std::string failure = readFile(file, Xml::kLargestSource, content); !failure.empty()) {
    refusal = name + ": " + failure;
    return nullptr;
  }
  Xml::ParseError error;
  std::optional<Text> text = textOf(std::move(content.bytes), error);
  std::optional<Xml::Tree> tree;
  if (text) tree = Xml::parse(std::move(text->utf8), error);
  if (!tree) {
    refusal = placeOf(name, error) + ": " + error.reason + "; the file was not loaded: correct it there";
    return nullptr;
  }
  return new SectionDocument(std::move(resourceName), std::move(*tree), text->encoding, content.identity);
}

SmartPointer<SectionDocument> SectionDocument::make(std::string resourceName) {
  Xml::ParseError error;
  std::optional<Xml::Tree> tree = Xml::parse(Xml::Source::copyOf(kEmptyDocument), error);
  if (!tree) return nullptr;
  return new SectionDocument(std::move(resourceName), std::move(*tree), Xml::Encoding::utf8, std::nullopt);
}

}  // namespace Tal
