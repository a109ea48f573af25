#include <xml/tree.h>

namespace Tal::xml {

/// An element that is being written because it or something below it changed.
struct Tree::Frame {
  NodeIndex node;
  std::uint32_t nextChild = 0;
  std::size_t written = 0;  ///< up to where its source is written, when its own content is as parsed
};

std::string Tree::serialise() const {
  constexpr std::size_t kMargin = 1024;  // more than most edits add
  const BasicStringRef source = parsed_.source.view();
  const Node& root = parsed_.nodes[root_];
  std::string out;
  out.reserve(source.size() + kMargin);
  out += source.substr(0, root.begin);
  std::vector<Frame> frames;
  writeStart(root_, frames, out);
  while (!frames.empty()) {
    if (writeNextChild(frames, out)) continue;
    writeEnd(frames.back(), out);
    frames.pop_back();
  }
  out += source.substr(endOf(root));
  return out;
}

/// Writes an unchanged element whole; of a changed one what stands in front of its first child, and puts it
/// on `frames`.
void Tree::writeStart(NodeIndex node, std::vector<Frame>& frames, std::string& out) const {
  const Node& element = parsed_.nodes[node];
  if (element.isChanged == 0) {
    out += sourceText(element.begin, endOf(element));
    return;
  }
  if (element.hasContent == 0) {
    frames.push_back({node, 0, element.begin});
    return;
  }
  const Content& content = contentOf(node);
  const bool isEmpty = content.children.empty() && content.tail.empty() && !content.isPair;
  if (isEmpty && isAdded(element)) {
    out += "<";
    out += tag(node);
    out += "/>";
  } else if (isEmpty && isEmptyTag(element)) {
    out += sourceText(element.begin, element.contentBegin);
  } else {
    writeOpeningTag(element, out);
    frames.push_back({node, 0, 0});
  }
}

void Tree::writeOpeningTag(const Node& node, std::string& out) const {
  if (isAdded(node)) {
    out += "<";
    out += parsed_.tags.text(node.tag);
    out += ">";
  } else if (isEmptyTag(node)) {
    BasicStringRef tag = sourceText(node.begin, node.contentBegin - 2);
    tag.remove_suffix(trailingSpace(tag).size());
    out += tag;
    out += ">";
  } else {
    out += sourceText(node.begin, node.contentBegin);
  }
}

/// Goes on to the next child of the innermost element that has to be looked at; false when there is none.
bool Tree::writeNextChild(std::vector<Frame>& frames, std::string& out) const {
  Frame& frame = frames.back();
  const Node& element = parsed_.nodes[frame.node];
  if (element.hasContent != 0) {
    const GapVector<Child>& children = contentOf(frame.node).children;
    if (frame.nextChild == children.size()) return false;
    const Child& child = children[frame.nextChild++];
    out += child.before;
    writeStart(child.node, frames, out);
    return true;
  }
  while (frame.nextChild < element.childCount) {
    const NodeIndex index = element.firstChild + frame.nextChild++;
    const Node& child = parsed_.nodes[index];
    if (child.isChanged == 0) continue;
    out += sourceText(frame.written, child.begin);
    frame.written = endOf(child);
    writeStart(index, frames, out);
    return true;
  }
  return false;
}

void Tree::writeEnd(const Frame& frame, std::string& out) const {
  const Node& element = parsed_.nodes[frame.node];
  if (element.hasContent == 0) {
    out += sourceText(frame.written, endOf(element));
    return;
  }
  out += contentOf(frame.node).tail;
  if (isAdded(element) || isEmptyTag(element)) {
    out += "</";
    out += parsed_.tags.text(element.tag);
    out += ">";
  } else {
    out += sourceText(element.contentEnd, endOf(element));
  }
}

}  // namespace Tal::xml
