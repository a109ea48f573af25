#include <core/debug_message.h>
#include <core/format.h>
#include <core/stack_tracker.h>

#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>

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

void writeToStandardError(const DebugMessage& message) {
  static const auto logger = [] {
    auto made = std::make_shared<spdlog::logger>("destructibles",
                                                 std::make_shared<spdlog::sinks::stderr_color_sink_mt>());
    made->set_pattern("%^%l%$: %v");
    return made;
  }();
  const spdlog::level::level_enum level = levelOf(message);
  logger->log(level, escapeControls(withoutLineEnd(message.text)));
  if (!message.callStack.empty())
    logger->log(level, "running at the time:\n{}", withoutLineEnd(message.callStack));
}

std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

DebugMessageHelper::Sink& currentSink() {
  static DebugMessageHelper::Sink sink;
  return sink;
}

void deliver(const DebugMessage& message) {
  const std::lock_guard lock(sinkMutex());
  if (currentSink()) {
    currentSink()(message);
  } else {
    writeToStandardError(message);
  }
}

}  // namespace

DebugMessageHelper::DebugMessageHelper(std::pair<int, int> priority, BasicStringRef category, int source)
    : priority_(priority), category_(category), source_(source) {}

void DebugMessageHelper::message(BasicStringRef format) const {
  DebugMessage message;
  message.componentPriority = priority_.first;
  message.messagePriority = priority_.second;
  message.category = category_;
  message.source = source_;
  message.text = format;
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
  const std::lock_guard lock(sinkMutex());
  return std::exchange(currentSink(), std::move(sink));
}

}  // namespace Tal
