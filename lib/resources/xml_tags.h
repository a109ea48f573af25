#pragma once

#include <core/string_ref.h>

#include <array>
#include <cstdint>
#include <map>
#include <vector>

namespace Tal::Xml {

using TagId = std::uint32_t;
constexpr TagId kNoTag = 0x1FFFFFFF;

/// The element names of one document, each stored once, so that comparing names compares numbers. The texts
/// are held as views: they must live as long as the table.
class TagTable {
 public:
  /// The number of a name; kNoTag when no element has it.
  TagId find(BasicStringRef name) const;

  /// The same, entering the name when it is new.
  TagId intern(BasicStringRef name);

  BasicStringRef text(TagId tag) const { return texts_[tag]; }

 private:
  static constexpr std::size_t kSlots = 256;

  /// Where a name was found last: most look-ups repeat a few names, and never reach the map.
  static std::size_t slotOf(BasicStringRef name) noexcept;

  std::vector<BasicStringRef> texts_;
  std::map<BasicStringRef, TagId> byText_;
  mutable std::array<TagId, kSlots> slots_{};
};

}  // namespace Tal::Xml
