#include <files/pieced_text.h>

namespace Tal::files {

PiecedText& PiecedText::operator+=(BasicStringRef piece) {
  if (piece.empty()) return *this;
  size_ += piece.size();
  if (!pieces_.empty() && pieces_.back().data() + pieces_.back().size() == piece.data()) {
    pieces_.back() = {pieces_.back().data(), pieces_.back().size() + piece.size()};
  } else {
    pieces_.push_back(piece);
  }
  return *this;
}

std::string PiecedText::joined() const {
  std::string text;
  text.reserve(size_);
  for (const BasicStringRef piece : pieces_) text += piece;
  return text;
}

bool PiecedText::operator==(BasicStringRef text) const noexcept {
  if (text.size() != size_) return false;
  for (const BasicStringRef piece : pieces_) {
    const bool isItself = piece.data() == text.data();  // a text is often compared with what it is made of
    if (!isItself && !text.starts_with(piece)) return false;
    text.remove_prefix(piece.size());
  }
  return true;
}

}  // namespace Tal::files
