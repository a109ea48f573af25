#include <core/format.h>
#include <files/fingerprint.h>

#include <cinttypes>

// The functions themselves, not the library that holds them.
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace Tal::files {

struct FingerprintMaker::State {
  XXH3_state_t hash;
};

FingerprintMaker::FingerprintMaker() : state_(std::make_unique<State>()) {
  XXH3_128bits_reset(&state_->hash);
}

FingerprintMaker::~FingerprintMaker() = default;

void FingerprintMaker::add(BasicStringRef piece) noexcept {
  size_ += piece.size();
  XXH3_128bits_update(&state_->hash, piece.data(), piece.size());
}

Fingerprint FingerprintMaker::fingerprint() const noexcept {
  const XXH128_hash_t hash = XXH3_128bits_digest(&state_->hash);
  return {size_, hash.low64, hash.high64};
}

Fingerprint fingerprintOf(BasicStringRef bytes) noexcept {
  const XXH128_hash_t hash = XXH3_128bits(bytes.data(), bytes.size());
  return {bytes.size(), hash.low64, hash.high64};
}

std::string hashText(const Fingerprint& fingerprint) {
  return formatString("%016" PRIx64 "%016" PRIx64, fingerprint.high, fingerprint.low);
}

}  // namespace Tal::files
