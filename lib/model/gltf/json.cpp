#include <core/contains.h>
#include <core/display_text.h>
#include <model/gltf/fault.h>
#include <model/gltf/json.h>
#include <model/gltf_limits.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>

namespace Tal {
namespace {

using nlohmann::json;

/// Takes everything out of a value, the deepest first. The library's own way needs memory for that, which
/// there may be none of, and a destructor that fails ends the process. No document is nested deeply (see
/// kMaxDepth).
void takeAllOut(json& value) noexcept {
  if (auto* const list = value.get_ptr<json::array_t*>()) {
    for (json& element : *list) takeAllOut(element);
    list->clear();
  }
  if (auto* const object = value.get_ptr<json::object_t*>()) {
    for (auto& [key, member] : *object) takeAllOut(member);
    object->clear();
  }
}

}  // namespace

/// A value that goes without asking for memory.
struct GltfJsonOwner {
  GltfJsonOwner() = default;  // NOLINT(bugprone-exception-escape): an empty value asks for nothing
  GltfJsonOwner(const GltfJsonOwner&) = delete;
  GltfJsonOwner& operator=(const GltfJsonOwner&) = delete;
  ~GltfJsonOwner() { takeAllOut(value); }

  json value;
};

namespace {

constexpr std::size_t kMaxDepth = 64;
constexpr std::size_t kMaxValues = 4'000'000;
constexpr std::size_t kShownParserText = 160;
constexpr std::size_t kShownKeyLength = 64;
constexpr std::uint64_t kMaxNumber = std::numeric_limits<std::int32_t>::max();

constexpr std::array<BasicStringRef, 4> kReadExtensions = {
    "EXT_mesh_gpu_instancing", "EXT_meshopt_compression", "KHR_draco_mesh_compression",
    "KHR_meshopt_compression"};
constexpr std::array<BasicStringRef, 2> kReadExtras = {"bsp", "materialKind"};
/// The lists that a .glb may have to hold in another form than its source.
constexpr std::array<BasicStringRef, 3> kExchangedLists = {"bufferViews", "buffers", "images"};

/// The parser's own text without its code, and without what it read, which may be as long as the document.
std::string parserText(const std::string& exceptionText) {
  // "[json.exception.parse_error.101] parse error at line 1, column 2: ...; last read: '...'"
  const std::size_t begin = exceptionText.find("] ");
  std::string text = begin == std::string::npos ? exceptionText : exceptionText.substr(begin + 2);
  text = text.substr(0, std::min(text.find("; last read"), kShownParserText));
  return escapeControls(text);
}

std::string shownKey(BasicStringRef key) {
  return escapeControls(key.substr(0, kShownKeyLength));
}

/// An iterator over a text whose place the outside sees: that of the byte behind those that were read.
struct Cursor {
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  const char** place;

  reference operator*() const { return **place; }
  Cursor& operator++() {
    ++*place;
    return *this;
  }
  bool operator==(const Cursor& other) const { return *place == *other.place; }
  bool operator!=(const Cursor& other) const { return *place != *other.place; }
};

/// Puts the tree together out of what the parser meets, and leaves out what nothing reads.
class TreeBuilder : public nlohmann::json_sax<json> {
 public:
  TreeBuilder(BasicStringRef text, const char*& place) : text_(text), place_(place) {}

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, const string_t& /*text*/) override { return add(value); }
  bool string(string_t& value) override { return add(std::move(value)); }
  bool binary(binary_t& /*value*/) override { return true; }
  bool start_object(std::size_t /*size*/) override { return enter(json::value_t::object); }
  bool start_array(std::size_t /*size*/) override { return enter(json::value_t::array); }
  bool end_object() override { return leave(); }
  bool end_array() override { return leave(); }

  bool key(string_t& key) override {
    if (skipped_ > 0) return true;
    const Level& level = levels_.back();
    member_ = nullptr;
    next_ = key == "extras" ? Filter::extras : key == "extensions" ? Filter::extensions : Filter::none;
    if (levels_.size() == 1) topKey_ = key.substr(0, kShownKeyLength);
    if (level.filter == Filter::extras && !contains(kReadExtras, key)) return true;
    if (level.filter == Filter::extensions && !contains(kReadExtensions, key)) return true;
    const auto [entry, isNew] = level.value->get_ref<json::object_t&>().emplace(std::move(key), nullptr);
    if (!isNew) return fail("has two members " + quotedName(shownKey(entry->first)) + " in one object");
    member_ = &entry->second;
    return true;
  }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& error) override {
    return fail("holds no JSON: " + parserText(error.what()));
  }

