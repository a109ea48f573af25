#include <xml/tags.h>

namespace Tal::xml {

std::size_t TagTable::slotOf(BasicStringRef name) noexcept {
  if (name.empty()) return 0;
  const std::size_t first = static_cast<unsigned char>(name.front());
  const std::size_t middle = static_cast<unsigned char>(name[name.size() / 2]);
  const std::size_t last = static_cast<unsigned char>(name.back());
  return (name.size() + first * 3 + middle * 7 + last * 31) % kSlots;
}

TagId TagTable::find(BasicStringRef name) const {
  TagId& slot = slots_[slotOf(name)];
  if (slot < texts_.size() && texts_[slot] == name) return slot;
  const auto found = byText_.find(name);
  if (found == byText_.end()) return kNoTag;
  return slot = found->second;
}

TagId TagTable::intern(BasicStringRef name) {
  const TagId known = find(name);
  if (known != kNoTag) return known;
  const auto tag = static_cast<TagId>(texts_.size());
  texts_.push_back(name);
  byText_.emplace(name, tag);
  return slots_[slotOf(name)] = tag;
}

}  // namespace Tal::xml
