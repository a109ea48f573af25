#pragma once

#include <string>

namespace bench {

/// The bytes of a database of `modelCount` models of every category, in the proportions and with the lengths
/// of names of a studio's file; the same for the same count.
std::string makeDatabase(int modelCount);

/// The name of the model number `index` of such a database. Every tenth is a structure, three of ten falling
/// atoms, the rest fragiles.
std::string modelName(int index);

}  // namespace bench
