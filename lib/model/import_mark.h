#pragma once

#include <core/string_ref.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Tal {

class DataSection;

/// What an import records in the visual: the geometry that it wrote with it. In the file it is
/// `<import version="1">` with `<geometry>`, that with `<size>` (bytes) and `<fingerprint>` (XXH3 of 128
/// bits, in hexadecimal digits).
struct ImportMark {
  /// The version that this program writes.
  static constexpr int kVersion = 1;

  int version = kVersion;
  std::uint64_t geometrySize = 0;
  std::string geometryFingerprint;

  bool operator==(const ImportMark&) const = default;
};

/// The mark for a geometry's bytes. Usable on any thread.
ImportMark importMarkFor(BasicStringRef geometry);

/// The mark in a visual; empty when it has none, or one without a version or size. Of a newer mark only the
/// version is meaningful. Main thread only.
std::optional<ImportMark> importMarkIn(const DataSection& visual);

}  // namespace Tal
