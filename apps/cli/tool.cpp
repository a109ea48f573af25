#include <authoring/category.h>
#include <cli/table.h>
#include <cli/tool.h>
#include <core/debug_message.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <destructibles/database_format.h>
#include <files/file_identity.h>
#include <resources/data_section_cache.h>
#include <resources/file_system.h>

#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <set>
#include <sstream>
#include <system_error>

namespace Tal::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRootVariable = "DESTRUCTIBLES_ROOT";
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

std::vector<fs::path> rootsOfList(const std::string& list) {
  std::vector<fs::path> roots;
  std::istringstream stream(list);
  for (std::string root; std::getline(stream, root, ':');)
    if (!root.empty()) roots.emplace_back(root);
  return roots;
}

// The nearest folder from the current one upwards that holds a database; none when there is no such folder.
std::vector<fs::path> rootUpwards() {
  std::error_code error;
  for (fs::path folder = fs::current_path(error); !error; folder = folder.parent_path()) {
    // Also one that cannot be read, rather than another one further up.
    std::error_code ignored;
    const fs::file_status database = fs::symlink_status(folder / database_format::kDatabaseFile, ignored);
    if (database.type() != fs::file_type::not_found) return {folder};
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

Severity severityOf(const DebugMessage& message) {
  constexpr int kWarning = 4;
  if (message.messagePriority < kWarning) return Severity::information;
  return message.messagePriority == kWarning ? Severity::warning : Severity::error;
}

// What stands in front of a message of standard error.
std::string leadOf(Severity severity) {
  const Style style = Style::ofStandardError();
  if (severity == Severity::error) return style.error("error:") + ' ';
  return severity == Severity::warning ? style.warning("warning:") + ' ' : "";
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

void sendMessagesToStandardError() {
  // What several steps of one command meet again is said once.
  DebugMessageHelper::setSink([last = std::string()](const DebugMessage& message) mutable {
    const Severity severity = severityOf(message);
    if (message.text == last || (severity == Severity::information && !Tool::isVerbose())) return;
    last = message.text;
    Tool::say(severity, message.text);
  });
}

bool& Tool::isVerbose() noexcept {
  static bool s_isVerbose = false;
  return s_isVerbose;
}

bool Tool::flush() {
  const bool isWritten = writeAll(STDOUT_FILENO, pending_);
  const int error = errno;
  pending_.clear();
  if (!isWritten && (error != EPIPE || !done_.empty())) {
    say(Severity::error,
        "the results could not be written to standard output: " + std::generic_category().message(error) +
            (done_.empty() ? "" : "; " + done_ + " all the same"));
  }
  return isWritten;
}

void Tool::say(Severity severity, std::string_view text) {
  writeAll(STDERR_FILENO, "destructibles: " + leadOf(severity) + harmless(text) + "\n");
}

void Tool::setUpRoots() const {
  if (FS::fileSystem() != nullptr) return;
  std::vector<fs::path> roots = chooseRoots(givenRoots_);
  if (roots.empty()) {
    throw Refusal(std::string("no resource root: no folder from here upwards holds ") +
                  database_format::kDatabaseFile + "; give one with --root DIR or " + kRootVariable +
                  ", or make one with \"destructibles init DIR\"");
  }
  FS::setFileSystem(check(FS::MultiFileSystem::open(std::move(roots))));
}

std::unique_ptr<authoring::Session> Tool::openSession(const std::string& model) const {
  setUpRoots();
  return check(authoring::Session::open(model));
}

KsDestructibleType Tool::destructibleCategory(const std::string& name) {
  const std::optional<KsDestructibleType> category = authoring::categoryFromName(name);
  if (category && category != DT_NON_DESTRUCTIBLE) return *category;
  std::vector<std::string> names = authoring::categoryNames();
  names.pop_back();
  throw Refusal("there is no category " + quotedName(name) + nameSuggestion(name, names));
}

authoring::Outcome Tool::checkEdit(Result<authoring::Outcome> outcome) {
  authoring::Outcome done = check(std::move(outcome));
  // Several entries or values may give the same warning.
  std::set<std::string_view> said;
  for (const std::string& warning : done.warnings)
    if (said.insert(warning).second) say(Severity::warning, warning);
  return done;
}

HeldInterrupts::HeldInterrupts(std::initializer_list<int> signals) {
  sigemptyset(&held_);
  for (const int signal : signals) sigaddset(&held_, signal);
  pthread_sigmask(SIG_BLOCK, &held_, &before_);
}

HeldInterrupts::~HeldInterrupts() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool HeldInterrupts::takeWithin(std::chrono::nanoseconds time) const {
  const timespec timeout{0, static_cast<long>(time.count())};
  return sigtimedwait(&held_, nullptr, &timeout) > 0;
}

namespace {

// What is to be said of the save waits until others may save and interrupts end the program again.
Result<authoring::Outcome> withoutInterrupt(const std::function<Result<authoring::Outcome>()>& operation) {
  const HeldInterrupts held;
  return operation();
}

}  // namespace

bool Tool::save(authoring::Session& session) {
  return save([&session] { return session.save(); });
}

bool Tool::save(const std::function<Result<authoring::Outcome>()>& operation) {
  // The versions that were read, before and after: nobody has to ask for the file again.
  const std::optional<files::FileIdentity> before = DataSectionCache::version(database_format::kDatabaseFile);
  checkEdit(withoutInterrupt(operation));
  const bool isChanged = DataSectionCache::version(database_format::kDatabaseFile) != before;
  if (isChanged) noteDone("the model was saved");
  return isChanged;
}

}  // namespace Tal::cli
