#pragma once

#include <core/string_ref.h>
#include <model/gltf_fault.h>

#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>

namespace Tal {

/// A key of a document as faults show it: its beginning, with control characters escaped.
std::string shownGltfKey(BasicStringRef key);

/// Where a value stands in a JSON document, as a chain up to the top. It is written out only when something
/// is wrong with the value. The places above it and the key must outlive it.
struct GltfPlace {
  const GltfPlace* parent;  ///< the list or object that holds the value; null for the document itself
  BasicStringRef key;       ///< the value's key in an object; without data (a default view) in a list
  std::size_t index;        ///< its place in a list

  /// The place as in "meshes[0].primitives[1].indices".
  std::string text() const;

  /// Throws a GltfFault: the place, a space and `fault`.
  [[noreturn]] void fail(const std::string& fault) const;
};

/// What is called for a value and its place; Json is the JSON library's type of values. That is a parameter
/// here and below because headers do not include the library.
template <class Json>
using GltfVisit = std::function<void(const Json& value, const GltfPlace& place)>;

/// Calls `visit` for every value at `path`, in the document's order. `path` is keys joined by dots, "[]"
/// behind a key for each element of that list, "{}" for each member of that object; it begins at `value`,
/// which stands at `place` (null for the whole document). What is absent is not visited; a list, an object or
/// an element of another type is a GltfFault. The recursion is as deep as the path has steps.
template <class Json>
void walkGltf(const Json& value, const GltfPlace* place, BasicStringRef path,
              const std::type_identity_t<GltfVisit<Json>>& visit) {
  if (path.empty()) return visit(value, *place);
  if (path.starts_with("[]")) {
    if (!value.is_array()) place->fail("is no list");
    std::size_t index = 0;
    for (const Json& element : value) {
      const GltfPlace elementPlace{place, {}, index++};
      walkGltf(element, &elementPlace, path.substr(2), visit);
    }
    return;
  }
  if (path.starts_with("{}")) {
    if (!value.is_object()) place->fail("is no object");
    for (const auto& member : value.items()) {
      const GltfPlace memberPlace{place, member.key(), 0};
      walkGltf(member.value(), &memberPlace, path.substr(2), visit);
    }
    return;
  }
  if (path.starts_with('.')) path.remove_prefix(1);
  if (!value.is_object()) {
    if (place == nullptr) throw GltfFault("holds no JSON object");
    place->fail("is no object");
  }
  const BasicStringRef key = path.substr(0, path.find_first_of(".[{"));
  const auto found = value.find(key);
  if (found == value.end()) return;
  const GltfPlace memberPlace{place, key, 0};
  walkGltf(*found, &memberPlace, path.substr(key.size()), visit);
}

}  // namespace Tal
