#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Tal {

/// The engine's own call stack: which tracked operations are running on the calling thread, outermost first.
/// It is part of every critical message. Each thread has a stack and a recorder of its own. Nothing is
/// tracked once a thread's data has been destroyed.
class StackTracker {
 public:
  struct Entry {
    const char* function;  ///< the qualified name of the operation
    const char* file;      ///< its source, without an extension
    unsigned line;         ///< the operation's fixed position number in that source
  };
  struct Event {
    enum class Kind { push, pop };
    Kind kind;
    Entry entry;  ///< what was pushed, or what the pop removed
  };
  using Recorder = std::function<void(const Event&)>;

  /// Puts an operation on the stack. Both texts are held, not copied, and must live until the pop.
  static void push(const char* function, const char* file, unsigned line);

  /// Takes the innermost operation off; nothing happens when the stack is empty.
  static void pop() noexcept;

  /// The running operations, outermost first; the reference is valid on this thread only.
  static const std::vector<Entry>& entries() noexcept;

  /// One line per running operation, innermost first, each "  at FUNCTION, FILE(LINE)\n"; empty when none
  /// runs.
  static std::string text();

  /// Makes `recorder` see every later push and pop of this thread, right after it happened, and returns the
  /// previous one. An empty recorder ends the recording. A recorder must neither throw nor set a recorder.
  static Recorder setRecorder(Recorder recorder);
};

/// Tracks one operation until the end of the scope, however it is left.
class TrackedScope {
 public:
  TrackedScope(const char* function, const char* file, unsigned line) {
    StackTracker::push(function, file, line);
  }
  ~TrackedScope() { StackTracker::pop(); }
  TrackedScope(const TrackedScope&) = delete;
  TrackedScope& operator=(const TrackedScope&) = delete;
};

}  // namespace Tal
