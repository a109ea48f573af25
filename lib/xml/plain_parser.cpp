#include <core/ascii_case.h>
#include <xml/characters.h>
#include <xml/plain_parser.h>
#include <xml/syntax_fault.h>
#include <xml/text.h>
#include <xml/tree_builder.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace Tal::xml {
namespace {

/// More attributes than this are left to the other parser, since they are compared one with another.
constexpr std::size_t kMostAttributes = 16;

constexpr std::size_t kLargestExpansion = std::size_t{1} << 20U;

enum CharacterClass : std::uint8_t {
  kNameStart = 1,
  kName = 2,
  kSpace = 4,
  kText = 8,  ///< ASCII that stands for itself in text, "]" excepted
  kReturn = 16,
};

constexpr std::array<std::uint8_t, 256> makeClasses() {
  std::array<std::uint8_t, 256> classes{};
  for (unsigned c = 0; c < classes.size(); ++c) {
    const bool isStart = isAsciiNameStart(static_cast<char>(c));
    const bool isPart = isAsciiNamePart(static_cast<char>(c));
    const bool isBlank = isSpace(static_cast<char>(c));
    const bool isText = (c >= 0x20 && c < 0x80 && c != '<' && c != '&' && c != ']') || (isBlank && c != '\r');
    classes[c] =
        static_cast<std::uint8_t>((isStart ? kNameStart : 0) | (isPart ? kName : 0) | (isBlank ? kSpace : 0) |
                                  (isText ? kText : 0) | (c == '\r' ? kReturn : 0));
  }
  return classes;
}

constexpr std::array<std::uint8_t, 256> kClasses = makeClasses();

bool isOf(char c, unsigned classes) noexcept {
  return (kClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

class PlainParser {
 public:
  PlainParser(Tree::Parsed& parsed, std::size_t deepest, std::size_t begin)
      : text_(parsed.source.view()),
        tags_(parsed.tags),
        entities_(parsed.entities),
        builder_(parsed),
        deepest_(deepest),
        at_(begin) {}

  bool run() {
    if (at_ == 0 && !skipDeclaration()) return false;
    if (!skipMisc() || !element()) return false;
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
    const char* at = text_.data() + at_;  // the 0 behind the text is of no class
    while (isOf(*at, classes)) ++at;
    at_ = static_cast<std::size_t>(at - text_.data());
  }

  bool skipSpace() noexcept {
    const std::size_t begin = at_;
    skip(kSpace);
    return at_ != begin;
  }

  bool skipDeclaration() noexcept {
    take(kByteOrderMark);
    constexpr BasicStringRef kBegin = "<?xml";
    if (!isAt(kBegin)) return true;
    const BasicStringRef rest = text_.substr(at_ + kBegin.size());
    if (!rest.empty() && isOf(rest.front(), kName)) return true;  // an instruction of a longer name
    at_ += kBegin.size();
    BasicStringRef value;
    if (!setting("version", value) || value != "1.0") return false;
    if (setting("encoding", value) && !isEncodingName(value)) return false;
    if (setting("standalone", value) && value != "yes" && value != "no") return false;
    skipSpace();
    return take("?>");
  }

  /// One of the settings of a declaration, when it is the next; else nothing is gone past.
  bool setting(BasicStringRef key, BasicStringRef& value) noexcept {
    const std::size_t begin = at_;
    if (skipSpace() && take(key)) {
      skipSpace();
      const bool isSet = take('=');
      skipSpace();
      const char quote = at_ < text_.size() ? text_[at_] : '\0';
      const std::size_t end = text_.find(quote, at_ + 1);
      if (isSet && (quote == '"' || quote == '\'') && end != BasicStringRef::npos) {
        value = text_.substr(at_ + 1, end - at_ - 1);
        at_ = end + 1;
        return true;
      }
    }
    at_ = begin;
    return false;
  }

  static bool isEncodingName(BasicStringRef name) noexcept {
    const auto isHeld = [](char c) { return isOf(c, kName) && c != ':'; };
    return !name.empty() && isOf(name[0], kNameStart) && name[0] != '_' &&
           std::all_of(name.begin(), name.end(), isHeld);
  }

  /// Comments, instructions and white space outside of the root.
  bool skipMisc() noexcept {
    for (skipSpace(); isAt("<!--") || isAt("<?"); skipSpace())
      if (!(isAt("<?") ? instruction() : comment())) return false;
    return true;
  }

  bool comment() noexcept {
    at_ += 4;
    return charactersTo("--") && take('>');
  }

  bool instruction() noexcept {
    at_ += 2;
    const BasicStringRef target = name();
    if (target.empty() || (target.size() == 3 && lowerAscii(target) == "xml")) return false;
    return take("?>") || (skipSpace() && charactersTo("?>"));
  }

  bool characterData() noexcept {
    at_ += kCdataBegin.size();
    return charactersTo(kCdataEnd);
  }

  /// Goes on past the next `what`, behind characters that XML can hold.
  bool charactersTo(BasicStringRef what) noexcept {
    const std::size_t end = text_.find(what, at_);
    if (end == BasicStringRef::npos) return false;
    while (at_ < end) {
      skip(kText | kReturn);
      if (at_ < end && !character()) return false;
    }
    at_ = end + what.size();  // perhaps back, to where text has been looked at already
    return true;
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
    const TagId id = openingName();
    if (id == kNoTag || builder_.depth() == deepest_ || !attributes()) return false;
    const bool isEmpty = take('/');
    if (!take('>')) return false;
    if (!isEmpty && builder_.depth() != 0 && leaf(begin, tags_.text(id), id)) return true;
    builder_.start(begin, at_, id);
    if (isEmpty) builder_.end(at_);
    return true;
  }

  /// Goes on past "<" and the name of an element; kNoTag when that does not stand here. Entries are made of
  /// the same elements in the same order, so the name is mostly the one that followed the last one before.
  TagId openingName() {
    TagId& usual = following_[lastTag_];
    if (usual != kNoTag && takeOpening(tags_.text(usual))) return lastTag_ = usual;
    if (!take('<')) return kNoTag;
    const BasicStringRef tag = name();
    if (tag.empty()) return kNoTag;
    lastTag_ = usual = tags_.intern(tag);
    if (lastTag_ >= following_.size()) following_.resize(lastTag_ + 1, kNoTag);
    return lastTag_;
  }

  /// Goes on past "<" and a name if it is this one.
  bool takeOpening(BasicStringRef tag) noexcept {
    const std::size_t end = at_ + 1 + tag.size();
    const bool isHere = end < text_.size() && text_[at_] == '<' && !isOf(text_[end], kName) &&
                        text_.substr(at_ + 1, tag.size()) == tag;
    if (isHere) at_ = end;
    return isHere;
  }

  /// The content and the end tag of an element that holds nothing but text, which most do; what else there
  /// is, is left where it stands.
  bool leaf(std::size_t begin, BasicStringRef tag, TagId id) {
    const std::size_t contentBegin = at_;
    skip(kText);
    const std::size_t contentEnd = at_;
    const std::size_t tagEnd = contentEnd + 2 + tag.size();
    const bool isEnd = tagEnd < text_.size() && text_[contentEnd] == '<' && text_[contentEnd + 1] == '/' &&
                       text_[tagEnd] == '>' && text_.substr(contentEnd + 2, tag.size()) == tag;
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
    const bool isVerbatim = textBegin == builder_.contentBegin() &&
                            text_.substr(textBegin, begin - textBegin).find('\r') == BasicStringRef::npos;
    builder_.end(begin, isVerbatim);
    return true;
  }

  /// Text up to the next tag, and that tag.
  bool content() {
    const std::size_t begin = at_;
    skip(kText | kReturn);
    if (at_ + 1 >= text_.size()) return false;
    const char c = text_[at_];
    if (c == '&') return reference();
    if (c == ']') return !isAt("]]>") && character();
    if (c != '<') return character();
    const char next = text_[at_ + 1];
    if (next == '/') return endTag(begin);
    if (next == '?') return instruction();
    if (next == '!') return isAt("<!--") ? comment() : isAt(kCdataBegin) && characterData();
    return element();
  }

  bool reference() noexcept {
    const auto isTaken = [this](const BuiltInEntity& one) { return take(one.reference); };
    if (!isAt("&#"))
      return std::any_of(kBuiltInEntities.begin(), kBuiltInEntities.end(), isTaken) || ownReference();
    at_ += 2;
    const bool isHex = take('x');
    const std::size_t begin = at_;
    std::uint32_t code = 0;
    // Six digits hold every character in hexadecimal, and nearly every one in decimal; what is written longer
    // is left to the other parser.
    while (at_ < text_.size() && at_ - begin < 6 && digitOf(text_[at_]) < (isHex ? 16U : 10U))
      code = code * (isHex ? 16U : 10U) + digitOf(text_[at_++]);
    return take(';') && isCharacter(code);
  }

  /// A reference to an entity that the document declares. More text than they may make is left to the other
  /// parser, which knows how much is too much.
  bool ownReference() noexcept {
    if (entities_.empty()) return false;
    ++at_;
    const BasicStringRef name = this->name();
    const auto found = entities_.find(name);
    if (found == entities_.end() || found->second.find("]]>") != std::string::npos) return false;
    expanded_ += found->second.size();
    return expanded_ <= kLargestExpansion && take(';');
  }

  static std::uint32_t digitOf(char c) noexcept {
    if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<std::uint32_t>(c - 'a') + 10;
    if (c >= 'A' && c <= 'F') return static_cast<std::uint32_t>(c - 'A') + 10;
    return 16;
  }

  BasicStringRef text_;
  TagTable& tags_;
  const Entities& entities_;
  TreeBuilder builder_;
  std::vector<TagId> following_ = {kNoTag};  ///< by tag: that of the element that began behind it last
  TagId lastTag_ = 0;
  std::size_t deepest_;
  std::size_t at_;
  std::size_t expanded_ = 0;  ///< how much text the references to the document's entities have made
};

}  // namespace

bool parsePlain(Tree::Parsed& parsed, std::size_t deepest, std::size_t begin) {
  return !parsed.source.view().empty() && PlainParser(parsed, deepest, begin).run();
}

}  // namespace Tal::xml
