#pragma once

namespace Tal {

/// Reports a development assertion that does not hold, as a critical message; execution continues. `source`
/// and `line` say where it stands.
void reportAssertion(const char* expression, const char* source, unsigned line);

}  // namespace Tal
