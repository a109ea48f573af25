#pragma once

#include <core/string_ref.h>
#include <files/byte_buffer.h>
#include <xml/gap_vector.h>
#include <xml/tags.h>
#include <xml/text.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tal::xml {

using NodeIndex = std::uint32_t;
constexpr NodeIndex kNoNode = 0xFFFFFFFF;

/// One element. The places are offsets into the source; an element that was added later has none (0). The
/// children of a parsed element are `childCount` neighbouring nodes.
struct Node {
  std::uint32_t begin = 0;         ///< of the start tag
  std::uint32_t contentBegin = 0;  ///< behind the start tag
  std::uint32_t contentEnd = 0;    ///< at the end tag; for <a/> the same as contentBegin
  TagId tag : kTagBits = 0;
  std::uint32_t isVerbatim : 1 = 0;  ///< its content is text alone, which stands for itself
  std::uint32_t hasContent : 1 = 0;  ///< its children or text are no longer those of the source
  std::uint32_t isChanged : 1 = 0;   ///< it or something below it is no longer as in the source
  NodeIndex firstChild = 0;
  std::uint32_t childCount = 0;
};
static_assert(sizeof(Node) == 6 * sizeof(std::uint32_t), "the tag and the flags share 32 bits");

/// A well-formed document: its source and its elements, and the edits made to it since. What no edit touches
/// keeps its bytes. Elements are named by their index, which stays valid as long as the tree; an element that
/// was removed reads as it was.
class Tree {
 public:
  /// What a parser found: `nodes` as Node describes them, the root last.
  struct Parsed {
    files::ByteBuffer source;
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
  /// Where a child stands; empty when it is none of `node`.
  std::optional<std::uint32_t> placeOf(NodeIndex node, NodeIndex child) const;
  /// The first child of that tag; kNoNode when there is none.
  NodeIndex findChild(NodeIndex node, BasicStringRef tag) const;
  /// Whether some element has or had that tag.
  bool knowsTag(BasicStringRef tag) const { return parsed_.tags.find(tag) != kNoTag; }
  /// The element's own text without surrounding white space: a view into the tree, or into `scratch` when the
  /// text had to be decoded.
  BasicStringRef text(NodeIndex node, std::string& scratch) const;

  /// The value of an attribute; empty when the element has none of that name.
  std::string attribute(NodeIndex node, BasicStringRef name) const;

  /// Whether an element was added, has neither text nor children yet, and is in no file.
  bool isUnwritten(NodeIndex node) const;

  /// The text that was parsed.
  BasicStringRef source() const noexcept { return parsed_.source.view(); }

  /// The document's text as it stands now: the source, but for the edits.
  std::string serialise() const;

  /// How many edits were made; the tree is as parsed at 0.
  std::uint64_t revision() const noexcept { return revision_; }

  /// @}
  /// @name Editing
  /// @{

  /// Adds an empty element behind the last child, on a line of its own where the neighbours have one. `tag`
  /// can name an element.
  NodeIndex appendChild(NodeIndex node, BasicStringRef tag);

  /// Removes the child with the white space in front of it. False when it is no child of `node`.
  bool removeChild(NodeIndex node, NodeIndex child);

  /// Removes every child of that tag.
  void removeChildren(NodeIndex node, BasicStringRef tag);

  /// Removes every child.
  void removeChildren(NodeIndex node);

  /// Replaces the element's own text by `raw`, which is character data, escaped. White space around the old
  /// text stays, and so do comments and instructions.
  void setText(NodeIndex node, BasicStringRef raw);

  /// The document has been saved as it stands now: what is edited from here on ends as in one that was read
  /// from there.
  void noteSaved() noexcept;

  /// @}

 private:
  struct Child {
    NodeIndex node;
    BasicStringRef before;  ///< the raw text between the child in front and this one
  };

  /// The white space that an element held around its children before they were all removed.
  struct Spacing {
    std::string before;  ///< in front of a child
    std::string tail;
  };

