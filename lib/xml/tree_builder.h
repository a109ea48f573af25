#pragma once

#include <xml/tree.h>

#include <cstddef>
#include <vector>

namespace Tal::xml {

/// Makes the nodes of a tree from its tags, as a parser comes by them. Finished elements wait on a stack
/// until their parent is finished; then they leave it together, which makes the children of each element
/// neighbours.
class TreeBuilder {
 public:
  /// Makes the nodes of `parsed`, whose source is set.
  explicit TreeBuilder(Tree::Parsed& parsed);

  /// How many elements are open.
  std::size_t depth() const noexcept { return open_.size(); }

  /// The tag of the innermost open element, of which there is one.
  TagId innermost() const noexcept { return open_.back().node.tag; }

  /// Where the content of the innermost open element begins.
  std::size_t contentBegin() const noexcept { return open_.back().node.contentBegin; }

  /// A start tag, which begins at `begin` and ends in front of `contentBegin`.
  void start(std::size_t begin, std::size_t contentBegin, TagId tag) {
    open_.push_back({{.begin = static_cast<std::uint32_t>(begin),
                      .contentBegin = static_cast<std::uint32_t>(contentBegin),
                      .tag = tag & kTagMask},
                     finishedCount_});
  }

  /// The end tag of the innermost open element; `isVerbatim` as Node has it.
  void end(std::size_t contentEnd, bool isVerbatim = false) {
    Open& ended = open_.back();
    ended.node.isVerbatim = isVerbatim ? 1 : 0;
    ended.node.contentEnd = static_cast<std::uint32_t>(contentEnd);
    if (finishedCount_ != ended.firstFinished) takeChildren(ended);
    finish(ended.node);
    open_.pop_back();
  }

  /// An element below the innermost open one whose content is verbatim text, whole.
  void leaf(std::size_t begin, std::size_t contentBegin, std::size_t contentEnd, TagId tag) {
    finish({.begin = static_cast<std::uint32_t>(begin),
            .contentBegin = static_cast<std::uint32_t>(contentBegin),
            .contentEnd = static_cast<std::uint32_t>(contentEnd),
            .tag = tag & kTagMask,
            .isVerbatim = 1});
  }

  /// After the end tag of the root.
  void finish() { moveFinished(0); }

 private:
  struct Open {
    Node node;
    std::size_t firstFinished;  ///< where the element's children begin on the stack of finished ones
  };

  void finish(const Node& node) {
    if (finishedCount_ == finished_.size()) makeRoom();
    finished_[finishedCount_++] = node;
  }

  void makeRoom();
  void takeChildren(Open& parent);
  /// Moves the nodes on the stack from `first` on to the document.
  void moveFinished(std::size_t first);

  Tree::Parsed& parsed_;
  std::vector<Open> open_;
  std::vector<Node> finished_;  ///< the stack, and behind it room for more
  std::size_t finishedCount_ = 0;
};

}  // namespace Tal::xml
