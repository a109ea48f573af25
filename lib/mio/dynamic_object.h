#pragma once

#include <mio/object.h>
#include <mio/property.h>

#include <deque>
#include <functional>
#include <string>

namespace mio {

/// An object with properties that a host adds one by one, each computed when it is read.
/// Main thread only.
class DynamicObject : public Object {
 public:
  /// Adds a property that can only be read. `type` is what `read` gives. Of two properties with the same name
  /// the first is found.
  void addProperty(std::string name, tyk::Variant::Type type, std::function<tyk::Variant()> read);

 protected:
  std::vector<const Property*> ownProperties() const override;

 private:
  std::deque<Property> properties_;  // whose elements keep their places
};

}  // namespace mio
