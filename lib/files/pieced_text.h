#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Tal::files {

/// A text put together of pieces that are held elsewhere, where they must stay as they are as long as this
/// lives.
class PiecedText {
 public:
  PiecedText() = default;
  explicit PiecedText(BasicStringRef whole) { *this += whole; }

  /// Adds a piece at the end. One that lies directly behind the last one in memory becomes one with it.
  PiecedText& operator+=(BasicStringRef piece);

  std::size_t size() const noexcept { return size_; }
  const std::vector<BasicStringRef>& pieces() const noexcept { return pieces_; }

  std::string joined() const;
  bool operator==(BasicStringRef text) const noexcept;

 private:
  std::vector<BasicStringRef> pieces_;  ///< none is empty
  std::size_t size_ = 0;
};

}  // namespace Tal::files