  std::optional<Fault> fault;
  std::unique_ptr<GltfJsonOwner> root = std::make_unique<GltfJsonOwner>();
  std::map<std::string, TextRange, std::less<>> ranges;
  std::size_t bodyBegin = 0;

 private:
  /// What is kept of an object's members.
  enum class Filter { none, extras, extensions };
  struct Level {
    json* value;
    Filter filter;
  };

  bool fail(std::string what, std::string remedy = {}) {
    if (!fault) fault = gltfFault(std::move(what), std::move(remedy));
    return false;
  }

  std::size_t offset() const { return static_cast<std::size_t>(place_ - text_.data()); }

  bool count() {
    if (++values_ <= kMaxValues) return true;
    return fail("holds more than " + std::to_string(kMaxValues) + " values",
                "export it without what no model needs, such as animations and extras");
  }

  /// Where the value that comes next is kept; null when it is not.
  json* place(json value) {
    if (levels_.empty()) return &(root->value = std::move(value));
    json& parent = *levels_.back().value;
    if (parent.is_array()) {
      parent.push_back(std::move(value));
      return &parent.back();
    }
    if (member_ == nullptr) return nullptr;
    return &(*member_ = std::move(value));
  }

  template <class Value>
  bool add(Value value) {
    const bool isKept = skipped_ == 0 && next_ != Filter::extras;
    if (isKept) place(std::move(value));
    return count();
  }

  bool enter(json::value_t type) {
    if (++depth_ > kMaxDepth) return fail("is nested deeper than " + std::to_string(kMaxDepth) + " levels");
    if (depth_ == 1) bodyBegin = offset();
    if (depth_ == 2 && contains(kExchangedLists, topKey_)) ranges[topKey_].begin = offset() - 1;
    // Lists of extras, and what stands in those members of them that are kept, are no such marks.
    const bool isOfExtras = !levels_.empty() && levels_.back().filter == Filter::extras;
    const bool isList = type == json::value_t::array;
    const bool isKept = skipped_ == 0 && !isOfExtras && !(isList && next_ == Filter::extras);
    json* const kept = isKept ? place(json(type)) : nullptr;
    if (kept == nullptr) {
      ++skipped_;
    } else {
      levels_.push_back({kept, isList ? Filter::none : next_});
      next_ = Filter::none;
    }
    return count();
  }

  bool leave() {
    --depth_;
    next_ = Filter::none;
    if (depth_ == 1 && contains(kExchangedLists, topKey_)) ranges[topKey_].end = offset();
    if (skipped_ > 0) {
      --skipped_;
    } else {
      levels_.pop_back();
    }
    return true;
  }

  const BasicStringRef text_;
  const char*& place_;
  std::vector<Level> levels_;
  json* member_ = nullptr;      // of the object at hand, whose value comes next; null when it is not kept
  Filter next_ = Filter::none;  // of the value that comes next
  std::string topKey_;          // of the document's member at hand
  std::size_t skipped_ = 0;     // how deep the parser stands in what is not kept
  std::size_t depth_ = 0;
  std::size_t values_ = 0;
};

const json& valueOf(const void* value) {
  return *static_cast<const json*>(value);
}

}  // namespace

GltfTree::GltfTree() = default;
GltfTree::GltfTree(GltfTree&&) noexcept = default;
GltfTree& GltfTree::operator=(GltfTree&&) noexcept = default;
GltfTree::~GltfTree() = default;

Result<GltfTree> GltfTree::parse(BasicStringRef text) {
  if (text.size() > kMaxGltfText) {
    return gltfFault("has a JSON text of " + std::to_string(text.size()) + " bytes; at most " +
                         std::to_string(kMaxGltfText >> 20U) + " MiB can be imported",
                     "export it as a .glb, without extras");
  }
  const char* place = text.data();
  const char* end = text.data() + text.size();
  TreeBuilder builder(text, place);
  json::sax_parse(Cursor{&place}, Cursor{&end}, &builder);
  if (builder.fault) return *std::move(builder.fault);
  if (!builder.root->value.is_object()) return gltfFault("holds no JSON object");
  GltfTree tree;
  tree.root_ = std::move(builder.root);
  tree.ranges_ = std::move(builder.ranges);
  tree.bodyBegin_ = builder.bodyBegin;
  return tree;
}

