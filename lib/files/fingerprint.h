#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Tal::files {

/// The size and the XXH3 hash of 128 bits of a text, by which it is recognised without being kept. That two
/// different texts have the same one by accident is too improbable to be provided for.
struct Fingerprint {
  std::size_t size;
  std::uint64_t low;
  std::uint64_t high;

  bool operator==(const Fingerprint& other) const = default;
};

/// Makes the fingerprint of a text that comes in pieces, however it is divided.
class FingerprintMaker {
 public:
  FingerprintMaker();
  ~FingerprintMaker();
  FingerprintMaker(const FingerprintMaker&) = delete;
  FingerprintMaker& operator=(const FingerprintMaker&) = delete;

  /// Adds the next piece, which is not kept.
  void add(BasicStringRef piece) noexcept;

  /// That of the pieces so far.
  Fingerprint fingerprint() const noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
  std::size_t size_ = 0;
};

Fingerprint fingerprintOf(BasicStringRef bytes) noexcept;

/// The hash as 32 hexadecimal digits, the highest ones first.
std::string hashText(const Fingerprint& fingerprint);

}  // namespace Tal::files
