#include <mio/dynamic_object.h>

#include <utility>

namespace mio {

void DynamicObject::addProperty(std::string name, tyk::Variant::Type type,
                                std::function<tyk::Variant()> read) {
  properties_.emplace_back(
      std::move(name), type, [read = std::move(read)](const Object& /*object*/) { return read(); }, nullptr);
}

std::vector<const Property*> DynamicObject::ownProperties() const {
  std::vector<const Property*> all;
  for (const Property& property : properties_) all.push_back(&property);
  return all;
}

}  // namespace mio
