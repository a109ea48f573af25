#pragma once

#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <functional>
#include <string>
#include <string_view>

namespace support {

inline constexpr const char* kDatabase = "scripts/destructibles.xml";

/// An engine that uses the module, in small: a resource root, a log, and frames.
class Host {
 public:
  void writeDatabase(std::string_view text) const { root_.write(kDatabase, text); }
  std::string readDatabase() const { return root_.read(kDatabase); }

  /// Begins the next frame and delivers what has changed in the files.
  static void passFrame();

  /// Lets frames pass until `isTrue`; false when that takes longer than 20 seconds.
  static bool passFramesUntil(const std::function<bool()>& isTrue);

 protected:
  MountedRoot root_;
  MessageRecorder messages_;
};

}  // namespace support
