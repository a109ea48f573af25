#include <mio/meta_object.h>
#include <mio/property.h>

#include <utility>

namespace mio {

Property::Property(std::string name, tyk::Variant::Type type, Reader reader, Writer writer,
                   Annotations annotations)
    : name_(std::move(name)),
      type_(type),
      reader_(std::move(reader)),
      writer_(std::move(writer)),
      annotations_(std::move(annotations)) {}

void Property::write(Object& object, const tyk::Variant& value) const {
  if (!writer_) {
    throw tyk::BadCast(tyk::Variant::typeName(value.type()), "property " + name_ + ", which can only be read",
                       value.text());
  }
  writer_(object, value);
}

tyk::Variant BoundProperty::get() const {
  return isValid() ? property_->read(*object_) : tyk::Variant();
}

void BoundProperty::set(const tyk::Variant& value, SetterFlags flags) const {
  if (!isValid()) return;
  // Whoever is told may destroy the object, a property that only this object has, and this very handle.
  const BoundProperty self = *this;
  const WeakObject object(*object_);
  const Annotations annotations = property_->annotations();
  property_->write(*object_, value);
  if (!object.isAlive()) return;
  const MetaObject* const meta = self.object_->metaObject();
  if (const auto* const notify = meta == nullptr ? nullptr : meta->annotations().find<ChangeNotification>())
    (*notify)(self, flags);
  const auto* const onChange = annotations.find<OnChange>();
  if (onChange != nullptr && object.isAlive()) (*onChange)(self, flags);
}

tyk::VariantList BoundProperty::options() const {
  const auto* const comboBox = isValid() ? property_->annotations().find<ComboBox>() : nullptr;
  return comboBox == nullptr ? tyk::VariantList() : comboBox->options(*this);
}

void MethodCall::operator()(const BoundProperty& property, SetterFlags flags) const {
  Object* const object = property.object();
  const MetaObject* const meta = object == nullptr ? nullptr : object->metaObject();
  if (const Method* const method = meta == nullptr ? nullptr : meta->method(method_))
    method->invoke(*object, {}, flags);
}

}  // namespace mio
