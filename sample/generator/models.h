#pragma once

#include "gltf_scene.h"

namespace sample {

/// A two-storey house of eight parts, some of which carry others.
GltfScene makeHouse();

/// The house from afar: one box and a roof.
GltfScene makeDistantHouse();

GltfScene makeStreetLamp();
GltfScene makeCrate();

/// Two crates on top of each other.
GltfScene makeCrateStack();

GltfScene makeBarrel();
GltfScene makeWoodenGate();
GltfScene makeStoneGate();
GltfScene makeRock();

}  // namespace sample
