#pragma once

#include <support/mounted_root.h>

#include <resources/monitor.h>
#include <resources/resource_modification_listener.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// Writes down what is reported to it, one line per call: "added scripts/a.xml".
class RecordingListener : public Tal::ResourceModificationListener {
 public:
  std::vector<std::string> calls;
  std::vector<std::string> basePaths;
  std::function<void()> onCall = [] {};

  bool heard(const std::string& call) const {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
  }

 protected:
  void onResourceModified(const Tal::BasicStringRef& basePath, const Tal::BasicStringRef& resourceName,
                          Action action) override {
    const std::vector<std::string> verbs = {"added ", "modified ", "removed "};
    calls.push_back(verbs.at(static_cast<std::size_t>(action)) + std::string(resourceName));
    basePaths.emplace_back(basePath);
    const std::function<void()> call = onCall;  // which may exchange itself
    call();
  }
};

/// Pumps until the condition holds; false when that takes too long.
inline bool pumpUntil(const support::MountedRoot& root, const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    root.fileSystem().pump();
  }
  return true;
}

/// A root with a listener on its monitor.
class WatchedRoot : public support::MountedRoot {
 public:
  WatchedRoot() = default;
  WatchedRoot(const std::filesystem::path& name, std::string_view content) : MountedRoot(name, content) {}
  ~WatchedRoot() {
    if (isListening_) fileSystem().getFilesystemMonitor()->removeModificationListener(&listener);
  }
  WatchedRoot(const WatchedRoot&) = delete;
  WatchedRoot& operator=(const WatchedRoot&) = delete;

  void listen() {
    fileSystem().getFilesystemMonitor()->addModificationListener(&listener);
    isListening_ = true;
  }

  /// What was reported of the changes so far, in sum and by name: where a pump falls among the
  /// changes is chance. The calls are forgotten. A change of a file of its own, which comes last, shows that
  /// all came.
  std::vector<std::string> changes() {
    const std::string mark = "mark" + std::to_string(++marks_);
    write(mark, "");
    EXPECT_TRUE(pumpUntil(*this, [&] { return listener.heard("added " + mark); }));
    std::map<std::string, std::vector<std::string>> verbs;
    for (const std::string& call : std::exchange(listener.calls, {})) {
      const auto space = call.find(' ');
      verbs[call.substr(space + 1)].push_back(call.substr(0, space));
    }
    verbs.erase(mark);
    std::vector<std::string> sums;
    for (const auto& [name, reported] : verbs) {
      const bool wasThere = reported.front() != "added";
      const bool isThere = reported.back() != "removed";
      if (!wasThere && !isThere) continue;
      sums.push_back((isThere ? wasThere ? "modified " : "added " : "removed ") + name);
    }
    return sums;
  }

  RecordingListener listener;

 private:
  bool isListening_ = false;
  int marks_ = 0;
};
