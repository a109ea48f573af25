#include <xml/layout.h>
#include <xml/tree.h>

#include <algorithm>

namespace Tal::xml {
namespace {

constexpr BasicStringRef kDefaultIndent = "\t";

/// How many elements on each side are asked how they are laid out.
constexpr std::uint32_t kNeighbours = 16;

}  // namespace

BasicStringRef lineOf(BasicStringRef space) noexcept {
  const auto last = space.rfind('\n');
  if (last == BasicStringRef::npos) return space;
  const bool isPair = last > 0 && space[last - 1] == '\r';
  return space.substr(isPair ? last - 1 : last);
}

BasicStringRef lineEndOf(BasicStringRef line) noexcept {
  const auto end = line.find('\n');
  return line.substr(0, end == BasicStringRef::npos ? 0 : end + 1);
}

BasicStringRef indentOf(BasicStringRef line) noexcept {
  return line.substr(lineEndOf(line).size());
}

BasicStringRef Tree::leadOf(NodeIndex node) const {
  const NodeIndex parent = parentOf(node);
  if (parent != kNoNode && parsed_.nodes[parent].hasContent != 0) {
    const GapVector<Child>& children = contentOf(parent).children;
    // NOLINTNEXTLINE(readability-suspicious-call-argument)
    if (const auto place = placeOf(parent, node)) return trailingSpace(children[*place].before);
  }
  const Node& element = parsed_.nodes[node];
  return isAdded(element) ? contentOf(node).lead : trailingSpace(sourceText(0, element.begin));
}

std::string Tree::leadForChild(NodeIndex node, const Content& content) const {
  if (!content.children.empty()) return std::string(lineOf(trailingSpace(content.children.back().before)));
  if (content.emptied) return std::string(lineOf(content.emptied->before));
  return leadForFirstChild(node);
}

std::string Tree::leadForFirstChild(NodeIndex node) const {
  const BasicStringRef own = lineOf(leadOf(node));
  if (node == root_) {
    const std::string text = serialise();  // hardly more than the tags of the root
    const auto lineEnd = text.find('\n');
    if (lineEnd == std::string::npos) return {};
    return std::string(lineEndOf(lineOf(BasicStringRef(text).substr(0, lineEnd + 1)))) +
           std::string(kDefaultIndent);
  }
  if (std::optional<std::string> lead = leadByNeighbours(node)) return *lead;
  if (lineEndOf(own).empty()) return {};
  const NodeIndex parent = parentOf(node);
  const BasicStringRef outer = parent == kNoNode ? BasicStringRef() : indentOf(lineOf(leadOf(parent)));
  const BasicStringRef unit =
      indentOf(own).starts_with(outer) ? indentOf(own).substr(outer.size()) : kDefaultIndent;
  return std::string(own) + std::string(unit);
}

std::optional<std::string> Tree::leadByNeighbours(NodeIndex node) const {
  const NodeIndex parent = parentOf(node);
  if (parent == kNoNode) return std::nullopt;
  const std::optional<std::uint32_t> found =
      placeOf(parent, node);  // NOLINT(readability-suspicious-call-argument)
  if (!found) return std::nullopt;
  const std::uint32_t place = *found;
  const std::uint32_t count = childCount(parent);
  const BasicStringRef own = lineOf(leadOf(node));
  const std::uint32_t first = place > kNeighbours ? place - kNeighbours : 0;
  for (std::uint32_t i = place; i-- > first;)
    if (auto lead = leadLikeIn(child(parent, i), own)) return lead;
  for (std::uint32_t i = place + 1; i < std::min(count, place + 1 + kNeighbours); ++i)
    if (auto lead = leadLikeIn(child(parent, i), own)) return lead;
  return std::nullopt;
}

std::optional<std::string> Tree::leadLikeIn(NodeIndex neighbour, BasicStringRef ownLine) const {
  if (childCount(neighbour) == 0) return std::nullopt;
  const BasicStringRef inner = lineOf(leadOf(child(neighbour, 0)));
  if (lineEndOf(inner).empty()) return std::string(inner);
  const BasicStringRef outer = indentOf(lineOf(leadOf(neighbour)));
  const bool isDeeper = indentOf(inner).starts_with(outer) && !lineEndOf(ownLine).empty();
  if (!isDeeper) return std::string(inner);
  return std::string(ownLine) + std::string(indentOf(inner).substr(outer.size()));
}

}  // namespace Tal::xml
