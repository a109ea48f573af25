#include <render/render_system.h>
#include <resources/file_system.h>
#include <support/host.h>

#include <chrono>
#include <thread>

namespace support {

void Host::passFrame() {
  Tal::rs().beginFrame();
  Tal::FS::fileSystem()->pump();
}

bool Host::passFramesUntil(const std::function<bool()>& isTrue) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!isTrue()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    passFrame();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace support
