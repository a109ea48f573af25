#include <xml/characters.h>
#include <xml/hints.h>
#include <xml/parser.h>
#include <xml/plain_parser.h>
#include <xml/syntax_fault.h>
#include <xml/tree_builder.h>

#define XML_DTD  // declares the limit on what entities may make of a text
#include <expat.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace Tal::xml {
namespace {

static_assert(kLargestSource / BasicStringRef("<a/>").size() < kNoTag,
              "every element can have a tag of its own");

/// The parser takes time for each pair of declared attributes, and for each of them at each element.
constexpr int kMostDeclaredAttributes = 256;

/// How many times as long as the file the text may become by its entities, beyond some megabytes.
constexpr float kMostAmplification = 10;

/// A fault at the place where the parser is.
Fault faultAt(XML_Parser parser, BasicStringRef source, std::string what) {
  const auto line = static_cast<std::size_t>(XML_GetCurrentLineNumber(parser));
  const auto column = static_cast<std::size_t>(XML_GetCurrentColumnNumber(parser)) + 1;
  const bool isBehindMark = line == 1 && column > 1 && source.starts_with(kByteOrderMark);
  return {FaultKind::malformed, std::move(what), "", "", line, isBehindMark ? column - 1 : column};
}

/// Turns what the parser reports into a tree.
class ExpatHandlers {
 public:
  ExpatHandlers(XML_Parser parser, Tree::Parsed& parsed)
      : parser_(parser), parsed_(parsed), builder_(parsed) {
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, onStart, onEnd);
    XML_SetEntityDeclHandler(parser, onEntityDeclaration);
    XML_SetAttlistDeclHandler(parser, onAttributeDeclaration);
    XML_SetSkippedEntityHandler(parser, onSkippedEntity);
    XML_SetExternalEntityRefHandler(parser, onExternalEntity);
  }

  void finish() { builder_.finish(); }

  /// Makes the parser stop where the document type ends, or the root begins.
  void stopBehindDocumentType() {
    XML_SetElementHandler(parser_, onRoot, nullptr);
    XML_SetEndDoctypeDeclHandler(parser_, onDocumentTypeEnd);
  }

  /// Behind the document type, where the parser was made to stop; 0 when there is none.
  std::size_t documentTypeEnd() const noexcept { return documentTypeEnd_; }

  /// The innermost element that is open.
  std::optional<OpenElement> open() const {
    if (builder_.depth() == 0) return std::nullopt;
    // No start tag holds another "<".
    const std::size_t begin = parsed_.source.view().rfind('<', builder_.contentBegin() - 1);
    return OpenElement{parsed_.tags.text(builder_.innermost()), begin};
  }

  /// Why and where the handlers stopped the parser; empty when they did not.
  const std::optional<Fault>& fault() const noexcept { return fault_; }

 private:
  static ExpatHandlers& of(void* userData) { return *static_cast<ExpatHandlers*>(userData); }

  static void XMLCALL onStart(void* userData, const XML_Char* name, const XML_Char** /*attributes*/) {
    of(userData).start(name);
  }
  static void XMLCALL onEnd(void* userData, const XML_Char* /*name*/) { of(userData).end(); }

  static void XMLCALL onRoot(void* userData, const XML_Char* /*name*/, const XML_Char** /*attributes*/) {
    XML_StopParser(of(userData).parser_, XML_FALSE);
  }
  static void XMLCALL onDocumentTypeEnd(void* userData) {
    ExpatHandlers& handlers = of(userData);
    handlers.documentTypeEnd_ = static_cast<std::size_t>(XML_GetCurrentByteIndex(handlers.parser_)) +
                                static_cast<std::size_t>(XML_GetCurrentByteCount(handlers.parser_));
    XML_StopParser(handlers.parser_, XML_FALSE);
  }

  static void XMLCALL onEntityDeclaration(void* userData, const XML_Char* name, int isParameter,
                                          const XML_Char* value, int length, const XML_Char* /*base*/,
                                          const XML_Char* /*systemId*/, const XML_Char* /*publicId*/,
                                          const XML_Char* /*notation*/) {
    if (isParameter != 0 || value == nullptr) return;
    of(userData).declareEntity(name, {value, static_cast<std::size_t>(length)});
  }

