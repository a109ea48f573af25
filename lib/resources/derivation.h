#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace Tal {

class AnyDerivation;
class DataSection;

/// The values that a document keeps: what they are, and the number of the section that they are of.
using DerivedValues = std::map<std::pair<const AnyDerivation*, std::uint32_t>, std::shared_ptr<const void>>;

/// A Derivation of whatever type, as documents know it.
class AnyDerivation {
 public:
  AnyDerivation(const AnyDerivation&) = delete;
  AnyDerivation& operator=(const AnyDerivation&) = delete;

  /// What the function makes of the section; never null.
  virtual std::shared_ptr<const void> valueOf(const DataSection& section) const = 0;

  /// Has the values of this derivation taken from `keeper` when it ends.
  void noteKeeper(const std::shared_ptr<DerivedValues>& keeper) const;

 protected:
  AnyDerivation() noexcept = default;
  ~AnyDerivation();

 private:
  mutable std::vector<std::weak_ptr<DerivedValues>> keepers_;
};

/// A function that computes something of a section, such as a list of names. Documents keep what it gives,
/// see DataSection::derived. A reader makes it once, as a static object. When it ends, with the library that
/// holds it, documents let go of what they keep for it. Main thread only.
template <class Value>
class Derivation final : public AnyDerivation {
 public:
  /// `make` reads the section and what is below it, and goes by nothing else. Its value holds no section of
  /// the document, which would never be released then.
  explicit Derivation(Value (*make)(const DataSection& section)) noexcept : make_(make) {}

  std::shared_ptr<const void> valueOf(const DataSection& section) const override {
    return std::make_shared<const Value>(make_(section));
  }

 private:
  Value (*make_)(const DataSection& section);
};

}  // namespace Tal
