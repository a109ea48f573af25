#include <core/debug_message.h>
#include <core/display_text.h>
#include <core/format.h>
#include <core/stack_tracker.h>

#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <cstdarg>
#include <memory>
#include <mutex>
#include <utility>

namespace Tal {
namespace {

constexpr int kWarningPriority = 4;
constexpr int kErrorPriority = 5;
constexpr int kInfoPriority = 2;

spdlog::level::level_enum levelOf(const DebugMessage& message) {
  if (message.isCritical) return spdlog::level::critical;
  if (message.messagePriority >= kErrorPriority) return spdlog::level::err;
  if (message.messagePriority == kWarningPriority) return spdlog::level::warn;
  return message.messagePriority >= kInfoPriority ? spdlog::level::info : spdlog::level::debug;
}

BasicStringRef withoutLineEnd(BasicStringRef text) {
  const auto last = text.find_last_not_of("\r\n");
  return last == BasicStringRef::npos ? BasicStringRef() : text.substr(0, last + 1);
}

spdlog::logger* makeLogger() {
  auto* const made =
      new spdlog::logger("destructibles", std::make_shared<spdlog::sinks::stderr_color_sink_mt>());
  made->set_pattern("%^%l%$: %v");
  made->set_level(spdlog::level::trace);
  return made;
}

/// Where messages go. Never destroyed: objects that live until the end of the process log as well.
struct Output {
  std::mutex mutex_;
  DebugMessageHelper::Sink sink_;
  spdlog::logger* logger_ = makeLogger();
};

Output& output() {
  static auto& made = *new Output;
  return made;
}

void writeToStandardError(spdlog::logger& logger, const DebugMessage& message) {
  const spdlog::level::level_enum level = levelOf(message);
  logger.log(level, escapeControls(withoutLineEnd(message.text)));
  if (!message.callStack.empty())
    logger.log(level, "running at the time:\n{}", withoutLineEnd(message.callStack));
}

void deliver(const DebugMessage& message) {
  Output& to = output();
  const std::lock_guard lock(to.mutex_);
  if (to.sink_) {
    to.sink_(message);
  } else {
    writeToStandardError(*to.logger_, message);
  }
}

}  // namespace

DebugMessageHelper::DebugMessageHelper(std::pair<int, int> priority, BasicStringRef category, int source)
    : priority_(std::move(priority)), category_(category), source_(source) {}

void DebugMessageHelper::message(BasicStringRef text) const {
  DebugMessage message;
  message.componentPriority = priority_.first;
  message.messagePriority = priority_.second;
  message.category = category_;
  message.source = source_;
  message.text = text;
  deliver(message);
}

void DebugMessageHelper::criticalMessage(const char* file, unsigned line, const char* format, ...) {
  DebugMessage message;
  va_list arguments;
  va_start(arguments, format);
  message.text = formatList(format, arguments);
  va_end(arguments);
  message.isCritical = true;
  message.messagePriority = kErrorPriority;
  message.file = file;
  message.line = line;
  message.callStack = StackTracker::text();
  deliver(message);
}

DebugMessageHelper::Sink DebugMessageHelper::setSink(Sink sink) {
  Output& to = output();
  const std::lock_guard lock(to.mutex_);
  return std::exchange(to.sink_, std::move(sink));
}

}  // namespace Tal