  static void XMLCALL onAttributeDeclaration(void* userData, const XML_Char* /*element*/,
                                             const XML_Char* /*attribute*/, const XML_Char* /*type*/,
                                             const XML_Char* /*value*/, int /*isRequired*/) {
    ExpatHandlers& handlers = of(userData);
    if (++handlers.declaredAttributes_ > kMostDeclaredAttributes)
      handlers.refuse("more than " + std::to_string(kMostDeclaredAttributes) + " attributes are declared");
  }

  static void XMLCALL onSkippedEntity(void* userData, const XML_Char* name, int isParameter) {
    if (isParameter != 0) return;  // a part of the DOCTYPE that lies elsewhere and is not read
    of(userData).refuse("the entity \"" + std::string(name) + "\" is not declared in this file");
  }

  static int XMLCALL onExternalEntity(XML_Parser parser, const XML_Char* /*context*/,
                                      const XML_Char* /*base*/, const XML_Char* /*systemId*/,
                                      const XML_Char* /*publicId*/) {
    of(XML_GetUserData(parser)).refuse("external entities are not read");
    return XML_STATUS_ERROR;
  }

  void start(const XML_Char* name) {
    if (builder_.depth() == kDeepestLevel)
      refuse("elements are nested deeper than " + std::to_string(kDeepestLevel) + " levels");
    const auto begin = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_));
    const auto length = static_cast<std::size_t>(XML_GetCurrentByteCount(parser_));
    // The name is interned as it stands in the source: the parser's copy does not last.
    const BasicStringRef tag = parsed_.source.view().substr(begin + 1, std::strlen(name));
    builder_.start(begin, begin + length, parsed_.tags.intern(tag));
  }

  void end() { builder_.end(static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_))); }

  void declareEntity(BasicStringRef name, BasicStringRef value) {
    if (findBuiltInEntity(name) != nullptr) return;
    if (value.find_first_of("<&") != BasicStringRef::npos) {
      refuse("the entity \"" + std::string(name) + "\" holds markup or references, which is not supported");
      return;
    }
    parsed_.entities.emplace(name, value);  // the first declaration binds
  }

  void refuse(std::string what) {
    if (!fault_) fault_ = faultAt(parser_, parsed_.source.view(), std::move(what));
    XML_StopParser(parser_, XML_FALSE);
  }

  XML_Parser parser_;
  Tree::Parsed& parsed_;
  TreeBuilder builder_;
  std::optional<Fault> fault_;
  std::size_t documentTypeEnd_ = 0;
  int declaredAttributes_ = 0;
};

struct ParserDeleter {
  void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};
using ParserPointer = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

/// A parser for text in UTF-8, whatever encoding that declares; null when there is not enough memory.
ParserPointer makeParser() {
  ParserPointer parser(XML_ParserCreate("UTF-8"));
  if (parser) XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser.get(), kMostAmplification);
  return parser;
}

XML_Status run(XML_Parser parser, BasicStringRef text, bool isLast = true) {
  return XML_Parse(parser, text.data(), static_cast<int>(text.size()), isLast ? XML_TRUE : XML_FALSE);
}

/// Notes the entities that a document declares; where its document type ends. 0 when it has none that can be
/// read.
std::size_t readDocumentType(Tree::Parsed& parsed) {
  const ParserPointer parser = makeParser();
  if (!parser) return 0;
  ExpatHandlers handlers(parser.get(), parsed);
  handlers.stopBehindDocumentType();
  // The parser copies what it is given, and begins anew at what a piece has left unfinished.
  std::size_t size = std::size_t{1} << 14U;
  BasicStringRef rest = parsed.source.view();
  while (!rest.empty() && run(parser.get(), rest.substr(0, size), false) == XML_STATUS_OK) {
    rest.remove_prefix(std::min(rest.size(), size));
    size *= 2;
  }
  return handlers.fault() ? 0 : handlers.documentTypeEnd();
}

