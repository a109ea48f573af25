#pragma once

#include <mio/generic_function_error.h>
#include <mio/object.h>
#include <mio/setter_flags.h>
#include <tyk/variant.h>

#include <functional>
#include <span>
#include <string>

namespace mio {

/// A function of a class that is called by its name. Immutable; main thread only.
class Method {
 public:
  using Arguments = std::span<const tyk::Variant>;
  using Function = std::function<tyk::Variant(Object&, Arguments, SetterFlags)>;

  /// `function` throws tyk::BadCast for an object or an argument of the wrong type.
  Method(std::string name, unsigned argumentCount, Function function);

  const std::string& name() const noexcept { return name_; }
  /// The number of explicit arguments, without the setter flags.
  unsigned argumentCount() const noexcept { return argumentCount_; }

  /// Calls the function and gives its result, an empty variant when it has none. Throws GenericFunctionError
  /// for another number of arguments, tyk::BadCast for an object or an argument of the wrong type, and what
  /// the function throws.
  tyk::Variant invoke(Object& object, Arguments arguments, SetterFlags flags = SetterFlags::none) const;

 private:
  std::string name_;
  unsigned argumentCount_;
  Function function_;
};

}  // namespace mio
