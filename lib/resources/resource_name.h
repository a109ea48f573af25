#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// Why a name can never name a resource; empty when it can.
std::string refusalOfName(BasicStringRef resourceName);

/// The one spelling of a resource name that may be used: no empty steps and no ".".
std::string normalisedName(BasicStringRef resourceName);

}  // namespace Tal
