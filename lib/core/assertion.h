#pragma once

namespace Tal {

/// Logs a failed development assertion as a critical message; execution continues. `source` and `line`
/// say where it is.
void reportAssertion(const char* expression, const char* source, unsigned line);

}  // namespace Tal
