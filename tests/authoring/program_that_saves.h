#pragma once

#include <authoring/session_fixture.h>
#include <files/file_lock.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>

namespace Tal::authoring {

/// What looks like another program that is saving the database when this begins, and ends its save a moment
/// later: the lock does not ask who opened the file. (A real one, forked off, would be without the thread
/// that watches the roots, whatever that was doing.)
class ProgramThatSaves {
 public:
  ProgramThatSaves(const support::MountedRoot& folder, const std::string& text) {
    auto lock = files::FileLock::acquire(folder / "scripts/destructibles.xml", std::chrono::seconds(9));
    EXPECT_TRUE(lock);
    if (lock) lock_ = *std::move(lock);
    rest_ = std::thread([this, &folder, text] {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      folder.replace("scripts/destructibles.xml", text);
      lock_.reset();
    });
  }
  ~ProgramThatSaves() { rest_.join(); }
  ProgramThatSaves(const ProgramThatSaves&) = delete;
  ProgramThatSaves& operator=(const ProgramThatSaves&) = delete;

 private:
  std::optional<files::FileLock> lock_;
  std::thread rest_;
};

}  // namespace Tal::authoring
