#pragma once

#include <core/string_ref.h>
#include <resources/gap_vector.h>
#include <resources/xml_tags.h>
#include <resources/xml_text.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tal::Xml {

using NodeIndex = std::uint32_t;
constexpr NodeIndex kNoNode = 0xFFFFFFFF;

/// One element. The places are offsets into the source; an element that was added later has none (0). The
/// children of a parsed element are `childCount` neighbouring nodes.
struct Node {
  std::uint32_t begin = 0;         ///< of the start tag
  std::uint32_t contentBegin = 0;  ///< behind the start tag
  std::uint32_t contentEnd = 0;    ///< at the end tag; for <a/> the same as contentBegin
  TagId tag : 30 = 0;
  std::uint32_t hasContent : 1 = 0;  ///< its children or text are no longer those of the source
  std::uint32_t isChanged : 1 = 0;   ///< it or something below it is no longer as in the source
  NodeIndex firstChild = 0;
  std::uint32_t childCount = 0;
};

/// The source text of a document, owned.
struct Source {
  std::unique_ptr<char[]> bytes;
  std::size_t size = 0;

  BasicStringRef view() const noexcept { return {bytes.get(), size}; }
  static Source copyOf(BasicStringRef text);
};

/// A well-formed document: its source and its elements, and the edits made to it since. What no edit touches
/// keeps its bytes. Elements are named by their index, which stays valid as long as the tree; an element that
/// was removed reads as it was.
class Tree {
 public:
  /// What a parser found: `nodes` as Node describes them, the root last.
  struct Parsed {
    Source source;
    std::vector<Node> nodes;
    TagTable tags;
    Entities entities;
  };

  explicit Tree(Parsed parsed);

  /// @name Reading
  /// @{

  NodeIndex root() const noexcept { return root_; }
  BasicStringRef tag(NodeIndex node) const { return parsed_.tags.text(parsed_.nodes[node].tag); }
  std::uint32_t childCount(NodeIndex node) const;
  /// `place` is below childCount.
  NodeIndex child(NodeIndex node, std::uint32_t place) const;
  /// The first child of that tag; kNoNode when there is none.
  NodeIndex findChild(NodeIndex node, BasicStringRef tag) const;
  /// The element's own text without surrounding white space: a view into the tree, or into `scratch` when the
  /// text had to be decoded.
  BasicStringRef text(NodeIndex node, std::string& scratch) const;

  /// @}

 private:
  struct Child {
    NodeIndex node;
    BasicStringRef before;  ///< the raw text between the child in front and this one
  };

  /// What stands between the tags of an element whose children or text were edited.
  struct Content {
    GapVector<Child> children;
    BasicStringRef tail;  ///< the raw text behind the last child
  };

  const Content& contentOf(NodeIndex node) const { return *contents_.at(node); }
  BasicStringRef sourceText(std::size_t begin, std::size_t end) const {
    return parsed_.source.view().substr(begin, end - begin);
  }
  /// Behind the end tag of a parsed element.
  std::size_t endOf(const Node& node) const;
  /// The raw text between the tags that is no child's, piece by piece.
  template <class Visitor>
  void visitGaps(NodeIndex node, const Visitor& visit) const;

  Parsed parsed_;
  NodeIndex root_;
  std::unordered_map<NodeIndex, std::unique_ptr<Content>> contents_;
};

}  // namespace Tal::Xml
