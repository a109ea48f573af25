#include <core/format.h>
#include <core/stack_tracker.h>

#include <utility>

namespace Tal {
namespace {

thread_local std::vector<StackTracker::Entry> t_entries;
thread_local StackTracker::Recorder t_recorder;

void record(StackTracker::Event::Kind kind, const StackTracker::Entry& entry) {
  if (t_recorder) t_recorder({kind, entry});
}

}  // namespace

void StackTracker::push(const char* function, const char* file, unsigned line) {
  t_entries.push_back({function, file, line});
  record(Event::Kind::push, t_entries.back());
}

void StackTracker::pop() noexcept {
  if (t_entries.empty()) return;
  const Entry entry = t_entries.back();
  t_entries.pop_back();
  record(Event::Kind::pop, entry);
}

const std::vector<StackTracker::Entry>& StackTracker::entries() noexcept {
  return t_entries;
}

std::string StackTracker::text() {
  std::string text;
  for (auto entry = t_entries.rbegin(); entry != t_entries.rend(); ++entry) {
    text += formatString("  at %s, %s(%u)\n", entry->function, entry->file, entry->line);
  }
  return text;
}

StackTracker::Recorder StackTracker::setRecorder(Recorder recorder) {
  return std::exchange(t_recorder, std::move(recorder));
}

}  // namespace Tal
