#include <xml/tree_builder.h>

#include <algorithm>

namespace Tal::xml {
namespace {

/// How many elements a document has, guessed from its beginning; a little too many rather than too few.
std::size_t expectedNodes(BasicStringRef source) {
  constexpr std::size_t kSample = std::size_t{1} << 16U;
  constexpr std::size_t kLeastBytes = 8;  // of an element
  const BasicStringRef sample = source.substr(0, kSample);
  const auto tags = static_cast<std::size_t>(std::count(sample.begin(), sample.end(), '<'));
  const std::size_t inSample = tags / 2 + 1;
  if (source.size() <= kSample) return inSample;
  // The beginning may be made of other stuff than the rest: no more memory than a few times the document's.
  return std::min(source.size() / kSample * (inSample + inSample / 8), source.size() / kLeastBytes);
}

}  // namespace

TreeBuilder::TreeBuilder(Tree::Parsed& parsed) : parsed_(parsed) {
  parsed_.nodes.clear();
  parsed_.nodes.reserve(expectedNodes(parsed_.source.view()));
}

void TreeBuilder::makeRoom() {
  constexpr std::size_t kFirstRoom = 64;
  finished_.resize(std::max(kFirstRoom, finished_.size() * 2));
}

void TreeBuilder::takeChildren(Open& parent) {
  parent.node.firstChild = static_cast<NodeIndex>(parsed_.nodes.size());
  parent.node.childCount = static_cast<std::uint32_t>(finishedCount_ - parent.firstFinished);
  moveFinished(parent.firstFinished);
}

void TreeBuilder::moveFinished(std::size_t first) {
  const auto at = [this](std::size_t place) {
    return finished_.begin() + static_cast<std::ptrdiff_t>(place);
  };
  parsed_.nodes.insert(parsed_.nodes.end(), at(first), at(finishedCount_));
  finishedCount_ = first;
}

}  // namespace Tal::xml