  /// What stands between the tags of an element that was added, or whose children or text were edited.
  struct Content {
    GapVector<Child> children;
    BasicStringRef tail;             ///< the raw text behind the last child
    BasicStringRef lead;             ///< an added element: the white space in front of it
    std::optional<Spacing> emptied;  ///< since the last save
    bool isSaved = false;
    bool isPair = false;  ///< was saved with something in it, and so has two tags for good
  };

  struct Frame;

  static bool isAdded(const Node& node) noexcept { return node.contentBegin == 0; }
  const Content& contentOf(NodeIndex node) const { return *contents_.find(node)->second; }
  BasicStringRef sourceText(std::size_t begin, std::size_t end) const {
    return parsed_.source.view().substr(begin, end - begin);
  }
  /// Whether a parsed element is written <a/>.
  bool isEmptyTag(const Node& node) const { return parsed_.source.view()[node.contentBegin - 2] == '/'; }
  /// Behind the end tag of a parsed element.
  std::size_t endOf(const Node& node) const;
  /// The raw text between the tags that is no child's, piece by piece.
  std::vector<BasicStringRef> gapsOf(NodeIndex node) const;

  /// @name Editing
  /// @{
  Content& contentForEdit(NodeIndex node);
  /// The element that a node is a child of; kNoNode for the root and for a child that was taken out.
  NodeIndex parentOf(NodeIndex node) const;
  /// Calls `visit` with every element that holds a parsed node's bytes, from the root down.
  template <class Visit>
  void walkDownTo(NodeIndex node, const Visit& visit) const;
  void markChanged(NodeIndex node);
  NodeIndex addNode(NodeIndex parent, BasicStringRef tag, BasicStringRef lead);
  /// Takes a child out of the node that has that content; the gap behind it takes over what the gap in front
  /// keeps. When memory is wanting, nothing changes.
  void takeOut(NodeIndex node, Content& content, std::size_t place);
  template <class Predicate>
  void takeOutAll(NodeIndex node, const Predicate& isWanted);
  /// Notes that children were removed from a content; one without any is tidied.
  static void noteRemoval(Content& content, std::string lastSpace);
  /// Stores added text for as long as the tree lives.
  BasicStringRef keep(std::string text);
  BasicStringRef keepJoined(BasicStringRef first, BasicStringRef second);
  /// The same for the gap of a removed child, which nobody else refers to and which may be written over.
  BasicStringRef joinedOnto(BasicStringRef kept, BasicStringRef next);
  /// @}
  /// @name Layout
  /// @{

  /// The white space directly in front of an element, as the document stands now.
  BasicStringRef leadOf(NodeIndex node) const;
  /// The white space to put in front of a new last child.
  std::string leadForChild(NodeIndex node, const Content& content) const;
  std::string leadForFirstChild(NodeIndex node) const;
  /// How children stand in the elements beside `node`, for one that has none to go by.
  std::optional<std::string> leadByNeighbours(NodeIndex node) const;
  std::optional<std::string> leadLikeIn(NodeIndex neighbour, BasicStringRef ownLine) const;
  /// @}
  /// @name Writing
  /// @{
  void writeStart(NodeIndex node, std::vector<Frame>& frames, std::string& out) const;
  bool writeNextChild(std::vector<Frame>& frames, std::string& out) const;
  void writeEnd(const Frame& frame, std::string& out) const;
  void writeOpeningTag(const Node& node, std::string& out) const;
  /// @}

  Parsed parsed_;
  NodeIndex root_;
  std::unordered_map<NodeIndex, std::unique_ptr<Content>> contents_;
  std::unordered_map<NodeIndex, NodeIndex> newParents_;  ///< of added nodes, and kNoNode of those taken out
  std::vector<NodeIndex> unsaved_;                       ///< whose content was edited since the last save
  std::deque<std::string> texts_;
  std::uint64_t revision_ = 0;
};

}  // namespace Tal::xml
