#include <resources/documents/section_path.h>
#include <resources/resource_name.h>

namespace Tal {

std::string refusalOfName(BasicStringRef resourceName) {
  if (resourceName.empty()) return "is empty";
  if (resourceName.front() == '/') return "is absolute";
  if (resourceName.find('\0') != BasicStringRef::npos) return "holds a NUL character";
  if (resourceName.find('\\') != BasicStringRef::npos) return "holds a backslash, where names have slashes";
  for (BasicStringRef rest = resourceName; !rest.empty();)
    if (takeStep(rest) == "..") return "climbs out of its root";
  return normalisedName(resourceName).empty() ? "names no file" : "";
}

std::string normalisedName(BasicStringRef resourceName) {
  std::string name;
  while (!resourceName.empty()) {
    const BasicStringRef step = takeStep(resourceName);
    if (step.empty() || step == ".") continue;
    if (!name.empty()) name += '/';
    name += step;
  }
  return name;
}

}  // namespace Tal
