#include <resources/derivation.h>

namespace Tal {

AnyDerivation::~AnyDerivation() {
  for (const std::weak_ptr<DerivedValues>& keeper : keepers_) {
    const std::shared_ptr<DerivedValues> values = keeper.lock();
    if (!values) continue;
    std::erase_if(*values, [this](const auto& kept) { return kept.first.first == this; });
  }
}

void AnyDerivation::noteKeeper(const std::shared_ptr<DerivedValues>& keeper) const {
  const auto isGoneOrSame = [&keeper](const std::weak_ptr<DerivedValues>& other) {
    const std::shared_ptr<DerivedValues> values = other.lock();
    return !values || values == keeper;
  };
  std::erase_if(keepers_, isGoneOrSame);
  keepers_.push_back(keeper);
}

}  // namespace Tal
