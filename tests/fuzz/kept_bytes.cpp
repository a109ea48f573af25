#include <fuzz/fuzz_support.h>
#include <fuzz/kept_bytes.h>
#include <xml/transcoding.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace fuzz {
namespace {

using Element = ElementBytes::Element;

bool isBlank(std::string_view text) {
  return text.find_first_not_of(kSpace) == std::string_view::npos;
}

/// A start tag without what tells whether the element is empty.
std::string_view openingOf(std::string_view tag) {
  tag.remove_suffix(tag.ends_with("/>") ? 2 : 1);
  return tag.substr(0, tag.find_last_not_of(kSpace) + 1);
}

/// The comments and instructions of a raw text.
std::string markupOf(std::string_view text) {
  static constexpr std::pair<std::string_view, std::string_view> kMarkup[] = {
      {"<!--", "-->"}, {"<?", "?>"}, {"<![CDATA[", "]]>"}};
  std::string markup;
  while (!text.empty()) {
    std::size_t length = 1;
    for (const auto& [open, close] : kMarkup) {
      if (!text.starts_with(open)) continue;
      length = text.find(close, open.size()) + close.size();
      if (open != "<![CDATA[") markup += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return markup;
}

/// White space in front of an element, from its last line end on.
std::string_view lineOf(std::string_view space) {
  const std::size_t end = space.rfind('\n');
  if (end == std::string_view::npos) return space;
  return space.substr(end > 0 && space[end - 1] == '\r' ? end - 1 : end);
}

std::string joined(const std::vector<std::string_view>& gaps) {
  std::string text;
  for (const std::string_view gap : gaps) text += gap;
  return text;
}

/// The element that was edited, before and after.
class Comparison {
 public:
  Comparison(const std::string& before, const std::string& after, const Edit& edit)
      : before_(textOf(before)),
        after_(textOf(after)),
        edit_(edit),
        old_(before_.at(edit.element)),
        new_(after_.at(edit.element)),
        oldGaps_(before_.gapsOf(old_)),
        newGaps_(after_.gapsOf(new_)) {}

  void requireOutsideKept() const {
    requireEqual(after_.before(new_), before_.before(old_), "what stands in front keeps its bytes");
    requireEqual(after_.behind(new_), before_.behind(old_), "what stands behind keeps its bytes");
    requireEqual(openingOf(after_.startTagOf(new_)), openingOf(before_.startTagOf(old_)),
                 "a start tag keeps its bytes");
    const std::string_view endTag = before_.endTagOf(old_);
    if (!endTag.empty() && !after_.endTagOf(new_).empty())
      requireEqual(after_.endTagOf(new_), endTag, "an end tag keeps its bytes");
  }

  void requireChildrenKept() const {
    std::size_t place = 0;
    for (std::size_t i = 0; i < old_.children.size(); ++i) {
      if (isRemoved(i)) continue;
      require(place < new_.children.size(), "a child that was not removed stays");
      requireEqual(after_.bytesOf(after_.child(new_, place)), before_.bytesOf(before_.child(old_, i)),
                   "a child keeps its bytes");
      const bool isGapWhole = !edit_.isTextSet && (i == 0 || !isRemoved(i - 1));
      if (isGapWhole) requireEqual(newGaps_[place], oldGaps_[i], "what stands between keeps its bytes");
      ++place;
    }
    require(place + edit_.added == new_.children.size(), "nothing is added but what was asked for");
  }

  void requireTextKept() const {
    if (!edit_.isTextSet) {
      requireEqual(withoutSpace(joined(newGaps_)), withoutSpace(joined(oldGaps_)),
                   "text and comments beside the children keep their bytes");
      return;
    }
    requireEqual(markupOf(joined(newGaps_)), markupOf(joined(oldGaps_)), "comments beside a text stay");
    for (std::size_t i = 1; i < oldGaps_.size(); ++i)
      if (isBlank(oldGaps_[i])) requireEqual(newGaps_[i], oldGaps_[i], "white space beside a text stays");
  }

  void requireLayoutOfNeighbour() const {
    const std::size_t count = old_.children.size();
    if (edit_.added == 0 || count == 0 || !isBlank(oldGaps_[count - 1])) return;
    const std::string_view lead = lineOf(oldGaps_[count - 1]);
    const std::string_view gap = newGaps_[new_.children.size() - 1];
    requireEqual(gap.substr(gap.size() - std::min(lead.size(), gap.size())), lead,
                 "a new child stands like the one in front");
  }

 private:
  bool isRemoved(std::size_t place) const { return place < edit_.removed.size() && edit_.removed[place]; }

  ElementBytes before_;
  ElementBytes after_;
  const Edit& edit_;
  const Element& old_;
  const Element& new_;
  std::vector<std::string_view> oldGaps_;
  std::vector<std::string_view> newGaps_;
};

}  // namespace

std::string textOf(const std::string& bytes) {
  const auto encoding = Tal::xml::detectEncoding(bytes);
  require(static_cast<bool>(encoding), "what is written has an encoding that can be read");
  const auto text = Tal::xml::toUtf8(Tal::files::ByteBuffer::copyOf(bytes), *encoding);
  require(static_cast<bool>(text), "what is written is valid in its encoding");
  return std::string(text->view());
}

void requireKept(const std::string& before, const std::string& after, const Edit& edit) {
  const Comparison comparison(before, after, edit);
  comparison.requireOutsideKept();
  comparison.requireChildrenKept();
  comparison.requireTextKept();
  comparison.requireLayoutOfNeighbour();
}

}  // namespace fuzz
