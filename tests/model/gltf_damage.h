#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "gltf_builder.h"
#include "import_fixture.h"

namespace support {

/// One edit that makes a good document a bad one, and how the import refuses that.
struct Damage {
  const char* what;
  void (*apply)(nlohmann::json& root);
  const char* fault;
};

inline void PrintTo(const Damage& damage, std::ostream* stream) {
  *stream << damage.what;
}

inline std::string nameOfDamage(const testing::TestParamInfo<Damage>& damage) {
  std::string name = damage.param.what;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

class DamageFixture : public ImportFixture, public testing::WithParamInterface<Damage> {
 protected:
  /// What an import says of the file once it is damaged.
  std::string refusalOf(GltfBuilder builder) {
    GetParam().apply(builder.root);
    writeSource(builder.glb());
    return refusal();
  }
};

}  // namespace support
