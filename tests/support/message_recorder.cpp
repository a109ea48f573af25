#include <support/message_recorder.h>

#include <algorithm>
#include <utility>

namespace support {

MessageRecorder::MessageRecorder()
    : previous_(Tal::DebugMessageHelper::setSink(
          [this](const Tal::DebugMessage& message) { messages_.push_back(message); })) {}

MessageRecorder::~MessageRecorder() {
  Tal::DebugMessageHelper::setSink(std::move(previous_));
}

std::vector<std::string> MessageRecorder::texts() const {
  std::vector<std::string> texts;
  for (const Tal::DebugMessage& message : messages_) texts.push_back(message.text);
  return texts;
}

int MessageRecorder::criticalCount() const {
  return static_cast<int>(std::count_if(messages_.begin(), messages_.end(),
                                        [](const Tal::DebugMessage& message) { return message.isCritical; }));
}

}  // namespace support
