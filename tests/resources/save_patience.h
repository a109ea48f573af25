#pragma once

#include <resources/documents/save_queue.h>

#include <chrono>

/// How long a save waits for another program, for the length of a scope.
class SavePatience {
 public:
  explicit SavePatience(std::chrono::milliseconds patience) {
    Tal::SaveQueue::instance().setPatience(patience);
  }
  ~SavePatience() { Tal::SaveQueue::instance().setPatience(std::chrono::seconds(10)); }
  SavePatience(const SavePatience&) = delete;
  SavePatience& operator=(const SavePatience&) = delete;
};
