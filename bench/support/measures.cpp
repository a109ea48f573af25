#include "measures.h"

#include <core/stack_tracker.h>
#include <destructibles/ks_destructibles_helper.h>
#include <fcntl.h>
#include <unistd.h>
#include <pugixml.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string_view>
#include <thread>
#include <utility>

#include "database.h"
#include "studio.h"

namespace bench {
namespace {

using Tal::KsDestructiblesHelper;
using Clock = std::chrono::steady_clock;

// Notes when each load begins, also the one that closes a save.
class LoadWatch {
 public:
  LoadWatch()
      : previous_(Tal::StackTracker::setRecorder([this](const Tal::StackTracker::Event& event) {
          const bool isPush = event.kind == Tal::StackTracker::Event::Kind::push;
          if (isPush && std::string_view(event.entry.function) == "Tal::KsDestructiblesHelper::loadConfig")
            lastBegin_ = Clock::now();
        })) {}
  ~LoadWatch() { Tal::StackTracker::setRecorder(previous_); }
  LoadWatch(const LoadWatch&) = delete;
  LoadWatch& operator=(const LoadWatch&) = delete;

  Clock::time_point lastBegin() const { return lastBegin_; }

 private:
  Clock::time_point lastBegin_;
  Tal::StackTracker::Recorder previous_;
};

bool writeAndRename(const std::string& bytes, const std::string& temporary, const std::string& target) {
  const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = write(file, bytes.data() + written, bytes.size() - written);
    if (count <= 0) break;
    written += static_cast<std::size_t>(count);
  }
  const bool isWhole = written == bytes.size() && fsync(file) == 0;
  close(file);
  return isWhole && std::rename(temporary.c_str(), target.c_str()) == 0;
}

// Lets the heap do now what it puts off when memory is given back, to the next large request.
void joinFreeMemory() {
  constexpr std::size_t kLarge = std::size_t{1} << 20U;
  benchmark::DoNotOptimize(std::make_unique<std::array<char, kLarge>>());
}

}  // namespace

void measureParse(benchmark::State& state, const std::string& bytes) {
  for (auto _ : state) {
    pugi::xml_document document;
    if (!document.load_buffer(bytes.data(), bytes.size())) state.SkipWithError("the text was not parsed");
    benchmark::DoNotOptimize(document.first_child());
  }
}

void measureFirstLoad(benchmark::State& state, std::string bytes) {
  const Studio studio(std::move(bytes));
  KsDestructiblesHelper helper;
  for (auto _ : state) {
    state.PauseTiming();
    studio.forget(helper);
    joinFreeMemory();
    state.ResumeTiming();
    if (!helper.loadConfig(true)) state.SkipWithError("the database was not loaded");
  }
}

void measureSaveWithoutReload(benchmark::State& state, std::string bytes, unsigned moduleCount) {
  Studio studio(std::move(bytes), moduleCount);
  KsDestructiblesHelper helper(studio.model(), modelName(10), studio.disabler());
  Tal::KsDestructibleModuleDesc desc;
  for (unsigned part = 0; part < moduleCount; ++part)
    helper.updateDestructibleModule("n_wall_" + std::to_string(part), desc, true);
  if (!helper.saveConfig()) state.SkipWithError("the database was not saved");
  const LoadWatch watch;
  for (auto _ : state) {
    hearOfTheSave(helper);
    desc.health = desc.health % 1000 + 1;
    helper.updateDestructibleModule("n_wall_0", desc, false);
    const Clock::time_point begin = Clock::now();
    if (!helper.saveConfig()) state.SkipWithError("the database was not saved");
    state.SetIterationTime(std::chrono::duration<double>(watch.lastBegin() - begin).count());
  }
}

void measureWriteOnce(benchmark::State& state, std::string bytes) {
  const Studio studio(std::move(bytes));
  const std::string target = studio.file();
  const std::string temporary = target + ".new";
  for (auto _ : state) {
    state.PauseTiming();
    pause();
    state.ResumeTiming();
    if (!writeAndRename(studio.text(), temporary, target)) state.SkipWithError("the file was not written");
  }
}

void pause() {
  std::this_thread::sleep_for(std::chrono::milliseconds(25));
}

void hearOfTheSave(KsDestructiblesHelper& helper) {
  pause();
  helper.loadConfig(true);
}

}  // namespace bench