Result<void> GltfTree::read(const GltfObject::Visit& visit) const {
  std::optional<Fault> fault;
  const GltfObject::Context context{&root_->value, fault};
  visit(GltfObject(context, &root_->value));
  if (fault) return *std::move(fault);
  return {};
}

std::optional<TextRange> GltfTree::rangeOf(BasicStringRef name) const {
  const auto found = ranges_.find(name);
  return found == ranges_.end() ? std::nullopt : std::optional(found->second);
}

const void* GltfObject::find(BasicStringRef key) const {
  const json& object = valueOf(json_);
  const auto found = object.find(key);
  return found == object.end() ? nullptr : &*found;
}

std::string GltfObject::placeOf(BasicStringRef key, std::optional<std::size_t> index) const {
  std::string place = parent_ == nullptr ? std::string() : parent_->placeOf(key_, index_);
  if (key.empty()) return place;
  place += (place.empty() ? "" : ".") + shownKey(key);
  if (index) place += '[' + std::to_string(*index) + ']';
  return place;
}

void GltfObject::failAt(BasicStringRef key, const std::string& fault,
                        std::optional<std::size_t> index) const {
  if (context_.fault) return;
  context_.fault = gltfFault(placeOf(key, index) + ' ' + fault);
}

void GltfObject::fail(const std::string& fault) const {
  failAt({}, fault);
}

bool GltfObject::isEmpty() const {
  return valueOf(json_).empty();
}

bool GltfObject::has(BasicStringRef key) const {
  return find(key) != nullptr;
}

std::uint32_t GltfObject::numberOf(const void* value, BasicStringRef key,
                                   std::optional<std::size_t> index) const {
  if (!valueOf(value).is_number_unsigned()) {
    failAt(key, "is not a whole number from 0 up", index);
    return 0;
  }
  const auto number = valueOf(value).get<std::uint64_t>();
  if (number <= kMaxNumber) return static_cast<std::uint32_t>(number);
  failAt(key, "is " + std::to_string(number) + ", which is more than any file holds", index);
  return 0;
}

std::uint32_t GltfObject::number(BasicStringRef key, std::uint32_t fallback) const {
  const void* const value = find(key);
  return value == nullptr ? fallback : numberOf(value, key);
}

std::uint32_t GltfObject::requiredNumber(BasicStringRef key) const {
  if (!has(key)) fail("has no " + quotedName(key));
  return number(key, 0);
}

std::uint32_t GltfObject::indexOf(const void* value, BasicStringRef list, BasicStringRef key,
                                  std::optional<std::size_t> index) const {
  const std::uint32_t number = numberOf(value, key, index);
  const json& document = valueOf(context_.root);
  const auto found = document.find(list);
  if (found != document.end() && !found->is_array()) {
    if (!context_.fault) context_.fault = gltfFault(std::string(list) + " is not an array");
    return 0;
  }
  const std::size_t count = found == document.end() ? 0 : found->size();
  if (number < count) return number;
  failAt(
      key,
      "is " + std::to_string(number) + ", but there are " + std::to_string(count) + " " + std::string(list),
      index);
  return 0;
}

std::optional<std::uint32_t> GltfObject::index(BasicStringRef key, BasicStringRef list) const {
  const void* const value = find(key);
  if (value == nullptr) return std::nullopt;
  return indexOf(value, list, key);
}

std::uint32_t GltfObject::requiredIndex(BasicStringRef key, BasicStringRef list) const {
  if (!has(key)) fail("has no " + quotedName(key));
  return index(key, list).value_or(0);
}

std::vector<std::uint32_t> GltfObject::indices(BasicStringRef key, BasicStringRef list) const {
  std::vector<std::uint32_t> indices;
  const void* const value = find(key);
  if (value == nullptr) return indices;
  if (!valueOf(value).is_array()) {
    failAt(key, "is not an array");
    return indices;
  }
  indices.reserve(valueOf(value).size());
  for (const json& element : valueOf(value)) indices.push_back(indexOf(&element, list, key, indices.size()));
  return indices;
}

GltfIndicesByName GltfObject::indicesByName(BasicStringRef key, BasicStringRef list) const {
  GltfIndicesByName indices;
  object(key, [&](const GltfObject& members) { indices = members.indicesByName(list); });
  return indices;
}

GltfIndicesByName GltfObject::indicesByName(BasicStringRef list) const {
  GltfIndicesByName indices;
  for (const auto& [name, value] : valueOf(json_).get_ref<const json::object_t&>())
    indices.emplace_back(name, indexOf(&value, list, name));
  return indices;
}

