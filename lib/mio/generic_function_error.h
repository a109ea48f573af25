#pragma once

#include <stdexcept>

namespace mio {

/// A method was called with the wrong number of arguments; it did not run.
class GenericFunctionError : public std::runtime_error {
 public:
  /// "function accepts 0 args, but 2 were passed".
  GenericFunctionError(unsigned accepted, unsigned passed);
};

}  // namespace mio
