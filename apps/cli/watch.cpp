#include <authoring/category.h>
#include <authoring/session.h>
#include <cli/commands.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <render/render_system.h>
#include <resources/file_system.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <ctime>
#include <memory>
#include <string>

namespace Tal::cli {
namespace {

constexpr long kFrameNanoseconds = 20'000'000;

std::string countText(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string stateOf(authoring::Session& session) {
  const authoring::Description description = session.description();
  std::string text =
      escapeControls(session.modelName()) + ": " + std::string(authoring::categoryName(description.category));
  if (description.category == DT_STRUCTURE) {
    text += ", " + countText(description.modules.size(), "module") + ", " +
            countText(description.states.size(), "state");
  }
  if (description.fragile) text += ", health " + std::to_string(description.fragile->health);
  if (description.fallingAtom) text += ", health " + std::to_string(description.fallingAtom->health);
  return text + "\n";
}

/// The signals that end the watch. They are blocked from now on, in the threads that are started later too,
/// so that one that comes at any time is found by the next wait.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  }

  /// Waits for the length of a frame; true as soon as one of the signals has come.
  bool waitOneFrame() const {
    const timespec frame{0, kFrameNanoseconds};
    return sigtimedwait(&signals_, nullptr, &frame) > 0;
  }

 private:
  sigset_t signals_{};
};

void watch(const std::string& model, Tool& tool) {
  const EndSignals endSignals;
  const auto session = tool.openSession(model);
  bool isReloaded = false;
  const ks::Connection reloaded = session->connectReloaded([&isReloaded] { isReloaded = true; });
  tool.print("watching " + stateOf(*session));
  bool isHeard = tool.flush();
  while (isHeard && !endSignals.waitOneFrame()) {
    rs().beginFrame();
    FS::fileSystem()->pump();
    if (!isReloaded) continue;
    isReloaded = false;
    tool.print("reloaded " + stateOf(*session));
    isHeard = tool.flush();
  }
  if (!isHeard) throw Refusal("the watch ends, since nobody reads its results");
}

}  // namespace

void addWatch(CLI::App& program, Tool& tool) {
  auto model = std::make_shared<std::string>();
  CLI::App* const command = program.add_subcommand(
      "watch", "Print a line whenever the database changes and is read again, until interrupted");
  command->add_option("MODEL", *model, "The model's resource name")->required();
  command->footer("Example:\n  destructibles watch content/props/crate.model");
  command->callback([model, &tool] { watch(*model, tool); });
}

}  // namespace Tal::cli
