#pragma once

#include <authoring/outcome.h>
#include <authoring/session.h>
#include <core/result.h>

#include <signal.h>  // NOLINT(modernize-deprecated-headers): sets of signals are POSIX
#include <chrono>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Tal::cli {

/// Ends the command with exit status 1; its text is the message.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  explicit Refusal(const Fault& fault) : Refusal(textOf(fault)) {}
};

/// How much a message matters, which a word in front of it says.
enum class Severity { information, warning, error };

/// What the commands share: where their results and messages go, and the resource roots.
class Tool {
 public:
  /// The roots of the command line, in order; used before any other.
  std::vector<std::string>& givenRoots() noexcept { return givenRoots_; }

  /// Adds to the results; they reach standard output at the next flush.
  void print(std::string_view text) { pending_ += text; }

  /// Writes the results to standard output. False when that fails: a message says so, and what was done all
  /// the same; there is none when only the reader went away and nothing was done.
  bool flush();

  /// Notes what the command has changed, whatever becomes of its results: "the model was saved".
  void noteDone(std::string what) { done_ = std::move(what); }

  /// Whether what is only information is said of each step.
  static bool& isVerbose() noexcept;

  /// Writes one message to standard error, as one line, whatever the text holds.
  static void say(Severity severity, std::string_view text);

  /// Sets up the resource roots, unless they are: those given, else the environment's, else the nearest
  /// folder upwards that holds a database. Refuses when there are none or one is no folder.
  void setUpRoots() const;

  /// Sets up the roots and opens a session on a model, or refuses.
  std::unique_ptr<authoring::Session> openSession(const std::string& model) const;

  /// The category of a name, or a refusal: "none" is not one either.
  static KsDestructibleType destructibleCategory(const std::string& name);

  /// The value of a result, or a refusal.
  template <class Value>
  static Value check(Result<Value> result) {
    if (!result) throw Refusal(result.fault());
    if constexpr (!std::is_void_v<Value>) return *std::move(result);
  }

  /// Says the warnings of an edit that was done, or refuses.
  static authoring::Outcome checkEdit(Result<authoring::Outcome> outcome);

  /// Saves, says what the save drops and adds, and refuses when it failed. Whether the file was changed.
  bool save(authoring::Session& session);

  /// The same for any other operation that saves the database.
  bool save(const std::function<Result<authoring::Outcome>()>& operation);

 private:
  std::vector<std::string> givenRoots_;
  std::string pending_;
  std::string done_;
};

/// Keeps interrupts waiting while it lives, so that a write ends before the program does; also in the threads
/// that are started meanwhile.
class HeldInterrupts {
 public:
  explicit HeldInterrupts(std::initializer_list<int> signals = {SIGINT, SIGTERM, SIGHUP});
  ~HeldInterrupts();
  HeldInterrupts(const HeldInterrupts&) = delete;
  HeldInterrupts& operator=(const HeldInterrupts&) = delete;

  /// Takes one that has come, or comes within a time of less than a second; false when none does.
  bool takeWithin(std::chrono::nanoseconds time) const;

 private:
  sigset_t held_{};
  sigset_t before_{};
};

/// A text in which nothing acts on a terminal: control characters and bytes that are not UTF-8 are escaped,
/// and what is escaped already stays as it is.
std::string harmless(std::string_view text);

/// Makes every logged message one line of standard error; information only if the tool is verbose.
void sendMessagesToStandardError();

}  // namespace Tal::cli
