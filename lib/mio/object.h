#pragma once

#include <core/string_ref.h>
#include <mio/setter_flags.h>

#include <memory>
#include <vector>

namespace mio {

class BoundProperty;
class MetaObject;
class Property;

/// The base of everything that describes itself: records, and the objects of an editor's tree.
///
/// An object may have a parent and children; it owns neither. A copy starts without either, and an assignment
/// leaves those of both objects as they are. A move is a copy. Main thread only.
class Object {
 public:
  Object() noexcept;
  Object(const Object& other) noexcept;
  Object& operator=(const Object& other) noexcept;
  /// Leaves its children without a parent.
  virtual ~Object();

  /// What is registered for the object's type; null when nothing is.
  virtual const MetaObject* metaObject() const;

  /// @name The tree
  /// @{

  /// Null at the top.
  Object* parent() const noexcept;

  /// Makes this the last child of `parent`; null removes it from the tree. False, with no effect, when
  /// `parent` is this object or below it.
  bool setParent(Object* parent);

  /// In the order in which they were added; valid until the next change.
  const std::vector<Object*>& children() const noexcept;

  /// @}
  /// @name Properties
  /// @{

  /// The property of that display name, of the meta-object or else of this object alone; not valid when there
  /// is none.
  BoundProperty property(Tal::BasicStringRef name);

  /// Those of the meta-object in the order of their registration, then those of this object alone.
  std::vector<BoundProperty> properties();

  /// @}

 protected:
  /// Properties that only this object has and no meta-object knows; they live as long as the object.
  virtual std::vector<const Property*> ownProperties() const;

 private:
  friend class WeakObject;

  struct Kin;
  Kin& kin() const;

  mutable std::unique_ptr<Kin> kin_;  // most objects have none
};

/// Knows whether an object still lives. Main thread only.
class WeakObject {
 public:
  explicit WeakObject(const Object& object);

  bool isAlive() const noexcept { return *isAlive_; }

 private:
  std::shared_ptr<const bool> isAlive_;
};

}  // namespace mio
