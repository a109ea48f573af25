#pragma once

#include <core/reference_count.h>
#include <core/smart_pointer.h>

#include <string>
#include <utility>
#include <vector>

namespace Tal {

/// The collision data of a model.
struct BspData : SafeReferenceCount {
  std::vector<std::string> materialNames_;  ///< one per collision material, in file order; may repeat
};

/// One model of a super model.
class Model : public SafeReferenceCount {
 public:
  /// `bsp` may be null.
  explicit Model(SmartPointer<BspData> bsp = nullptr) : bsp_(std::move(bsp)) {}

  /// The collision data; null when the model has none.
  virtual SmartPointer<BspData> bspData() const { return bsp_; }

 private:
  SmartPointer<BspData> bsp_;
};

}  // namespace Tal
