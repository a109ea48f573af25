#pragma once

#include <core/string_ref.h>

#include <functional>
#include <string>
#include <utility>

namespace Tal {

/// One logged message, as a sink receives it.
struct DebugMessage {
  int componentPriority = 0;
  int messagePriority = 0;  ///< 2 a completed change, 4 a warning, 5 a refused or failed operation
  std::string category;
  int source = 0;    ///< the message source; 0 is the editor itself
  std::string text;  ///< exactly as logged, line ends included
  bool isCritical = false;
  std::string file;       ///< critical messages: where it was raised, else empty
  unsigned line = 0;      ///< critical messages: the line in `file`, else 0
  std::string callStack;  ///< critical messages: StackTracker::text() of the raising thread, else empty
};

/// Logs messages to the process-wide sink. Usable on any thread; sinks run one at a time, on the thread that
/// logs.
class DebugMessageHelper {
 public:
  using Sink = std::function<void(const DebugMessage&)>;

  /// `priority` is the component's priority and the message's.
  DebugMessageHelper(std::pair<int, int> priority, BasicStringRef category, int source);

  /// Logs `text` verbatim; a '%' in it has no meaning.
  void message(BasicStringRef text) const;

  /// Logs a critical message, the printf text of `format` and its arguments, together with the call stack.
  [[gnu::format(printf, 3, 4)]] static void criticalMessage(const char* file, unsigned line,
                                                            const char* format, ...);

  /// Makes `sink` receive every later message and returns the previous one. An empty sink restores
  /// the default, which writes to standard error with control characters escaped. A sink must neither set a
  /// sink nor log.
  static Sink setSink(Sink sink);

 private:
  std::pair<int, int> priority_;
  std::string category_;
  int source_;
};

}  // namespace Tal
