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

/// The severity of a message, which its prefix shows.
enum class Severity { information, warning, error };

/// What the commands share: results, messages and the resource roots.
class Tool {
 public:
  /// The roots from the command line, in order; they replace any other.
  std::vector<std::string>& givenRoots() noexcept { return givenRoots_; }

  /// Adds to the results, which the next flush writes to standard output.
  void print(std::string_view text) { pending_ += text; }

  /// Writes the results to standard output. When that fails, false, with a message that also says what was
  /// done. There is none when the reader closed the pipe and nothing was done.
  bool flush();

  /// Records what the command has changed, for that message: "the model was saved".
  void noteDone(std::string what) { done_ = std::move(what); }

  /// Whether information is written to standard error, too.
  static bool& isVerbose() noexcept;

  /// Writes one message to standard error, as one line, whatever the text holds.
  static void say(Severity severity, std::string_view text);

  /// Sets up the resource roots, if they are not yet: those given, else those in the environment, else the
  /// nearest folder upwards that holds a database. Refuses when there are none or one is not a folder.
  void setUpRoots() const;

  /// Sets up the roots and opens a session on a model, or refuses.
  std::unique_ptr<authoring::Session> openSession(const std::string& model) const;

  /// The destructible category of a name, or a refusal, also for "none".
  static KsDestructibleType destructibleCategory(const std::string& name);

  /// The value of a result, or a refusal.
  template <class Value>
  static Value check(Result<Value> result) {
    if (!result) throw Refusal(result.fault());
    if constexpr (!std::is_void_v<Value>) return *std::move(result);
  }

  /// Prints the warnings of an edit, or refuses.
  static authoring::Outcome checkEdit(Result<authoring::Outcome> outcome);

  /// Saves, prints what the save drops and adds, or refuses. True when the file has changed.
  bool save(authoring::Session& session);

  /// The same for another operation that saves the database.
  bool save(const std::function<Result<authoring::Outcome>()>& operation);

 private:
  std::vector<std::string> givenRoots_;
  std::string pending_;
  std::string done_;
};

/// Blocks interrupts while it lives, so that a write is completed; also in threads that are started
/// meanwhile.
class HeldInterrupts {
 public:
  explicit HeldInterrupts(std::initializer_list<int> signals = {SIGINT, SIGTERM, SIGHUP});
  ~HeldInterrupts();
  HeldInterrupts(const HeldInterrupts&) = delete;
  HeldInterrupts& operator=(const HeldInterrupts&) = delete;

  /// Takes one that is pending or arrives within `time`, less than a second; false when there is none.
  bool takeWithin(std::chrono::nanoseconds time) const;

 private:
  sigset_t held_{};
  sigset_t before_{};
};

/// A text in which nothing acts on a terminal: control characters and bytes that are not UTF-8 are escaped,
/// but not what is escaped already.
std::string harmless(std::string_view text);

/// Makes every logged message one line of standard error; information only if the tool is verbose.
void sendMessagesToStandardError();

}  // namespace Tal::cli
