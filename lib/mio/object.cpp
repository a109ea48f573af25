#include <mio/meta_object.h>
#include <mio/object.h>

#include <algorithm>
#include <typeinfo>

namespace mio {

struct Object::Kin {
  Object* parent = nullptr;
  std::vector<Object*> children;
  std::shared_ptr<bool> isAlive;
};

Object::Object() noexcept = default;

Object::Object(const Object& /*other*/) noexcept {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment, cert-oop54-cpp): nothing is assigned
Object& Object::operator=(const Object& /*other*/) noexcept {
  return *this;
}

Object::~Object() {
  if (!kin_) return;
  for (Object* const child : kin_->children) child->kin_->parent = nullptr;
  kin_->children.clear();
  setParent(nullptr);
  if (kin_->isAlive) *kin_->isAlive = false;
}

const MetaObject* Object::metaObject() const {
  return MetaObject::find(typeid(*this));
}

Object::Kin& Object::kin() const {
  if (!kin_) kin_ = std::make_unique<Kin>();
  return *kin_;
}

Object* Object::parent() const noexcept {
  return kin_ ? kin_->parent : nullptr;
}

bool Object::setParent(Object* parent) {
  for (const Object* above = parent; above != nullptr; above = above->parent())
    if (above == this) return false;
  if (parent == nullptr && !kin_) return true;
  if (Object* const before = kin().parent; before != nullptr) std::erase(before->kin_->children, this);
  kin_->parent = nullptr;
  if (parent != nullptr) parent->kin().children.push_back(this);
  kin_->parent = parent;
  return true;
}

const std::vector<Object*>& Object::children() const noexcept {
  static const std::vector<Object*> kNone;
  return kin_ ? kin_->children : kNone;
}

BoundProperty Object::property(Tal::BasicStringRef name) {
  const MetaObject* const meta = metaObject();
  if (const Property* const known = meta == nullptr ? nullptr : meta->property(name)) return {*this, *known};
  for (const Property* const own : ownProperties())
    if (own->name() == name) return {*this, *own};
  return {};
}

std::vector<BoundProperty> Object::properties() {
  std::vector<BoundProperty> all;
  if (const MetaObject* const meta = metaObject())
    for (const Property& known : meta->properties()) all.emplace_back(*this, known);
  for (const Property* const own : ownProperties()) all.emplace_back(*this, *own);
  return all;
}

std::vector<const Property*> Object::ownProperties() const {
  return {};
}

WeakObject::WeakObject(const Object& object) {
  std::shared_ptr<bool>& isAlive = object.kin().isAlive;
  if (!isAlive) isAlive = std::make_shared<bool>(true);
  isAlive_ = isAlive;
}

}  // namespace mio
