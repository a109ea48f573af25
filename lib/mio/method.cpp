#include <core/format.h>
#include <mio/method.h>

#include <utility>

namespace mio {

GenericFunctionError::GenericFunctionError(unsigned accepted, unsigned passed)
    : std::runtime_error(
          Tal::formatString("function accepts %u args, but %u were passed", accepted, passed)) {}

Method::Method(std::string name, unsigned argumentCount, Function function)
    : name_(std::move(name)), argumentCount_(argumentCount), function_(std::move(function)) {}

tyk::Variant Method::invoke(Object& object, Arguments arguments, SetterFlags flags) const {
  if (arguments.size() != argumentCount_)
    throw GenericFunctionError(argumentCount_, static_cast<unsigned>(arguments.size()));
  return function_(object, arguments, flags);
}

}  // namespace mio
