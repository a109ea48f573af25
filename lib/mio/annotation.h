#pragma once

#include <mio/setter_flags.h>
#include <tyk/variant.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace mio {

class BoundProperty;

/// Metadata of a property or a class, besides its name and type. A host may derive its own.
class Annotation {
 public:
  virtual ~Annotation() = default;

 protected:
  Annotation() = default;
  Annotation(const Annotation&) = default;
  Annotation& operator=(const Annotation&) = default;
};

/// Annotations in the order in which they were added.
class Annotations {
 public:
  template <class... Given>
  explicit Annotations(Given... given) {
    (add(std::move(given)), ...);
  }

  template <class Given>
  void add(Given annotation) {
    static_assert(std::is_base_of_v<Annotation, Given>);
    all_.push_back(std::make_shared<const Given>(std::move(annotation)));
  }

  /// The first annotation of that type, or of one derived from it; null when there is none.
  template <class Wanted>
  const Wanted* find() const noexcept {
    for (const auto& annotation : all_)
      if (const auto* const found = dynamic_cast<const Wanted*>(annotation.get())) return found;
    return nullptr;
  }

  const std::vector<std::shared_ptr<const Annotation>>& all() const noexcept { return all_; }

 private:
  std::vector<std::shared_ptr<const Annotation>> all_;
};

/// How many decimals a number is shown with.
struct Precision : Annotation {
  explicit Precision(int count) : decimals(count) {}
  int decimals;
};

/// Whether a text is completed while typing.
struct Autocomplete : Annotation {
  explicit Autocomplete(bool on) : isOn(on) {}
  bool isOn;
};

/// The values to choose from, computed on each request for the property that is edited.
struct ComboBox : Annotation {
  using Options = std::function<tyk::VariantList(const BoundProperty&)>;
  explicit ComboBox(Options computed) : options(std::move(computed)) {}
  Options options;
};

/// Calls a method of the object that owns a property, without explicit arguments.
class MethodCall : public Annotation {
 public:
  explicit MethodCall(std::string method) : method_(std::move(method)) {}

  const std::string& method() const noexcept { return method_; }

  /// Finds the method on the property's object and invokes it with the flags.
  void operator()(const BoundProperty& property, SetterFlags flags) const;

 private:
  std::string method_;
};

/// For a class: the method to call after any property of an object was set.
struct ChangeNotification : MethodCall {
  using MethodCall::MethodCall;
};

/// For a property: the method to call after it was set.
struct OnChange : MethodCall {
  using MethodCall::MethodCall;
};

}  // namespace mio
