#include <cli/tool.h>
#include <core/debug_message.h>
#include <core/format.h>
#include <core/nearest_name.h>
#include <resources/file_system.h>

#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace Tal::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRootVariable = "DESTRUCTIBLES_ROOT";
constexpr const char* kDatabase = "scripts/destructibles.xml";
constexpr std::string_view kLineEnds = "\r\n";

bool writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::vector<fs::path> rootsOfList(std::string_view list) {
  std::vector<fs::path> roots;
  while (!list.empty()) {
    const std::string_view root = list.substr(0, list.find(':'));
    if (!root.empty()) roots.emplace_back(root);
    list.remove_prefix(std::min(root.size() + 1, list.size()));
  }
  return roots;
}

// The nearest folder from the current one upwards that holds a database; none when there is no such folder.
std::vector<fs::path> rootUpwards() {
  std::error_code error;
  for (fs::path folder = fs::current_path(error); !error; folder = folder.parent_path()) {
    std::error_code ignored;
    if (fs::exists(folder / kDatabase, ignored)) return {folder};
    if (folder == folder.parent_path()) break;
  }
  return {};
}

std::vector<fs::path> chooseRoots(const std::vector<std::string>& given) {
  if (!given.empty()) return {given.begin(), given.end()};
  const char* const list = std::getenv(kRootVariable);
  std::vector<fs::path> roots = list == nullptr ? std::vector<fs::path>() : rootsOfList(list);
  return roots.empty() ? rootUpwards() : roots;
}

}  // namespace

std::string harmless(std::string_view text) {
  while (!text.empty() && kLineEnds.find(text.back()) != std::string_view::npos) text.remove_suffix(1);
  std::string result;
  while (true) {
    const std::size_t length = std::min(text.find('\\'), text.size());
    result += escapeControls(text.substr(0, length));
    if (length == text.size()) return result;
    result += '\\';
    text.remove_prefix(length + 1);
  }
}

std::string shown(std::string_view name) {
  return escapeControls(name);
}

void sendMessagesToStandardError() {
  DebugMessageHelper::setSink([](const DebugMessage& message) { Tool::say(message.text); });
}

bool Tool::flush() {
  const bool isWritten = writeAll(STDOUT_FILENO, pending_);
  const int error = errno;
  pending_.clear();
  if (!isWritten && error != EPIPE)
    say("the results could not be written to standard output: " + std::generic_category().message(error));
  return isWritten;
}

void Tool::say(std::string_view text) {
  writeAll(STDERR_FILENO, "destructibles: " + harmless(text) + "\n");
}

void Tool::setUpRoots() const {
  std::vector<fs::path> roots = chooseRoots(givenRoots_);
  if (roots.empty()) {
    throw Refusal(std::string("no resource root: no folder from here upwards holds ") + kDatabase +
                  "; give one with --root DIR or " + kRootVariable +
                  ", or make one with \"destructibles init DIR\"");
  }
  for (const fs::path& root : roots) {
    std::error_code error;
    if (!fs::is_directory(root, error))
      throw Refusal("the resource root " + quotedName(root.native()) + " is no folder; name one that exists");
  }
  FS::setFileSystem(std::make_unique<FS::MultiFileSystem>(std::move(roots)));
}

std::unique_ptr<authoring::Session> Tool::openSession(const std::string& model) const {
  setUpRoots();
  authoring::Session::Opened opened = authoring::Session::open(model);
  if (!opened.session) throw Refusal(opened.refusal);
  return std::move(opened.session);
}

void Tool::check(const authoring::Outcome& outcome) {
  for (const std::string& warning : outcome.warnings) say(warning);
  if (!outcome) throw Refusal(outcome.refusal);
}

void Tool::save(authoring::Session& session) {
  for (const authoring::SaveWarning& warning : session.saveWarnings()) say(warning.text);
  check(session.save());
}

}  // namespace Tal::cli
