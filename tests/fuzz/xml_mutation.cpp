#include <fuzz/xml_mutation.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <string_view>

namespace fuzz {
namespace {

constexpr std::string_view kPieces[] = {"<a/>",
                                        "<a></a>",
                                        "<entry>\n\t\t<filename>content/a.model</filename>\n\t</entry>",
                                        "<!-- note -->",
                                        "<?pi here?>",
                                        "<![CDATA[<x>]]>",
                                        "&amp;",
                                        "&#65;",
                                        "&#xD;",
                                        "\n\t",
                                        "\r\n    ",
                                        " ",
                                        "text",
                                        "<b c='1' d=\"&lt;\"> x </b >",
                                        "<b\n/>",
                                        "<trees/>",
                                        "<fragiles></fragiles>",
                                        "<fallingAtoms></fallingAtoms>",
                                        "<structures></structures>",
                                        "<modules><module><matName>n_wall_0</matName></module></modules>",
                                        "<states><state><name>s</name></state></states>",
                                        "\xD0\xB0",
                                        "\xF0\x9F\x98\x80"};
constexpr std::string_view kTexts[] = {"",     "0",     "-1",   "1.000000", "2147483648", " x ",
                                       "none", "a b",   "1e39", "nan",      "0x10",       "007",
                                       "\t",   "1 2 3", "&lt;", "a\r\nb",   "]] >",       "<!-- c -->y"};

/// Changes the text of a document by what stands out in it: the places where tags begin and end.
class Mutation {
 public:
  Mutation(std::string text, unsigned seed) : text_(std::move(text)), random_(seed) {}

  std::string run() {
    switch (below(6)) {
      case 0:
        text_.insert(anyBorder(), kPieces[below(std::size(kPieces))]);
        break;
      case 1:
        replaceText();
        break;
      case 2: {
        const auto [begin, end] = anyElement();
        text_.erase(begin, end - begin);
        break;
      }
      case 3: {
        const auto [begin, end] = anyElement();
        text_.insert(anyBorder(), std::string(text_, begin, end - begin));
        break;
      }
      case 4: {
        const auto [begin, end] = anyElement();
        text_.insert(end, "</c>");
        text_.insert(begin, "<c>");
        break;
      }
      default:
        rename();
    }
    return std::move(text_);
  }

 private:
  std::size_t below(std::size_t end) { return random_() % end; }

  /// The place in front of some '<' or behind some '>'.
  std::size_t anyBorder() {
    std::size_t place = text_.find_first_of("<>", below(text_.size() + 1));
    if (place == std::string::npos) place = text_.find('<');
    if (place == std::string::npos) return 0;
    return text_[place] == '>' ? place + 1 : place;
  }

  std::size_t anyStartTag() {
    std::size_t place = below(text_.size() + 1);
    for (int i = 0; i < 8; ++i) {
      place = text_.find('<', place);
      if (place == std::string::npos) place = 0;
      if (place + 1 < text_.size() && std::strchr("/!?", text_[place + 1]) == nullptr) break;
      ++place;
    }
    return place;
  }

  /// From a start tag to the end tag that closes it.
  std::pair<std::size_t, std::size_t> anyElement() {
    const std::size_t begin = anyStartTag();
    int depth = 0;
    for (std::size_t place = begin; place < text_.size();) {
      const std::size_t open = text_.find('<', place);
      const std::size_t close = text_.find('>', open);
      if (open == std::string::npos || close == std::string::npos) break;
      place = close + 1;
      if (text_[open + 1] == '!' || text_[open + 1] == '?') continue;
      if (text_[open + 1] == '/') {
        --depth;
      } else if (text_[close - 1] != '/') {
        ++depth;
      }
      if (depth <= 0) return {begin, place};
    }
    return {begin, begin};
  }

  void replaceText() {
    const std::size_t open = text_.find('>', below(text_.size() + 1));
    if (open == std::string::npos) return;
    const std::size_t close = std::min(text_.find('<', open), text_.size());
    text_.replace(open + 1, close - open - 1, kTexts[below(std::size(kTexts))]);
  }

  /// Gives an element the tag of another.
  void rename() {
    const auto nameAt = [this](std::size_t begin) {
      const std::size_t end = std::min(text_.find_first_of(" />\t\r\n", begin), text_.size());
      return text_.substr(begin, end - begin);
    };
    const std::string name = nameAt(std::min(anyStartTag() + 1, text_.size()));
    const auto [begin, end] = anyElement();
    if (end == begin) return;
    const std::string old = nameAt(begin + 1);
    const std::size_t endTag = text_.rfind("</" + old, end);
    if (endTag != std::string::npos && endTag > begin) text_.replace(endTag + 2, old.size(), name);
    text_.replace(begin + 1, old.size(), name);
  }

  std::string text_;
  std::minstd_rand random_;
};

std::string widened(std::string_view text, bool isLittle) {
  std::string wide;
  for (const char c : text) {
    if (!isLittle) wide += '\0';
    wide += c;
    if (isLittle) wide += '\0';
  }
  return wide;
}

}  // namespace

std::string storedXml(const Input& input) {
  for (const Input::Part& part : input.parts) {
    if (part.name == "utf-16le") return "\xFF\xFE" + widened(input.document, true);
    if (part.name == "utf-16be") return "\xFE\xFF" + widened(input.document, false);
  }
  return std::string(input.document);
}

std::size_t mutateXml(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string_view document = Input(text).document;
  if (seed % 4 < 2 || document.empty()) return mutateBytes(data, size, maxSize, seed % 4 == 0);
  std::string changed = Mutation(std::string(document), seed / 4).run();
  changed += text.substr(document.size());
  if (changed.size() > maxSize) return mutateBytes(data, size, maxSize, false);
  std::copy(changed.begin(), changed.end(), data);
  return changed.size();
}

}  // namespace fuzz
