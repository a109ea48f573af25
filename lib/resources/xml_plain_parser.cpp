#include <resources/same_text.h>
#include <resources/xml_plain_parser.h>
#include <resources/xml_text.h>
#include <resources/xml_tree_builder.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace Tal::Xml {
namespace {

/// More attributes than this are left to the other parser, since they are compared one with another.
constexpr std::size_t kMostAttributes = 16;

enum CharacterClass : std::uint8_t {
  kNameStart = 1,
  kName = 2,
  kSpace = 4,
  kText = 8,  ///< ASCII that stands for itself in text, "]" and what a line end is made of excepted
};

constexpr std::array<std::uint8_t, 256> makeClasses() {
  std::array<std::uint8_t, 256> classes{};
  for (unsigned c = 0; c < classes.size(); ++c) {
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
    const bool isDigit = (c >= '0' && c <= '9') || c == '-' || c == '.';
    const bool isBlank = isSpace(static_cast<char>(c));
    const bool isText = (c >= 0x20 && c < 0x80 && c != '<' && c != '&' && c != ']') || (isBlank && c != '\r');
    classes[c] = static_cast<std::uint8_t>((isLetter ? kNameStart | kName : 0) | (isDigit ? kName : 0) |
                                           (isBlank ? kSpace : 0) | (isText ? kText : 0));
  }
  return classes;
}

constexpr std::array<std::uint8_t, 256> kClasses = makeClasses();

bool isOf(char c, unsigned classes) noexcept {
  return (kClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

class PlainParser {
 public:
  PlainParser(Tree::Parsed& parsed, std::size_t deepest)
      : text_(parsed.source.view()), tags_(parsed.tags), builder_(parsed), deepest_(deepest) {}

  bool run() {
    if (!skipDeclaration() || !skipMisc() || !element()) return false;
    while (builder_.depth() != 0)
      if (!content()) return false;
    builder_.finish();
    return skipMisc() && at_ == text_.size();
  }

 private:
  bool isAt(BasicStringRef what) const noexcept { return text_.compare(at_, what.size(), what) == 0; }

  /// Goes on past `what` if it stands here.
  bool take(BasicStringRef what) noexcept {
    const bool isHere = isAt(what);
    if (isHere) at_ += what.size();
    return isHere;
  }

  bool take(char c) noexcept {
    const bool isHere = at_ < text_.size() && text_[at_] == c;
    if (isHere) ++at_;
    return isHere;
  }

  /// Goes on to the first character that is of none of the classes.
  void skip(unsigned classes) noexcept {
    // The 0 behind the text is of no class.
    const char* at = text_.data() + at_;
    while (isOf(at[0], classes)) {
      if (!isOf(at[1], classes)) {
        at += 1;
        break;
      }
      if (!isOf(at[2], classes)) {
        at += 2;
        break;
      }
      if (!isOf(at[3], classes)) {
        at += 3;
        break;
      }
      at += 4;
    }
    at_ = static_cast<std::size_t>(at - text_.data());
  }

  bool skipSpace() noexcept {
    const std::size_t begin = at_;
    skip(kSpace);
    return at_ != begin;
  }

  bool skipDeclaration() noexcept {
    take("\xEF\xBB\xBF");
    if (!isAt("<?xml")) return true;
    const auto end = text_.find("?>", at_);
    if (end == BasicStringRef::npos) return false;
    static constexpr std::array<BasicStringRef, 6> kUsual = {R"(<?xml version="1.0")",
                                                             R"(<?xml version='1.0')",
                                                             R"(<?xml version="1.0" encoding="utf-8")",
                                                             R"(<?xml version="1.0" encoding="UTF-8")",
                                                             R"(<?xml version='1.0' encoding='utf-8')",
                                                             R"(<?xml version='1.0' encoding='UTF-8')"};
    BasicStringRef declaration = text_.substr(at_, end - at_);
    declaration.remove_suffix(trailingSpace(declaration).size());
    at_ = end + 2;
    return std::find(kUsual.begin(), kUsual.end(), declaration) != kUsual.end();
  }

  /// Comments and white space outside of the root.
  bool skipMisc() noexcept {
    for (skipSpace(); isAt("<!--"); skipSpace())
      if (!comment()) return false;
    return true;
  }

  bool comment() noexcept {
    at_ += 4;
    while (at_ < text_.size()) {
      if (isAt("--")) return take("-->");
      if (!character()) return false;
    }
    return false;
  }

  /// Any character that XML can hold.
  bool character() noexcept {
    const char c = text_[at_];
    if (isOf(c, kText | kSpace) || c == '<' || c == '&' || c == ']') {
      ++at_;
      return true;
    }
    BasicStringRef rest = text_.substr(at_);
    if (takeCharacter(rest) == 0) return false;
    at_ = text_.size() - rest.size();
    return true;
  }

  BasicStringRef name() noexcept {
    const std::size_t begin = at_;
    if (at_ < text_.size() && isOf(text_[at_], kNameStart)) skip(kName);
    return text_.substr(begin, at_ - begin);
  }

  /// A whole tag that begins here.
  bool element() {
    const std::size_t begin = at_;
    if (!take('<')) return false;
    const BasicStringRef tag = name();
    if (tag.empty() || builder_.depth() == deepest_ || !attributes()) return false;
    const bool isEmpty = take('/');
    if (!take('>')) return false;
    const TagId id = tags_.intern(tag);
    if (!isEmpty && builder_.depth() != 0 && leaf(begin, tag, id)) return true;
    builder_.start(begin, at_, id);
    if (isEmpty) builder_.end(at_);
    return true;
  }

  /// The content and the end tag of an element that holds nothing but text, which most do; what else there
  /// is, is left where it stands.
  bool leaf(std::size_t begin, BasicStringRef tag, TagId id) {
    const std::size_t contentBegin = at_;
    skip(kText);
    const std::size_t contentEnd = at_;
    const std::size_t tagEnd = contentEnd + 2 + tag.size();
    const bool isEnd = tagEnd < text_.size() && text_[contentEnd] == '<' && text_[contentEnd + 1] == '/' &&
                       text_[tagEnd] == '>' && isSameText(text_.substr(contentEnd + 2, tag.size()), tag);
    at_ = isEnd ? tagEnd + 1 : contentBegin;
    if (isEnd) builder_.leaf(begin, contentBegin, contentEnd, id);
    return isEnd;
  }

  bool attributes() {
    if (at_ < text_.size() && text_[at_] == '>') return true;
    std::array<BasicStringRef, kMostAttributes> names;
    std::size_t count = 0;
    while (skipSpace() && at_ < text_.size() && isOf(text_[at_], kNameStart)) {
      const BasicStringRef attribute = name();
      const bool isRepeated = std::find(names.begin(), names.end(), attribute) != names.end();
      if (count == kMostAttributes || isRepeated) return false;
      names[count++] = attribute;
      skipSpace();
      if (!take('=')) return false;
      skipSpace();
      if (!attributeValue()) return false;
    }
    return true;
  }

  bool attributeValue() noexcept {
    if (at_ == text_.size()) return false;
    const char quote = text_[at_];
    if (quote != '"' && quote != '\'') return false;
    for (++at_; at_ < text_.size() && text_[at_] != quote;)
      if (text_[at_] == '<' || text_[at_] == '&' || !character()) return false;
    return take(quote);
  }

  /// An end tag behind text that begins at `textBegin`.
  bool endTag(std::size_t textBegin) {
    const std::size_t begin = at_;
    at_ += 2;
    if (!take(tags_.text(builder_.innermost()))) return false;
    skipSpace();
    if (!take('>')) return false;
    builder_.end(begin, textBegin == builder_.contentBegin());
    return true;
  }

  /// Text up to the next tag, and that tag.
  bool content() {
    const std::size_t begin = at_;
    skip(kText);
    if (at_ + 1 >= text_.size()) return false;
    const char c = text_[at_];
    if (c == '&') return reference();
    if (c == ']') return !isAt("]]>") && character();
    if (c != '<') return character();
    const char next = text_[at_ + 1];
    if (next == '/') return endTag(begin);
    if (next == '!') return isAt("<!--") && comment();
    return element();
  }

  bool reference() noexcept {
    static constexpr std::array<BasicStringRef, 5> kBuiltIn = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"};
    if (!isAt("&#"))
      return std::any_of(kBuiltIn.begin(), kBuiltIn.end(), [this](BasicStringRef one) { return take(one); });
    at_ += 2;
    const bool isHex = take('x');
    const std::size_t begin = at_;
    std::uint32_t code = 0;
    // Six digits hold every character; what is written longer is left to the other parser.
    while (at_ < text_.size() && at_ - begin < 6 && digitOf(text_[at_]) < (isHex ? 16U : 10U))
      code = code * (isHex ? 16U : 10U) + digitOf(text_[at_++]);
    return take(';') && isHeld(code);
  }

  static std::uint32_t digitOf(char c) noexcept {
    if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<std::uint32_t>(c - 'a') + 10;
    if (c >= 'A' && c <= 'F') return static_cast<std::uint32_t>(c - 'A') + 10;
    return 16;
  }

  /// Whether a document may refer to that character.
  static bool isHeld(std::uint32_t code) noexcept {
    if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code <= 0x10FFFF && !isSurrogate && code != 0xFFFE && code != 0xFFFF;
  }

  BasicStringRef text_;
  TagTable& tags_;
  TreeBuilder builder_;
  std::size_t deepest_;
  std::size_t at_ = 0;
};

}  // namespace

bool parsePlain(Tree::Parsed& parsed, std::size_t deepest) {
  return !parsed.source.view().empty() && PlainParser(parsed, deepest).run();
}

}  // namespace Tal::Xml
