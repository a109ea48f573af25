#pragma once

#include <core/string_ref.h>

#include <array>
#include <cstdint>
#include <map>
#include <vector>

namespace Tal::xml {

using TagId = std::uint32_t;

/// How many bits a tag takes, so that a node has room for its flags beside it. Every element of the largest
/// document can have a tag of its own.
constexpr unsigned kTagBits = 29;
constexpr TagId kTagMask = (TagId{1} << kTagBits) - 1;

/// Stands for no tag; the number is given to none.
constexpr TagId kNoTag = kTagMask;

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

}  // namespace Tal::xml
