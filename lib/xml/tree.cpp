#include <xml/tree.h>

#include <cstring>
#include <utility>

namespace Tal::xml {
namespace {

/// Documents are mostly read from front to back. A large one fits no cache, and without this every value
/// would wait for the memory.
void fetchAhead(BasicStringRef source, std::size_t position) noexcept {
  constexpr std::size_t kDistance = 1024;
  if (position + kDistance < source.size()) __builtin_prefetch(source.data() + position + kDistance);
}

}  // namespace

Tree::Tree(Parsed parsed)
    : parsed_(std::move(parsed)), root_(static_cast<NodeIndex>(parsed_.nodes.size() - 1)) {}

std::uint32_t Tree::childCount(NodeIndex node) const {
  const Node& element = parsed_.nodes[node];
  if (element.hasContent != 0) return static_cast<std::uint32_t>(contentOf(node).children.size());
  return element.childCount;
}

NodeIndex Tree::child(NodeIndex node, std::uint32_t place) const {
  const Node& element = parsed_.nodes[node];
  if (element.hasContent != 0) return contentOf(node).children[place].node;
  return element.firstChild + place;
}

std::optional<std::uint32_t> Tree::placeOf(NodeIndex node, NodeIndex child) const {
  // Children stand in the order of their numbers: parsed ones are neighbours, and later ones are appended.
  std::uint32_t first = 0;
  for (std::uint32_t count = childCount(node); count > 0;) {
    const std::uint32_t half = count / 2;
    if (this->child(node, first + half) < child) {
      first += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  const bool isFound = first < childCount(node) && this->child(node, first) == child;
  return isFound ? std::optional(first) : std::nullopt;
}

NodeIndex Tree::findChild(NodeIndex node, BasicStringRef tag) const {
  const TagId wanted = parsed_.tags.find(tag);
  if (wanted == kNoTag) return kNoNode;
  const Node& element = parsed_.nodes[node];
  if (element.hasContent != 0) {
    const GapVector<Child>& children = contentOf(node).children;
    for (std::size_t i = 0; i < children.size(); ++i)
      if (parsed_.nodes[children[i].node].tag == wanted) return children[i].node;
    return kNoNode;
  }
  const NodeIndex end = element.firstChild + element.childCount;
  for (NodeIndex i = element.firstChild; i < end; ++i)
    if (parsed_.nodes[i].tag == wanted) return i;
  return kNoNode;
}

bool Tree::isUnwritten(NodeIndex node) const {
  if (!isAdded(parsed_.nodes[node])) return false;
  const Content& content = contentOf(node);
  return !content.isSaved && content.children.empty() && content.tail.empty();
}

std::vector<BasicStringRef> Tree::gapsOf(NodeIndex node) const {
  const Node& element = parsed_.nodes[node];
  std::vector<BasicStringRef> gaps;
  gaps.reserve(childCount(node) + 1);
  if (element.hasContent != 0) {
    const Content& content = contentOf(node);
    for (std::size_t i = 0; i < content.children.size(); ++i) gaps.push_back(content.children[i].before);
    gaps.push_back(content.tail);
    return gaps;
  }
  std::size_t position = element.contentBegin;
  for (NodeIndex i = 0; i < element.childCount; ++i) {
    const Node& inner = parsed_.nodes[element.firstChild + i];
    gaps.push_back(sourceText(position, inner.begin));
    position = endOf(inner);
  }
  gaps.push_back(sourceText(position, element.contentEnd));
  return gaps;
}

BasicStringRef Tree::text(NodeIndex node, std::string& scratch) const {
  const Node& element = parsed_.nodes[node];
  fetchAhead(parsed_.source.view(), element.contentEnd);
  if (element.hasContent == 0 && element.childCount == 0) {
    const BasicStringRef raw = sourceText(element.contentBegin, element.contentEnd);
    if (element.isVerbatim != 0 || isPlain(raw)) return trimmed(raw);
  }
  scratch.clear();
  for (const BasicStringRef gap : gapsOf(node)) decode(gap, parsed_.entities, scratch);
  return trimmed(scratch);
}

std::string Tree::attribute(NodeIndex node, BasicStringRef name) const {
  const Node& element = parsed_.nodes[node];
  if (isAdded(element)) return {};
  // Well-formed: names, each with "=" and a value in quotes, between white space.
  BasicStringRef rest = sourceText(element.begin, element.contentBegin);
  rest.remove_prefix(1 + tag(node).size());
  for (auto sign = rest.find('='); sign != BasicStringRef::npos; sign = rest.find('=')) {
    const BasicStringRef found = trimmed(rest.substr(0, sign));
    rest = trimmed(rest.substr(sign + 1));
    const BasicStringRef value = rest.substr(1, rest.find(rest.front(), 1) - 1);
    rest.remove_prefix(value.size() + 2);
    if (found != name) continue;
    std::string text;
    decode(value, parsed_.entities, text);
    return text;
  }
  return {};
}

std::size_t Tree::endOf(const Node& node) const {
  return isEmptyTag(node) ? node.contentBegin : parsed_.source.view().find('>', node.contentEnd) + 1;
}

}  // namespace Tal::xml
