#pragma once

#include <resources/pieced_text.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Tal {

/// What bytes are recognised by without keeping them: two different texts have the same one by no accident
/// that ever happens. By XXH3 of 128 bits.
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

  void add(BasicStringRef piece) noexcept;

  /// That of the pieces so far.
  Fingerprint fingerprint() const noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
  std::size_t size_ = 0;
};

Fingerprint fingerprintOf(const PiecedText& bytes);

}  // namespace Tal
