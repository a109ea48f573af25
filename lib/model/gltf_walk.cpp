#include <core/display_text.h>
#include <model/gltf_walk.h>

namespace Tal {
namespace {

constexpr std::size_t kShownKeyLength = 64;

}  // namespace

std::string shownGltfKey(BasicStringRef key) {
  return escapeControls(key.substr(0, kShownKeyLength));
}

std::string GltfPlace::text() const {
  const std::string before = parent == nullptr ? std::string() : parent->text();
  if (key.data() == nullptr) return before + '[' + std::to_string(index) + ']';
  return (before.empty() ? before : before + '.') + shownGltfKey(key);
}

void GltfPlace::fail(const std::string& fault) const {
  throw GltfFault(text() + ' ' + fault);
}

}  // namespace Tal
