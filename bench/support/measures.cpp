#include "measures.h"

#include <benchmark/benchmark.h>
#include <core/stack_tracker.h>
#include <destructibles/ks_destructibles_helper.h>
#include <fcntl.h>
#include <unistd.h>
#include <pugixml.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "database.h"

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

void writeAndRename(const std::string& bytes, const std::string& temporary, const std::string& target) {
  const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = write(file, bytes.data() + written, bytes.size() - written);
    if (count <= 0) break;
    written += static_cast<std::size_t>(count);
  }
  const bool isWhole = written == bytes.size() && fsync(file) == 0;
  close(file);
  if (!isWhole || std::rename(temporary.c_str(), target.c_str()) != 0)
    throw std::runtime_error("the file was not written");
}

// Lets the heap do now what it puts off when memory is given back, to the next large request.
void joinFreeMemory() {
  constexpr std::size_t kLarge = std::size_t{1} << 20U;
  benchmark::DoNotOptimize(std::make_unique<std::array<char, kLarge>>());
}

// A structure that is saved again and again.
class SavedStructure {
 public:
  SavedStructure(int model, unsigned moduleCount)
      : model_(moduleCount), helper_(model_.model(), modelName(model), model_.disabler()) {
    for (unsigned part = 0; part < moduleCount; ++part)
      helper_.updateDestructibleModule("n_wall_" + std::to_string(part), module_, true);
    if (!helper_.saveConfig()) throw std::runtime_error("the database was not saved");
  }

  std::chrono::nanoseconds save(bool isWhole) {
    pause();
    helper_.loadConfig(true);  // what an editor does after a save, when the monitor tells of it
    module_.health = module_.health % 1000 + 1;
    helper_.updateDestructibleModule("n_wall_0", module_, false);
    const LoadWatch watch;
    const Clock::time_point begin = Clock::now();
    if (!helper_.saveConfig()) throw std::runtime_error("the database was not saved");
    return (isWhole ? Clock::now() : watch.lastBegin()) - begin;
  }

 private:
  StructureModel model_;
  KsDestructiblesHelper helper_;
  Tal::KsDestructibleModuleDesc module_;
};

}  // namespace

void pause() {
  std::this_thread::sleep_for(std::chrono::milliseconds(25));
}

Side parseSide(const Studio& studio, std::string name) {
  return {std::move(name), [&studio] {
            return timeOf([&studio] {
              pugi::xml_document document;
              if (!document.load_buffer(studio.text().data(), studio.text().size()))
                throw std::runtime_error("the text was not parsed");
            });
          }};
}

Side firstLoadSide(const Studio& studio, std::string name) {
  return {std::move(name), [&studio] {
            KsDestructiblesHelper helper;
            studio.forget(helper);
            joinFreeMemory();
            return timeOf([&helper] {
              if (!helper.loadConfig(true)) throw std::runtime_error("the database was not loaded");
            });
          }};
}

Side writeSide(const Studio& studio, std::string name) {
  const std::string target = studio.file().string() + ".written";
  return {std::move(name), [&studio, target] {
            pause();
            return timeOf([&] { writeAndRename(studio.text(), target + ".new", target); });
          }};
}

Side saveSide(std::string name, int model, unsigned moduleCount, bool isWhole) {
  const auto structure = std::make_shared<SavedStructure>(model, moduleCount);
  return {std::move(name), [structure, isWhole] { return structure->save(isWhole); }};
}

}  // namespace bench
