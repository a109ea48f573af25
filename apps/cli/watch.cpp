#include <authoring/category.h>
#include <authoring/session.h>
#include <cli/commands.h>
#include <cli/options.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <render/render_system.h>
#include <resources/file_system.h>

#include <chrono>
#include <CLI/CLI.hpp>
#include <csignal>
#include <memory>
#include <string>

namespace Tal::cli {
namespace {

constexpr std::chrono::milliseconds kFrame{20};

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

void watch(const std::string& model, Tool& tool) {
  // They end the watch; one that comes at any time is found by the next wait.
  const HeldInterrupts endSignals({SIGINT, SIGTERM});
  const auto session = tool.openSession(model);
  bool isReloaded = false;
  const ks::Connection reloaded = session->connectReloaded([&isReloaded] { isReloaded = true; });
  tool.print("watching " + stateOf(*session));
  bool isHeard = tool.flush();
  while (isHeard && !endSignals.takeWithin(kFrame)) {
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
  CLI::App* const command =
      program.add_subcommand("watch", "Print a line whenever the database or the model is reloaded");
  addModel(*command, *model);
  command->footer("Example:\n  destructibles watch content/props/crate.model");
  command->callback([model, &tool] { watch(*model, tool); });
}

}  // namespace Tal::cli
