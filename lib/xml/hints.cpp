#include <core/display_text.h>
#include <xml/characters.h>
#include <xml/hints.h>
#include <xml/text.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace Tal::xml {
namespace {

bool isMarker(BasicStringRef line) noexcept {
  return line.starts_with("<<<<<<<") || line.starts_with("=======") || line.starts_with(">>>>>>>");
}

std::size_t lineBegin(BasicStringRef source, std::size_t position) noexcept {
  const auto before = position == 0 ? BasicStringRef::npos : source.rfind('\n', position - 1);
  return before == BasicStringRef::npos ? 0 : before + 1;
}

std::string lineNumber(BasicStringRef source, std::size_t position) {
  return std::to_string(
      std::count(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(position), '\n') + 1);
}

/// A version-control tool leaves such lines in a file that it could not merge. Where the first one stands; a
/// row of equals signs alone may be somebody's ornament.
std::size_t firstMarker(BasicStringRef source) noexcept {
  for (std::size_t begin = 0; begin < source.size();) {
    const BasicStringRef rest = source.substr(begin);
    if (rest.starts_with("<<<<<<< ") || rest.starts_with(">>>>>>> ")) return begin;
    const auto end = rest.find('\n');
    if (end == BasicStringRef::npos) break;
    begin += end + 1;
  }
  return BasicStringRef::npos;
}

std::string mergeHint(BasicStringRef source, std::size_t position) {
  const std::string advice = ": finish the merge there";
  if (isMarker(source.substr(lineBegin(source, position))))
    return "a merge-conflict marker stands here" + advice;
  const std::size_t marker = firstMarker(source);
  if (marker == BasicStringRef::npos) return {};
  return "a merge-conflict marker stands in line " + lineNumber(source, marker) + advice;
}

std::string startTag(const OpenElement& element) {
  return quotedName("<" + std::string(element.tag) + ">");
}

std::string inLine(BasicStringRef source, const OpenElement& element) {
  return startTag(element) + " of line " + lineNumber(source, element.begin);
}

std::string byteName(char c) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "0x%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
  return text.data();
}

/// About a byte that is part of no character that XML can hold.
std::string byteHint(BasicStringRef rest) {
  BasicStringRef after = rest;
  if (rest.empty() || takeCharacter(after) != 0) return {};
  const char byte = rest.front();
  if (byte == '\0') return "a zero byte: the file is damaged, or no text";
  if (static_cast<unsigned char>(byte) < 0x80)
    return "the control character " + byteName(byte) + " cannot stand in XML: take it out";
  return "the byte " + byteName(byte) +
         " is not valid UTF-8: store the file as UTF-8, or name its encoding in the first line";
}

/// Whether a reference begins in front of the position: an ampersand, and behind it nothing but a name.
bool isBehindAmpersand(BasicStringRef before) noexcept {
  const auto isNamePart = [](char c) { return isPerhapsNamePart(c) || c == '#'; };
  while (!before.empty() && isNamePart(before.back())) before.remove_suffix(1);
  return before.ends_with('&');
}

/// About the token in front of which, or within which, the parser stopped.
std::string tokenHint(BasicStringRef source, std::size_t position) {
  const BasicStringRef before = source.substr(0, position);
  const BasicStringRef rest = source.substr(position);
  if (std::string hint = byteHint(rest); !hint.empty()) return hint;
  if (isBehindAmpersand(before)) return R"(write "&amp;" for "&")";
  if (before.ends_with("--")) return "two hyphens cannot stand within a comment";
  if (before.ends_with("]]") && rest.starts_with('>')) return R"(write "]]&gt;" for "]]>")";
  if (before.substr(0, before.size() - trailingSpace(before).size()).ends_with('='))
    return "put the attribute's value in quotes";
  if (before.ends_with('<') && rest.starts_with('/')) return "this end tag ends nothing: take it out";
  if (before.ends_with("</") || rest.starts_with("/>") || rest.starts_with('>')) return {};
  if (before.ends_with('<')) return R"(write "&lt;" for "<")";
  if (rest.starts_with('<')) return R"(close the quote in front of it, or write "&lt;" for "<")";
  return {};
}

std::string endHint(BasicStringRef source, const std::optional<OpenElement>& open) {
  if (open) return inLine(source, *open) + " has no end tag; perhaps the file was cut off";
  return trimmed(source).empty() ? "the file is empty" : "there is no root element";
}

std::string unclosedHint(BasicStringRef rest) {
  const bool isComment = rest.starts_with("<!--");
  const bool isReference = rest.starts_with('&');
  return std::string(isComment     ? "a comment"
                     : isReference ? "a reference"
                                   : "what begins here") +
         " has no end; perhaps the file was cut off";
}

std::string rootHint(BasicStringRef rest) {
  return rest.starts_with('<') ? "a file has one root: put this element into it"
                               : "nothing may stand behind the root: take it out, or put it into the root";
}

std::string mismatchHint(BasicStringRef source, const std::optional<OpenElement>& open) {
  if (!open) return {};
  return "the innermost open element is " + inLine(source, *open) + ": write " +
         quotedName("</" + std::string(open->tag) + ">") + " first";
}

}  // namespace

std::string hintFor(SyntaxErrorKind kind, BasicStringRef source, std::size_t position,
                    const std::optional<OpenElement>& open) {
  position = std::min(position, source.size());
  if (std::string hint = mergeHint(source, position); !hint.empty()) return hint;
  const BasicStringRef rest = source.substr(position);
  switch (kind) {
    case SyntaxErrorKind::token:
      return tokenHint(source, position);
    case SyntaxErrorKind::mismatchedTag:
      return mismatchHint(source, open);
    case SyntaxErrorKind::missingEnd:
      return endHint(source, open);
    case SyntaxErrorKind::unclosedToken:
      return unclosedHint(rest);
    case SyntaxErrorKind::secondRoot:
      return rootHint(rest);
    case SyntaxErrorKind::entity:
      return R"(write "&amp;" for "&", or declare the entity)";
    case SyntaxErrorKind::attribute:
      return "an element has each attribute once: take one out";
    case SyntaxErrorKind::character:
      return "XML cannot hold this character: take it out";
    case SyntaxErrorKind::lateDeclaration:
      return "the declaration \"<?xml\" stands at the very beginning of a file or nowhere: take out what is "
             "in front of it";
  }
  return {};
}

}  // namespace Tal::xml
