#include <mio/meta_object.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

namespace mio {
namespace {

struct Registry {
  std::map<std::type_index, const MetaObject*> byType;
  std::map<std::string, const MetaObject*, std::less<>> byName;
};

// Made by the first registration, so it outlives all of them.
Registry& registry() {
  static Registry registry;
  return registry;
}

template <class Table, class Key>
const MetaObject* lookUp(const Table& table, const Key& key) noexcept {
  const auto found = table.find(key);
  return found == table.end() ? nullptr : found->second;
}

template <class Members>
auto memberNamed(const Members& members, Tal::BasicStringRef name) noexcept {
  const auto found = std::find_if(members.begin(), members.end(),
                                  [name](const auto& member) { return member.name() == name; });
  return found == members.end() ? nullptr : &*found;
}

template <class Table, class Key>
void forget(Table& table, const Key& key, const MetaObject* metaObject) {
  const auto found = table.find(key);
  if (found != table.end() && found->second == metaObject) table.erase(found);
}

void checkMethod(const MetaObject& metaObject, const MethodCall* call) {
  if (call == nullptr) return;
  const Method* const method = metaObject.method(call->method());
  if (method != nullptr && method->argumentCount() == 0) return;
  throw std::logic_error(metaObject.typeName() + " has no method \"" + call->method() +
                         "\" without arguments to be told with");
}

}  // namespace

const MetaObject* MetaObject::find(std::type_index type) noexcept {
  return lookUp(registry().byType, type);
}

const MetaObject* MetaObject::find(Tal::BasicStringRef typeName) noexcept {
  return lookUp(registry().byName, typeName);
}

const Method* MetaObject::method(Tal::BasicStringRef name) const noexcept {
  return memberNamed(methods_, name);
}

const Property* MetaObject::property(Tal::BasicStringRef name) const noexcept {
  return memberNamed(properties_, name);
}

Registration::Registration(MetaObject metaObject) : metaObject_(std::move(metaObject)) {
  checkMethod(metaObject_, metaObject_.annotations().find<ChangeNotification>());
  for (const Property& property : metaObject_.properties())
    checkMethod(metaObject_, property.annotations().find<OnChange>());
  const auto byType = registry().byType.emplace(metaObject_.type(), &metaObject_);
  try {
    registry().byName.emplace(metaObject_.typeName(), &metaObject_);
  } catch (...) {
    if (byType.second) registry().byType.erase(byType.first);
    throw;
  }
}

Registration::~Registration() {
  forget(registry().byType, metaObject_.type(), &metaObject_);
  forget(registry().byName, metaObject_.typeName(), &metaObject_);
}

}  // namespace mio