GltfIndicesByName GltfObject::numbersByName(BasicStringRef key) const {
  GltfIndicesByName numbers;
  requiredObject(key, [&](const GltfObject& members) {
    for (const auto& [name, value] : valueOf(members.json_).get_ref<const json::object_t&>())
      numbers.emplace_back(name, members.numberOf(&value, name));
  });
  return numbers;
}

std::string GltfObject::text(BasicStringRef key) const {
  const void* const value = find(key);
  if (value == nullptr) return {};
  if (valueOf(value).is_string()) return valueOf(value).get<std::string>();
  failAt(key, "is not a string");
  return {};
}

std::vector<std::string> GltfObject::texts(BasicStringRef key) const {
  std::vector<std::string> texts;
  const void* const value = find(key);
  if (value == nullptr) return texts;
  if (!valueOf(value).is_array()) failAt(key, "is not an array");
  for (const json& element : valueOf(value)) {
    if (!element.is_string()) failAt(key, "is not a string", texts.size());
    texts.push_back(element.is_string() ? element.get<std::string>() : std::string());
  }
  return texts;
}

bool GltfObject::flag(BasicStringRef key) const {
  const void* const value = find(key);
  if (value == nullptr) return false;
  if (!valueOf(value).is_boolean()) failAt(key, "is neither true nor false");
  return valueOf(value) == true;
}

std::optional<double> GltfObject::real(BasicStringRef key) const {
  const void* const value = find(key);
  if (value == nullptr) return std::nullopt;
  if (valueOf(value).is_number()) return valueOf(value).get<double>();
  failAt(key, "is not a number");
  return std::nullopt;
}

std::vector<double> GltfObject::reals(BasicStringRef key, std::size_t count) const {
  const void* const found = find(key);
  if (found == nullptr) return {};
  const json& value = valueOf(found);
  const bool isNumbers = value.is_array() && value.size() == count &&
                         std::ranges::all_of(value, [](const json& element) { return element.is_number(); });
  if (isNumbers) return value.get<std::vector<double>>();
  failAt(key, "is not an array of " + std::to_string(count) + " numbers");
  return {};
}

std::optional<std::uint32_t> GltfObject::wholeReal(BasicStringRef key) const {
  const void* const value = find(key);
  if (value == nullptr) return std::nullopt;
  const json& number = valueOf(value);
  if (!number.is_number_float()) return numberOf(value, key);
  const auto real = number.get<double>();
  const bool isWhole = real >= 0 && real <= static_cast<double>(kMaxNumber) &&
                       real == static_cast<double>(static_cast<std::uint32_t>(real));
  if (isWhole) return static_cast<std::uint32_t>(real);
  failAt(key, "is not a whole number from 0 up");
  return std::nullopt;
}

bool GltfObject::isMarked(BasicStringRef key) const {
  const void* const value = find(key);
  if (value == nullptr) return false;
  return valueOf(value) == true || (valueOf(value).is_number() && valueOf(value).get<double>() != 0);
}

void GltfObject::object(BasicStringRef key, const Visit& visit) const {
  const void* const value = find(key);
  if (value == nullptr) return;
  if (!valueOf(value).is_object()) return failAt(key, "is not an object");
  visit(GltfObject(*this, value, key, {}));
}

void GltfObject::requiredObject(BasicStringRef key, const Visit& visit) const {
  const void* const value = find(key);
  if (value == nullptr || !valueOf(value).is_object()) return fail("has no object " + quotedName(key));
  visit(GltfObject(*this, value, key, {}));
}

void GltfObject::anyObject(BasicStringRef key, const Visit& visit) const {
  const void* const value = find(key);
  if (value != nullptr && valueOf(value).is_object()) visit(GltfObject(*this, value, key, {}));
}

void GltfObject::objects(BasicStringRef key, const Visit& visit) const {
  const void* const list = find(key);
  if (list == nullptr) return;
  if (!valueOf(list).is_array()) return failAt(key, "is not an array");
  std::size_t index = 0;
  for (const json& element : valueOf(list)) {
    if (!element.is_object()) return failAt(key, "is not an object", index);
    visit(GltfObject(*this, &element, key, index++));
  }
}

void GltfObject::requiredObjects(BasicStringRef key, const Visit& visit) const {
  if (!has(key)) fail("has no " + quotedName(key));
  objects(key, visit);
}

std::size_t GltfObject::sizeOf(BasicStringRef list) const {
  const void* const value = find(list);
  return value == nullptr ? 0 : valueOf(value).size();
}

}  // namespace Tal
