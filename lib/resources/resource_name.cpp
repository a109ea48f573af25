#include <resources/documents/section_path.h>
#include <resources/resource_name.h>

namespace Tal {

namespace {

/// Why a name can never name a resource; empty when it can.
BasicStringRef faultOf(BasicStringRef resourceName) {
  if (resourceName.empty()) return "is empty";
  if (resourceName.front() == '/') return "is absolute";
  if (resourceName.find('\0') != BasicStringRef::npos) return "holds a NUL character";
  if (resourceName.find('\\') != BasicStringRef::npos) return "holds a backslash, where names have slashes";
  for (BasicStringRef rest = resourceName; !rest.empty();)
    if (takeStep(rest) == "..") return "holds \"..\"";
  return normalisedName(resourceName).empty() ? "names no file" : "";
}

}  // namespace

Result<void> checkResourceName(BasicStringRef resourceName) {
  const BasicStringRef fault = faultOf(resourceName);
  if (fault.empty()) return {};
  return Fault{FaultKind::refused, std::string(fault),
               "give a name below the resource roots, such as \"scripts/destructibles.xml\""};
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
