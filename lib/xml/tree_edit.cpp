#include <xml/layout.h>
#include <xml/tree.h>

#include <algorithm>
#include <utility>

namespace Tal::xml {
namespace {

bool hasLineEnd(BasicStringRef text) {
  return text.find('\n') != BasicStringRef::npos;
}

/// What of the gap in front of a removed child stays: comments, instructions and text, but not the white
/// space that set the child off. Where that alone parts a text from what is `next`, its first piece stays;
/// behind the last child there may be nothing to part it from.
BasicStringRef keptOf(BasicStringRef gap, BasicStringRef next, bool isLast) {
  const BasicStringRef space = trailingSpace(gap);
  const BasicStringRef rest = gap.substr(0, gap.size() - space.size());
  const bool isMarkup = rest.ends_with("-->") || rest.ends_with("?>");
  const bool isParted = next.empty() ? isLast : isSpace(next.front());
  if (rest.empty() || isMarkup || isParted) return rest;
  return gap.substr(0,
                    rest.size() + (space.starts_with("\r\n") ? 2 : std::min<std::size_t>(space.size(), 1)));
}

/// Puts `raw` in the place of the first text in a gap and takes out the other texts.
class TextReplacement {
 public:
  explicit TextReplacement(BasicStringRef raw) : raw_(raw), isPlaced_(raw.empty()) {}

  bool isPlaced() const noexcept { return isPlaced_; }

  std::string in(BasicStringRef gap) {
    std::string result;
    for (std::size_t position = 0; position < gap.size();) {
      const TextRun run = textRunAt(gap, position);
      position += run.text.size();
      if (run.isMarkup || trimmed(run.text).empty()) {
        result += run.text;
      } else {
        append(run.text, result);
      }
    }
    return result;
  }

 private:
  void append(BasicStringRef old, std::string& result) {
    const BasicStringRef core = trimmed(old);
    const BasicStringRef front = old.substr(0, static_cast<std::size_t>(core.data() - old.data()));
    const BasicStringRef text = isPlaced_ ? BasicStringRef() : raw_;
    isPlaced_ = true;
    // White space that the new text brings stands for the old one's.
    if (text.empty() || !isSpace(text.front())) result += front;
    result += text;
    if (text.empty() || !isSpace(text.back())) result += old.substr(front.size() + core.size());
  }

