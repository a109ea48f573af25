#include <authoring/category.h>

#include <array>

namespace Tal::authoring {
namespace {

struct NamedCategory {
  KsDestructibleType category;
  BasicStringRef name;
};

constexpr std::array<NamedCategory, 4> kCategories = {{{DT_STRUCTURE, "structure"},
                                                       {DT_FRAGILE, "fragile"},
                                                       {DT_FALLING_ATOMS, "falling-atom"},
                                                       {DT_NON_DESTRUCTIBLE, "none"}}};

}  // namespace

BasicStringRef categoryName(KsDestructibleType category) noexcept {
  for (const NamedCategory& named : kCategories) {
    if (named.category == category) return named.name;
  }
  return kCategories.back().name;
}

std::optional<KsDestructibleType> categoryFromName(BasicStringRef name) noexcept {
  for (const NamedCategory& named : kCategories) {
    if (named.name == name) return named.category;
  }
  return std::nullopt;
}

std::vector<std::string> categoryNames() {
  std::vector<std::string> names;
  names.reserve(kCategories.size());
  for (const NamedCategory& named : kCategories) names.emplace_back(named.name);
  return names;
}

}  // namespace Tal::authoring
