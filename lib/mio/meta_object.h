#pragma once

#include <core/string_ref.h>
#include <mio/annotation.h>
#include <mio/method.h>
#include <mio/property.h>

#include <string>
#include <typeindex>
#include <vector>

namespace mio {

/// The description of a class: its registered name, and its annotations, methods and properties in the order
/// of registration. Immutable once registered (see Registration). Of two with the same name the first is
/// found. Main thread only.
class MetaObject {
 public:
  MetaObject(std::string typeName, std::type_index type) : typeName_(std::move(typeName)), type_(type) {}

  /// @name Finding
  /// Null when nothing is registered. Valid until the library that registered it is unloaded.
  /// @{

  static const MetaObject* find(std::type_index type) noexcept;
  static const MetaObject* find(Tal::BasicStringRef typeName) noexcept;
  template <class Described>
  static const MetaObject* of() noexcept {
    return find(std::type_index(typeid(Described)));
  }

  /// @}

  const std::string& typeName() const noexcept { return typeName_; }
  std::type_index type() const noexcept { return type_; }
  const Annotations& annotations() const noexcept { return annotations_; }
  const std::vector<Method>& methods() const noexcept { return methods_; }
  const std::vector<Property>& properties() const noexcept { return properties_; }

  /// By name; null when there is none.
  const Method* method(Tal::BasicStringRef name) const noexcept;
  const Property* property(Tal::BasicStringRef name) const noexcept;

 private:
  template <class Described>
  friend class MetaObjectBuilder;

  std::string typeName_;
  std::type_index type_;
  Annotations annotations_;
  std::vector<Method> methods_;
  std::vector<Property> properties_;
};

/// Keeps a meta-object registered as long as it lives. For a type or name that is already registered the
/// first one stays.
class Registration {
 public:
  /// Throws std::logic_error when a notification names a method that the class lacks or that takes arguments.
  /// In a static object that ends the program, so the mistake shows at once.
  explicit Registration(MetaObject metaObject);
  ~Registration();
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

  const MetaObject& metaObject() const noexcept { return metaObject_; }

 private:
  const MetaObject metaObject_;
};

}  // namespace mio
