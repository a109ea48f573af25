#pragma once

#include <sys/wait.h>

#include <unistd.h>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

namespace durability {

/// Another process of this program, which works until it is killed.
class Victim {
 public:
  template <class Work>
  explicit Victim(const Work& work) : id_(::fork()) {
    if (id_ != 0) return;
    work();
    while (true) ::pause();
  }
  ~Victim() { killHard(); }
  Victim(const Victim&) = delete;
  Victim& operator=(const Victim&) = delete;

  /// Kills it if that was not done; returns when it is dead.
  void killHard() {
    if (id_ <= 0) return;
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
    id_ = -1;
  }

 private:
  pid_t id_;
};

/// Waits until a condition is true; false when it takes more than a minute.
template <class Condition>
bool await(const Condition& isTrue) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!isTrue()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  return true;
}

/// `usual`, or what the environment variable DESTRUCTIBLES_KILLS says.
inline int killsToDo(int usual) {
  const char* const text = std::getenv("DESTRUCTIBLES_KILLS");
  const int kills = text == nullptr ? 0 : std::atoi(text);
  return kills > 0 ? kills : usual;
}

}  // namespace durability
