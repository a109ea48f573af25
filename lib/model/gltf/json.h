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

/// Indices by name, such as the accessors of a primitive's attributes, sorted by name.
using GltfIndicesByName = std::vector<std::pair<std::string, std::uint32_t>>;

/// An object of a document's JSON and its place in it. A value of the wrong type, or a required one that is
/// missing, reads as 0 or empty and is recorded as the document's fault. Only the first fault is kept, so
/// readers check for it once, at the end. Valid only during the call that receives it.
class GltfObject {
 public:
  using Visit = std::function<void(const GltfObject& object)>;

  bool has(BasicStringRef key) const;
  bool isEmpty() const;

  /// A whole number from 0 to 2147483647; `fallback` when it is absent.
  std::uint32_t number(BasicStringRef key, std::uint32_t fallback) const;
  std::uint32_t requiredNumber(BasicStringRef key) const;

  /// The same, which must be the index of an element in `list`, a list of the document ("meshes").
  std::optional<std::uint32_t> index(BasicStringRef key, BasicStringRef list) const;
  std::uint32_t requiredIndex(BasicStringRef key, BasicStringRef list) const;
  /// A list of such indices.
  std::vector<std::uint32_t> indices(BasicStringRef key, BasicStringRef list) const;
  /// An object of such indices.
  GltfIndicesByName indicesByName(BasicStringRef key, BasicStringRef list) const;
  /// The members of this object as such indices.
  GltfIndicesByName indicesByName(BasicStringRef list) const;
  /// An object of plain numbers.
  GltfIndicesByName numbersByName(BasicStringRef key) const;

  /// A text; empty when it is absent.
  std::string text(BasicStringRef key) const;
  /// A list of texts.
  std::vector<std::string> texts(BasicStringRef key) const;
  /// true or false; false when it is absent.
  bool flag(BasicStringRef key) const;
  /// Any number.
  std::optional<double> real(BasicStringRef key) const;
  /// A list of `count` numbers; empty when it is absent.
  std::vector<double> reals(BasicStringRef key, std::size_t count) const;
  /// A whole number from 0 to 2147483647 that may be written with a fraction of 0.
  std::optional<std::uint32_t> wholeReal(BasicStringRef key) const;
  /// Whether a member without a fixed type is true or a number other than 0.
  bool isMarked(BasicStringRef key) const;

  /// Passes an object to `visit`, if there is one.
  void object(BasicStringRef key, const Visit& visit) const;
  void requiredObject(BasicStringRef key, const Visit& visit) const;
  /// The same; a value of another type is ignored.
  void anyObject(BasicStringRef key, const Visit& visit) const;
  /// Passes every object of a list, in order.
  void objects(BasicStringRef key, const Visit& visit) const;
  void requiredObjects(BasicStringRef key, const Visit& visit) const;

  /// The number of elements of a list; 0 for anything else.
  std::size_t sizeOf(BasicStringRef list) const;

  /// Records "PLACE FAULT".
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

/// A range of bytes in a text; `end` is exclusive.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// The JSON of a glTF document. Of `extras` it keeps only "materialKind" and "bsp", of extensions only the
/// supported ones.
class GltfTree {
 public:
  /// Parses a text of at most kMaxGltfText bytes, 4,000,000 values, kept or not, and 64 levels. More is a
  /// fault; so are a text that is not a JSON object, and an object with two members of one name. Usable on
  /// any thread.
  static Result<GltfTree> parse(BasicStringRef text);

  GltfTree(GltfTree&&) noexcept;
  GltfTree& operator=(GltfTree&&) noexcept;
  ~GltfTree();

  /// Passes the document itself to `visit` and returns the first fault.
  Result<void> read(const GltfObject::Visit& visit) const;

  /// The range of the list `name`, a member of the document, in the text; empty when there is none.
  std::optional<TextRange> rangeOf(BasicStringRef name) const;
  /// Where a first member of the document can be inserted into the text.
  std::size_t bodyBegin() const noexcept { return bodyBegin_; }

 private:
  GltfTree();

  std::unique_ptr<GltfJsonOwner> root_;
  std::map<std::string, TextRange, std::less<>> ranges_;
  std::size_t bodyBegin_ = 0;
};

}  // namespace Tal
