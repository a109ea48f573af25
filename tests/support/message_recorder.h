#pragma once

#include <core/debug_message.h>

#include <string>
#include <string_view>
#include <vector>

namespace support {

/// Receives every message that is logged in its scope, instead of standard error. Recorders may be nested;
/// the innermost receives.
class MessageRecorder {
 public:
  MessageRecorder();
  ~MessageRecorder();
  MessageRecorder(const MessageRecorder&) = delete;
  MessageRecorder& operator=(const MessageRecorder&) = delete;

  const std::vector<Tal::DebugMessage>& messages() const noexcept { return messages_; }

  /// The texts alone, in the order in which they were logged.
  std::vector<std::string> texts() const;

  /// How many of the messages were critical.
  int criticalCount() const;

  void clear() { messages_.clear(); }

 private:
  std::vector<Tal::DebugMessage> messages_;
  Tal::DebugMessageHelper::Sink previous_;
};

}  // namespace support
