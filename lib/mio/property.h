#pragma once

#include <core/string_ref.h>
#include <mio/annotation.h>
#include <mio/object.h>
#include <tyk/variant.h>

#include <functional>
#include <string>

namespace mio {

/// One named value of objects: how to read and write it, and its annotations. Immutable. Main thread only.
class Property {
 public:
  using Reader = std::function<tyk::Variant(const Object&)>;
  using Writer = std::function<void(Object&, const tyk::Variant&)>;

  /// Reader and writer throw tyk::BadCast, without effect, for an object or value of another type. An empty
  /// writer makes the property read-only.
  Property(std::string name, tyk::Variant::Type type, Reader reader, Writer writer,
           Annotations annotations = Annotations());

  /// As a panel displays it.
  const std::string& name() const noexcept { return name_; }
  tyk::Variant::Type type() const noexcept { return type_; }
  bool isWritable() const noexcept { return static_cast<bool>(writer_); }
  const Annotations& annotations() const noexcept { return annotations_; }

 private:
  friend class BoundProperty;

  tyk::Variant read(const Object& object) const { return reader_(object); }
  /// Throws tyk::BadCast also when the property is read-only.
  void write(Object& object, const tyk::Variant& value) const;

  std::string name_;
  tyk::Variant::Type type_;
  Reader reader_;
  Writer writer_;
  Annotations annotations_;
};

/// A property together with the object that has it: what a panel edits. Valid as long as both live.
class BoundProperty {
 public:
  /// Not valid.
  BoundProperty() noexcept = default;
  BoundProperty(Object& object, const Property& property) noexcept : object_(&object), property_(&property) {}

  bool isValid() const noexcept { return property_ != nullptr; }

  /// Null when not valid.
  Object* object() const noexcept { return object_; }
  const Property* property() const noexcept { return property_; }

  /// The value; an empty variant when not valid. Throws tyk::BadCast when the property is not one of the
  /// object's class.
  tyk::Variant get() const;

  /// Sets the value, then calls the ChangeNotification of the object's class, then the property's OnChange.
  /// Has no effect when not valid.
  ///
  /// - Throws tyk::BadCast when the value is refused; then nothing is set or called.
  /// - What a method throws is passed on, with the value set.
  /// - A method may destroy the object and this handle.
  /// - Nothing is called for an object whose own class is not described.
  void set(const tyk::Variant& value, SetterFlags flags = SetterFlags::none) const;

  /// The options of the combo box; empty when there is none. Throws what computing them throws: tyk::BadCast
  /// when the parent offers a value of the wrong type.
  tyk::VariantList options() const;

 private:
  Object* object_ = nullptr;
  const Property* property_ = nullptr;
};

}  // namespace mio