  BasicStringRef raw_;
  bool isPlaced_;
};

}  // namespace

BasicStringRef Tree::keep(std::string text) {
  if (text.empty()) return {};
  return texts_.emplace_back(std::move(text));
}

BasicStringRef Tree::keepJoined(BasicStringRef first, BasicStringRef second) {
  return first.empty() ? second : keep(std::string(first) + std::string(second));
}

template <class Visit>
void Tree::walkDownTo(NodeIndex node, const Visit& visit) const {
  const std::vector<Node>& nodes = parsed_.nodes;
  const auto isBehind = [](std::uint32_t place, const Node& element) { return place < element.begin; };
  for (NodeIndex at = root_; at != node;) {
    visit(at);
    const auto first = nodes.begin() + nodes[at].firstChild;
    const auto next = std::upper_bound(first, first + nodes[at].childCount, nodes[node].begin, isBehind);
    at = static_cast<NodeIndex>(next - nodes.begin()) - 1;
  }
}

NodeIndex Tree::parentOf(NodeIndex node) const {
  if (const auto found = newParents_.find(node); found != newParents_.end()) return found->second;
  NodeIndex parent = kNoNode;
  walkDownTo(node, [&parent](NodeIndex above) { parent = above; });
  return parent;
}

void Tree::markChanged(NodeIndex node) {
  while (node != kNoNode && parsed_.nodes[node].isChanged == 0) {
    parsed_.nodes[node].isChanged = 1;
    const auto found = newParents_.find(node);
    if (found == newParents_.end())
      return walkDownTo(node, [this](NodeIndex above) { parsed_.nodes[above].isChanged = 1; });
    node = found->second;
  }
}

Tree::Content& Tree::contentForEdit(NodeIndex node) {
  ++revision_;
  unsaved_.push_back(node);
  std::unique_ptr<Content>& content = contents_[node];
  if (content) return *content;
  Node& element = parsed_.nodes[node];
  const std::vector<BasicStringRef> gaps = gapsOf(node);
  std::vector<Child> children;
  children.reserve(element.childCount);
  for (NodeIndex i = 0; i < element.childCount; ++i) children.push_back({element.firstChild + i, gaps[i]});
  auto parsed = std::make_unique<Content>();
  parsed->tail = gaps.back();
  parsed->children = GapVector<Child>(std::move(children));
  content = std::move(parsed);  // as a whole, or not at all
  element.hasContent = 1;
  markChanged(node);
  return *content;
}

NodeIndex Tree::addNode(NodeIndex parent, BasicStringRef tag, BasicStringRef lead) {
  const auto index = static_cast<NodeIndex>(parsed_.nodes.size());
  TagId id = parsed_.tags.find(tag);
  if (id == kNoTag) id = parsed_.tags.intern(keep(std::string(tag)));
  Node node;
  node.tag = id & kTagMask;
  node.hasContent = 1;
  node.isChanged = 1;
  parsed_.nodes.push_back(node);
  newParents_[index] = parent;
  unsaved_.push_back(index);
  contents_[index] = std::make_unique<Content>();
  contents_[index]->lead = lead;
  return index;
}

NodeIndex Tree::appendChild(NodeIndex node, BasicStringRef tag) {
  Content& content = contentForEdit(node);
  std::string lead = leadForChild(node, content);
  const BasicStringRef run = trailingSpace(content.tail);
  const BasicStringRef rest = content.tail.substr(0, content.tail.size() - run.size());
  BasicStringRef tail = run;
  if (content.children.empty() && content.emptied && content.tail.empty()) {
    tail = keep(content.emptied->tail);
  } else if (content.children.empty() && hasLineEnd(lead) && !hasLineEnd(run)) {
    const BasicStringRef own = lineOf(leadOf(node));
    tail = keep(std::string(lineEndOf(lead)) + std::string(indentOf(own)));
  }
  const bool isLikeLast = !content.children.empty() && content.children.back().before == lead;
  const BasicStringRef before = isLikeLast ? content.children.back().before : keep(std::move(lead));
  const NodeIndex child = addNode(node, tag, before);
  content.children.pushBack({child, keepJoined(rest, before)});
  content.tail = tail;
  return child;
}

BasicStringRef Tree::joinedOnto(BasicStringRef kept, BasicStringRef next) {
  // Removing one commented child after the other adds to the same text again and again. A text that is more
  // than white space belongs to one gap alone.
  const BasicStringRef latest = texts_.empty() ? BasicStringRef() : BasicStringRef(texts_.back());
  if (!kept.empty() && kept.data() == latest.data()) {
    texts_.back().reserve(kept.size() + next.size());  // so that nothing is changed when memory is wanting
    texts_.back().resize(kept.size());
    texts_.back() += next;
  } else if (!trimmed(next).empty() && next.data() == latest.data() && next.size() == latest.size()) {
    texts_.back().insert(0, kept);
  } else {
    return keepJoined(kept, next);
  }
  return texts_.back();
}

void Tree::takeOut(NodeIndex node, Content& content, std::size_t place) {
  const Child removed = content.children[place];
  NodeIndex& parent = newParents_.try_emplace(removed.node, node).first->second;
  const bool isLast = place + 1 == content.children.size();
  BasicStringRef& next = isLast ? content.tail : content.children[place + 1].before;
  const BasicStringRef kept = keptOf(removed.before, next, isLast);
  if (kept.empty() && !isLast && hasLineEnd(removed.before) && trimmed(next).empty() && !hasLineEnd(next)) {
    next = removed.before;  // the next child stood on the removed one's line, and keeps it
  } else {
    next = joinedOnto(kept, next);
  }
  parent = kNoNode;
  content.children.erase(place);
}

void Tree::noteRemoval(Content& content, std::string lastSpace) {
  if (!content.children.empty()) return;
  content.emptied = Spacing{std::move(lastSpace), std::string(trailingSpace(content.tail))};
  if (trimmed(content.tail).empty()) content.tail = {};
}

bool Tree::removeChild(NodeIndex node, NodeIndex child) {
  const std::optional<std::uint32_t> place = placeOf(node, child);
  if (!place) return false;
  Content& content = contentForEdit(node);
  std::string space(trailingSpace(content.children[*place].before));
  takeOut(node, content, *place);
  noteRemoval(content, std::move(space));
  return true;
}

template <class Predicate>
void Tree::takeOutAll(NodeIndex node, const Predicate& isWanted) {
  Content* content = nullptr;
  std::string lastSpace;
  for (std::uint32_t place = 0; place < childCount(node);) {
    if (!isWanted(child(node, place))) {
      ++place;
      continue;
    }
    if (content == nullptr) content = &contentForEdit(node);
    lastSpace = trailingSpace(content->children[place].before);
    takeOut(node, *content, place);
  }
  if (content != nullptr) noteRemoval(*content, std::move(lastSpace));
}

void Tree::removeChildren(NodeIndex node, BasicStringRef tag) {
  const TagId wanted = parsed_.tags.find(tag);
  takeOutAll(node, [&](NodeIndex child) { return parsed_.nodes[child].tag == wanted; });
}

void Tree::removeChildren(NodeIndex node) {
  takeOutAll(node, [](NodeIndex) { return true; });
}

void Tree::setText(NodeIndex node, BasicStringRef raw) {
  Content& content = contentForEdit(node);
  TextReplacement replacement(raw);
  const auto rewrite = [&](BasicStringRef& gap) {
    std::string text = replacement.in(gap);
    if (text != gap) gap = keep(std::move(text));
  };
  for (std::size_t i = 0; i < content.children.size(); ++i) rewrite(content.children[i].before);
  rewrite(content.tail);
  const bool isLeaf = content.children.empty();
  if (!replacement.isPlaced()) {
    BasicStringRef& first = isLeaf ? content.tail : content.children[0].before;
    const bool isBlankLeaf = isLeaf && trimmed(first).empty();
    first = isBlankLeaf ? keep(std::string(raw)) : keep(std::string(raw) + std::string(first));
  } else if (isLeaf && raw.empty() && trimmed(content.tail).empty()) {
    content.tail = {};
  }
}

void Tree::noteSaved() noexcept {
  for (const NodeIndex node : unsaved_) {
    const auto found = contents_.find(node);
    if (found == contents_.end() || !found->second) continue;  // there was no memory for it
    Content& content = *found->second;
    content.isSaved = true;
    content.isPair = content.isPair || !content.children.empty() || !content.tail.empty();
    content.emptied.reset();
  }
  unsaved_.clear();
}

}  // namespace Tal::xml
