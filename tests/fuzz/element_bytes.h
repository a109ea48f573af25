#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// Where the elements of a well-formed document stand in its bytes, found without the rooms' own parsing. The
/// text is UTF-8, and what its declaration says of that does not count.
class ElementBytes {
 public:
  /// Leads from the root to an element by places among the children.
  using Path = std::vector<std::size_t>;

  struct Element {
    std::size_t begin = 0;
    std::size_t contentBegin = 0;  ///< behind the start tag
    std::size_t contentEnd = 0;    ///< at the end tag; for <a/> the same as contentBegin
    std::size_t end = 0;
    std::vector<std::size_t> children;
  };

  explicit ElementBytes(std::string text);

  const std::string& text() const noexcept { return text_; }

  /// The element at a path; there must be one.
  const Element& at(const Path& path) const;
  const Element& child(const Element& element, std::size_t place) const {
    return elements_[element.children[place]];
  }

  std::string_view bytesOf(const Element& element) const { return between(element.begin, element.end); }
  std::string_view startTagOf(const Element& element) const {
    return between(element.begin, element.contentBegin);
  }
  std::string_view endTagOf(const Element& element) const { return between(element.contentEnd, element.end); }
  std::string_view before(const Element& element) const { return between(0, element.begin); }
  std::string_view behind(const Element& element) const { return between(element.end, text_.size()); }

  /// What stands between the tags that is no child's: in front of each child and behind the last.
  std::vector<std::string_view> gapsOf(const Element& element) const;

 private:
  struct Reception;

  std::string_view between(std::size_t begin, std::size_t end) const {
    return std::string_view(text_).substr(begin, end - begin);
  }

  std::string text_;
  std::vector<Element> elements_;
};

}  // namespace fuzz
