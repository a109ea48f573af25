#include <core/format.h>
#include <core/stack_tracker.h>

#include <utility>
#include <vector>

namespace Tal {
namespace {

/// What one thread tracks. Objects that outlive the thread's data may still be tracked while they are
/// destroyed; this then passes without effect.
struct Tracking {
  Tracking() = default;
  Tracking(const Tracking&) = delete;
  Tracking& operator=(const Tracking&) = delete;
  ~Tracking();

  std::vector<StackTracker::Entry> entries_;
  StackTracker::Recorder recorder_;
};

thread_local bool t_isOver = false;
thread_local Tracking t_tracking;

Tracking::~Tracking() {
  t_isOver = true;
}

// Never destroyed, since it stands in for what is.
const std::vector<StackTracker::Entry>& s_nothing = *new std::vector<StackTracker::Entry>;

/// The calling thread's tracking; null once the thread's data is gone.
Tracking* tracking() {
  return t_isOver ? nullptr : &t_tracking;
}

void record(const Tracking& tracked, StackTracker::Event::Kind kind, const StackTracker::Entry& entry) {
  if (tracked.recorder_) tracked.recorder_({kind, entry});
}

}  // namespace

void StackTracker::push(const char* function, const char* file, unsigned line) {
  Tracking* const tracked = tracking();
  if (tracked == nullptr) return;
  tracked->entries_.push_back({function, file, line});
  record(*tracked, Event::Kind::push, tracked->entries_.back());
}

void StackTracker::pop() noexcept {
  Tracking* const tracked = tracking();
  if (tracked == nullptr || tracked->entries_.empty()) return;
  const Entry entry = tracked->entries_.back();
  tracked->entries_.pop_back();
  record(*tracked, Event::Kind::pop, entry);
}

const std::vector<StackTracker::Entry>& StackTracker::entries() noexcept {
  const Tracking* const tracked = tracking();
  return tracked != nullptr ? tracked->entries_ : s_nothing;
}

std::string StackTracker::text() {
  std::string text;
  const std::vector<Entry>& running = entries();
  for (auto entry = running.rbegin(); entry != running.rend(); ++entry) {
    text += formatString("  at %s, %s(%u)\n", entry->function, entry->file, entry->line);
  }
  return text;
}

StackTracker::Recorder StackTracker::setRecorder(Recorder recorder) {
  Tracking* const tracked = tracking();
  return tracked != nullptr ? std::exchange(tracked->recorder_, std::move(recorder)) : Recorder();
}

}  // namespace Tal
