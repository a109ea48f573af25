#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

/// Random documents and damages of them, the same for the same seed.
class RandomDocuments {
 public:
  using Choices = std::vector<const char*>;

  explicit RandomDocuments(unsigned seed) : random_(seed) {}

  /// A number below `end`.
  std::size_t below(std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random_);
  }

  /// A well-formed document in one of many styles.
  std::string document() {
    static const Choices kHeads = {"",
                                   "",
                                   "\xEF\xBB\xBF",
                                   "<?xml version=\"1.0\"?>\n",
                                   "<?xml version='1.0' encoding='UTF-8' ?>\r\n<!-- head -->\n",
                                   "<?xml  version = \"1.0\" encoding='x-any' standalone='no'?><?pi?>\n",
                                   "<?xml-stylesheet href='a'?>\r<?pi of two words ?>",
                                   "\n\n",
                                   "<!DOCTYPE r [<!ENTITY own 'entity'>]>"};
    static const Choices kLineEnds = {"\n", "\r\n", "", " ", "\n\n"};
    static const Choices kUnits = {"\t", "  ", "", "    "};
    const char* const head = pick(kHeads);
    hasEntity_ = std::string(head).starts_with("<!DOCTYPE");
    lineEnd_ = pick(kLineEnds);
    unit_ = pick(kUnits);
    std::string text = head;
    element(text, 0);
    return text + (below(2) == 0 ? "" : "\n<!-- tail -->\r\n");
  }

  /// The text with a few bytes removed, doubled, exchanged or taken from elsewhere.
  std::string damaged(std::string text) {
    static const Choices kScraps = {
        "<",  ">",  "/",         "&",    ";",    "]]>",  "--",           "<!--", "-->",        "\"",
        "'",  "=",  "\0",        "\x01", "\xC3", "\x80", "\xEF\xBF\xBE", "&#0;", "&#x110000;", "&lt",
        "<?", "?>", "<![CDATA[", "</",   "/>",   " ",    "\r",           "<a>",  "</a>",       ":"};
    for (std::size_t i = below(2) + 1; i > 0 && !text.empty(); --i) {
      const std::size_t at = below(text.size());
      switch (below(4)) {
        case 0:
          text.erase(at, below(4) + 1);
          break;
        case 1:
          text.insert(at, pick(kScraps));
          break;
        case 2:
          text[at] = static_cast<char>(below(256));
          break;
        default:
          text.insert(at, text.substr(below(text.size()), below(20)));
          break;
      }
    }
    return text;
  }

  std::string name() {
    static const Choices kNames = {"a", "entry", "filename", "_x", "n-1.2", "ns:b", "health"};
    return pick(kNames);
  }

  std::string value() {
    static const Choices kValues = {"",    "1",      "wall roof ", "<&>]]>", "\xD0\xB0\xE2\x82\xAC",
                                    "  x", "a\r\nb", "none"};
    return pick(kValues);
  }

 private:
  const char* pick(const Choices& choices) { return choices[below(choices.size())]; }

  std::string text() {
    static const Choices kPlain = {"",         "1",      " padded ",     "a&amp;b&#65;", "]] ]>",
                                   "\xC3\xA9", "a\r\nb", "&#xE9;&apos;", "x<!-- c -->y"};
    static const Choices kOther = {"<![CDATA[<x>]]>", "<![CDATA[]]]>", "a\r\n<![CDATA[ \r ]]>", "<?pi here?>",
                                   "<?pi?>",          "<?p-i ?\?>",    "x<?pi \xC3\xA9\r\n?>y"};
    if (hasEntity_ && below(4) == 0) return "&own;";
    return below(10) == 0 ? pick(kOther) : pick(kPlain);
  }

  void element(std::string& out, std::size_t depth) {
    static const Choices kAttributes = {" a='1'", " b = \"x>y\"  c=''", " d='&lt;'"};
    const std::string tag = name();
    out += '<' + tag;
    if (below(10) == 0) out += pick(kAttributes);
    const std::size_t children = depth < 4 ? below(5) : 0;
    if (children == 0 && below(3) == 0) {
      out += below(2) == 0 ? "/>" : " />";
      return;
    }
    out += '>';
    if (children == 0) out += text();
    for (std::size_t i = 0; i < children; ++i) {
      lineBreak(out, depth + 1);
      if (below(8) == 0) {
        out += "<!-- note -->";
        lineBreak(out, depth + 1);
      }
      if (below(12) == 0) out += text();
      element(out, depth + 1);
    }
    if (children != 0) lineBreak(out, depth);
    out += "</" + tag + (below(8) == 0 ? " >" : ">");
  }

  void lineBreak(std::string& out, std::size_t depth) {
    out += lineEnd_;
    if (std::string(lineEnd_).find('\n') != std::string::npos)
      for (std::size_t i = 0; i < depth; ++i) out += unit_;
  }

  std::mt19937 random_;
  const char* lineEnd_ = "";
  const char* unit_ = "";
  bool hasEntity_ = false;
};
