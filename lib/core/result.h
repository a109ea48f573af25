#pragma once

#include <cassert>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace Tal {

/// The kind of a failure, for callers that handle kinds differently.
enum class FaultKind {
  refused,    ///< the request is invalid: a name, a value, or a combination
  missing,    ///< what was requested does not exist
  malformed,  ///< the content is not in the expected format
  busy,       ///< another program is using it
  changed,    ///< another program has changed it; nothing was done
  system,     ///< an operation of the operating system failed
  unflushed,  ///< done, but a power cut may undo it
};

/// Why something was not done. Its texts hold names from files and people escaped (see quotedName).
struct Fault {
  FaultKind kind = FaultKind::refused;
  std::string what;    ///< what happened, with the names and values concerned
  std::string remedy;  ///< what to do next ("free some space"); empty when `what` says it

  /// The file or resource that holds the fault, unless `what` names it.
  std::string file = {};
  std::size_t line = 0;    ///< in that file, counted from 1; 0 when it is meant as a whole
  std::size_t column = 0;  ///< in characters, counted from 1; 0 without a line
};

/// Adds what to do behind the fault's remedy, if it has one: "free some space and save again".
void addRemedy(Fault& fault, const std::string& step);

/// The place of a fault, "FILE:LINE:COLUMN" or as much of that as is known.
std::string placeOf(const Fault& fault);

/// The fault as one line for a person, without a line end: "PLACE: WHAT; REMEDY".
std::string textOf(const Fault& fault);

/// A value, or the fault that prevented it.
template <class Value>
class [[nodiscard]] Result {
 public:
  Result(Value value) : content_(std::in_place_index<0>, std::move(value)) {}
  Result(Fault fault) : content_(std::in_place_index<1>, std::move(fault)) {}

  /// Whether there is a value.
  explicit operator bool() const noexcept { return content_.index() == 0; }

  /// The value, which must be there.
  Value& operator*() & noexcept { return *value(); }
  const Value& operator*() const& noexcept { return *value(); }
  Value&& operator*() && noexcept { return std::move(*value()); }
  Value* operator->() noexcept { return value(); }
  const Value* operator->() const noexcept { return value(); }

  /// The fault; there must be no value.
  const Fault& fault() const& noexcept { return *knownFault(); }
  Fault&& fault() && noexcept { return std::move(*knownFault()); }

 private:
  Value* value() noexcept { return checked(std::get_if<0>(&content_)); }
  const Value* value() const noexcept { return checked(std::get_if<0>(&content_)); }
  Fault* knownFault() noexcept { return checked(std::get_if<1>(&content_)); }
  const Fault* knownFault() const noexcept { return checked(std::get_if<1>(&content_)); }

  template <class Held>
  static Held* checked(Held* held) noexcept {
    assert(held != nullptr);
    return held;
  }

  std::variant<Value, Fault> content_;
};

/// Success, or a fault.
template <>
class [[nodiscard]] Result<void> {
 public:
  Result() noexcept = default;
  Result(Fault fault) : fault_(std::move(fault)) {}

  /// Whether there is no fault.
  explicit operator bool() const noexcept { return !fault_; }

  /// The fault, which must be there.
  const Fault& fault() const& noexcept { return *fault_; }
  Fault&& fault() && noexcept { return *std::move(fault_); }

 private:
  std::optional<Fault> fault_;
};

}  // namespace Tal
