#include <model/material_kinds.h>

#include <algorithm>

namespace Tal::material_kinds {
namespace {

constexpr BasicStringRef kDigits = "0123456789";

/// The third piece between underscores: the number of a part whose name goes on with the numbers of others.
BasicStringRef thirdPiece(BasicStringRef name) noexcept {
  BasicStringRef piece;
  for (int count = 0; count < 3; ++count) {
    name.remove_prefix(std::min(name.find_first_not_of('_'), name.size()));
    piece = name.substr(0, name.find('_'));
    name.remove_prefix(piece.size());
  }
  return piece;
}

BasicStringRef partDigits(BasicStringRef name) noexcept {
  const BasicStringRef third = thirdPiece(name);
  const BasicStringRef leading = third.substr(0, third.find_first_not_of(kDigits));
  if (!leading.empty()) return leading;
  return name.substr(name.find_last_not_of(kDigits) + 1);
}

/// The part number of a name; any number above kLastPart when there is no such part.
unsigned partNumber(BasicStringRef name) noexcept {
  unsigned number = 0;
  for (const char digit : partDigits(name)) {
    number = number * 10 + static_cast<unsigned>(digit - '0');
    if (number > kLastPart) return number;
  }
  return number;
}

std::string rangeText(unsigned first, unsigned last) {
  return std::to_string(first) + " to " + std::to_string(last);
}

}  // namespace

std::string undamagedKinds() {
  return rangeText(kFirstUndamaged, kLastUndamaged);
}

std::string destroyedKinds() {
  return rangeText(kFirstDestroyed, kLastDestroyed);
}

std::string noPartText(unsigned kind) {
  return " has the kind " + std::to_string(kind) + ", which shows no part; undamaged parts have " +
         undamagedKinds() + ", destroyed ones " + destroyedKinds() + ", and all else 0";
}

std::string staticPartText(unsigned kind) {
  return " has the kind " + std::to_string(kind) +
         " of a part, but its name begins with \"s\", which makes it static whatever its kind; rename it, or "
         "give it the kind 0";
}

unsigned kindByName(BasicStringRef name) noexcept {
  const bool isOfDestroyed = isDestroyedName(name);
  if (!isOfDestroyed && !isUndamagedName(name)) return kNone;
  const unsigned part = partNumber(name);
  if (part > kLastPart) return kNone;
  return part + (isOfDestroyed ? kFirstDestroyed : kFirstUndamaged);
}

}  // namespace Tal::material_kinds
