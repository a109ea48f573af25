#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <string>

namespace Tal {

/// A fault when the name can never name a resource; it says why as a clause about the name ("is absolute").
Result<void> checkResourceName(BasicStringRef resourceName);

/// The one spelling of a resource name that may be used: no empty steps and no ".".
std::string normalisedName(BasicStringRef resourceName);

}  // namespace Tal
