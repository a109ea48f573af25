#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tal {

/// An index of each of several named things, as the accessors of a primitive's attributes, sorted by name.
using GltfIndicesByName = std::vector<std::pair<std::string, std::uint32_t>>;

/// An object of a document's JSON and its place in it. What is of another type than is asked for, or is
/// required and missing, reads as 0 or nothing and is noted as the document's fault. Only the first fault is
/// kept, so a reader goes on and looks at the end whether there is one. Lives only as long as the call that
/// it is handed to.
class GltfObject {
 public:
  using Visit = std::function<void(const GltfObject& object)>;

  bool has(BasicStringRef key) const;
  bool isEmpty() const;

  /// A whole number from 0 to 2147483647; `fallback` when it is absent.
  std::uint32_t number(BasicStringRef key, std::uint32_t fallback) const;
  std::uint32_t requiredNumber(BasicStringRef key) const;

  /// The same, which has to be the place of an element in `list`, a list of the document ("meshes").
  std::optional<std::uint32_t> index(BasicStringRef key, BasicStringRef list) const;
  std::uint32_t requiredIndex(BasicStringRef key, BasicStringRef list) const;
  /// A list of such indices.
  std::vector<std::uint32_t> indices(BasicStringRef key, BasicStringRef list) const;
  /// An object of such indices.
  GltfIndicesByName indicesByName(BasicStringRef key, BasicStringRef list) const;
  /// The members of this object as such indices.
  GltfIndicesByName indicesByName(BasicStringRef list) const;
  /// An object of numbers that are no indices of a list.
  GltfIndicesByName numbersByName(BasicStringRef key) const;

  /// A text; empty when it is absent.
  std::string text(BasicStringRef key) const;
  /// A list of texts.
  std::vector<std::string> texts(BasicStringRef key) const;
  /// true or false; false when it is absent.
  bool flag(BasicStringRef key) const;
  /// Any number.
  std::optional<double> real(BasicStringRef key) const;
  /// A list of so many numbers; empty when it is absent.
  std::vector<double> reals(BasicStringRef key, std::size_t count) const;
  /// A whole number from 0 to 2147483647 that may be written with a fraction of 0.
  std::optional<std::uint32_t> wholeReal(BasicStringRef key) const;
  /// Whether the member is true or a number other than 0, for what has no fixed type.
  bool isMarked(BasicStringRef key) const;

  /// Hands an object to `visit`, if it is there.
  void object(BasicStringRef key, const Visit& visit) const;
  void requiredObject(BasicStringRef key, const Visit& visit) const;
  /// The same of what is ignored when it is of another type.
  void anyObject(BasicStringRef key, const Visit& visit) const;
  /// Hands over every object of a list, in order.
  void objects(BasicStringRef key, const Visit& visit) const;
  void requiredObjects(BasicStringRef key, const Visit& visit) const;

  /// The number of elements of a list; 0 when it is no list.
  std::size_t sizeOf(BasicStringRef list) const;

  /// Notes "PLACE FAULT".
  void fail(const std::string& fault) const;

 private:
  friend class GltfTree;
  struct Context {
    const void* root;  ///< of the JSON library's type, which headers do not name
    std::optional<Fault>& fault;
  };

  GltfObject(const Context& context, const void* json) : context_(context), json_(json) {}
  GltfObject(const GltfObject& parent, const void* json, BasicStringRef key, std::optional<std::size_t> index)
      : context_(parent.context_), json_(json), parent_(&parent), key_(key), index_(index) {}

  const void* find(BasicStringRef key) const;
  std::string placeOf(BasicStringRef key, std::optional<std::size_t> index = {}) const;
  void failAt(BasicStringRef key, const std::string& fault, std::optional<std::size_t> index = {}) const;
  std::uint32_t numberOf(const void* value, BasicStringRef key, std::optional<std::size_t> index = {}) const;
  std::uint32_t indexOf(const void* value, BasicStringRef list, BasicStringRef key,
                        std::optional<std::size_t> index = {}) const;

  const Context& context_;
  const void* json_;
  const GltfObject* parent_ = nullptr;
  BasicStringRef key_ = {};
  std::optional<std::size_t> index_ = {};
};

struct GltfJsonOwner;

/// Bytes of a text, from the first up to the one behind the last.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// The JSON of a glTF document without what nothing here reads. Of `extras` only "materialKind" and "bsp" are
/// kept, of extensions only those that are understood here.
class GltfTree {
 public:
  /// Reads a text of at most kMaxGltfText bytes with at most 4,000,000 values, kept or not, and 64 levels.
  /// More is a fault; so are a text that is no JSON object, and two members of one name in one object. Usable
  /// on any thread.
  static Result<GltfTree> parse(BasicStringRef text);

  GltfTree(GltfTree&&) noexcept;
  GltfTree& operator=(GltfTree&&) noexcept;
  ~GltfTree();

  /// Hands the document itself to `visit`; the first fault that reading it showed.
  Result<void> read(const GltfObject::Visit& visit) const;

  /// Where the list `name`, a member of the document, stands in the text; empty when there is none.
  std::optional<TextRange> rangeOf(BasicStringRef name) const;
  /// Where the first member of the document may be put into the text.
  std::size_t bodyBegin() const noexcept { return bodyBegin_; }

 private:
  GltfTree();

  std::unique_ptr<GltfJsonOwner> root_;
  std::map<std::string, TextRange, std::less<>> ranges_;
  std::size_t bodyBegin_ = 0;
};

}  // namespace Tal