std::optional<SyntaxErrorKind> errorKindOf(XML_Error code) {
  switch (code) {
    case XML_ERROR_INVALID_TOKEN:
    case XML_ERROR_PARTIAL_CHAR:
    case XML_ERROR_SYNTAX:
      return SyntaxErrorKind::token;
    case XML_ERROR_TAG_MISMATCH:
      return SyntaxErrorKind::mismatchedTag;
    case XML_ERROR_NO_ELEMENTS:
      return SyntaxErrorKind::missingEnd;
    case XML_ERROR_UNCLOSED_TOKEN:
    case XML_ERROR_UNCLOSED_CDATA_SECTION:
      return SyntaxErrorKind::unclosedToken;
    case XML_ERROR_JUNK_AFTER_DOC_ELEMENT:
      return SyntaxErrorKind::secondRoot;
    case XML_ERROR_UNDEFINED_ENTITY:
      return SyntaxErrorKind::entity;
    case XML_ERROR_DUPLICATE_ATTRIBUTE:
      return SyntaxErrorKind::attribute;
    case XML_ERROR_BAD_CHAR_REF:
      return SyntaxErrorKind::character;
    case XML_ERROR_MISPLACED_XML_PI:
      return SyntaxErrorKind::lateDeclaration;
    default:
      return std::nullopt;
  }
}

/// The fault that the parser itself has found.
Fault faultOf(XML_Parser parser, BasicStringRef source, const std::optional<OpenElement>& open) {
  const XML_Error code = XML_GetErrorCode(parser);
  Fault fault = faultAt(parser, source, XML_ErrorString(code));
  const std::optional<SyntaxErrorKind> kind = errorKindOf(code);
  const auto position = static_cast<std::size_t>(std::max(XML_GetCurrentByteIndex(parser), XML_Index{0}));
  const std::string hint = kind ? hintFor(*kind, source, position, open) : std::string();
  if (!hint.empty()) fault.what += " (" + hint + ')';
  return fault;
}

}  // namespace

Result<Tree> parse(files::ByteBuffer source) {
  if (source.size() > kLargestSource) {
    return Fault{FaultKind::malformed,
                 "the file is larger than " + std::to_string(kLargestSource >> 20U) + " MiB", "divide it"};
  }
  Tree::Parsed parsed;
  parsed.source = std::move(source);
  if (parseQuickly(parsed)) return Tree(std::move(parsed));
  source = std::move(parsed.source);
  parsed = {};  // what it holds is not to lie beside what the other parser makes
  return parseAny(std::move(source));
}

bool parseQuickly(Tree::Parsed& parsed) {
  if (parsePlain(parsed, kDeepestLevel)) return true;
  const std::size_t begin = readDocumentType(parsed);
  return begin != 0 && parsePlain(parsed, kDeepestLevel, begin);
}

Result<Tree> parseAny(files::ByteBuffer source) {
  const ParserPointer parser = makeParser();
  if (!parser)
    return Fault{FaultKind::system, "there is not enough memory to read it", "close some programs"};
  Tree::Parsed parsed;
  parsed.source = std::move(source);
  const BasicStringRef text = parsed.source.view();
  ExpatHandlers handlers(parser.get(), parsed);
  if (run(parser.get(), text) != XML_STATUS_OK) {
    if (handlers.fault()) return *handlers.fault();
    return faultOf(parser.get(), text, handlers.open());
  }
  handlers.finish();
  return Tree(std::move(parsed));
}

bool isElementName(BasicStringRef tag) {
  if (tag.empty() || !std::all_of(tag.begin(), tag.end(), isPerhapsNamePart)) return false;
  // Which other characters a name may begin with or hold is the parser's knowledge.
  const std::string document = '<' + std::string(tag) + "/>";
  const ParserPointer parser = makeParser();
  const bool isWellFormed = parser && run(parser.get(), document) == XML_STATUS_OK;
  if (!parser || XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return isWellFormed;
}

}  // namespace Tal::xml
