#include "models.h"

namespace sample {
namespace {

constexpr Look kPlanks{{0.55, 0.40, 0.24}};
constexpr Look kDarkWood{{0.33, 0.21, 0.12}};
constexpr Look kSplinters{{0.42, 0.31, 0.20}};
constexpr Look kIron{{0.30, 0.31, 0.33}, 0.45, 1.0};
constexpr Look kRust{{0.40, 0.22, 0.13}, 0.8, 0.6};
constexpr Look kLight{{1.0, 0.86, 0.55}, 0.4, 0, true};
constexpr Look kMasonry{{0.60, 0.58, 0.53}};
constexpr Look kRubble{{0.47, 0.45, 0.42}};
constexpr Look kGranite{{0.42, 0.43, 0.44}};

/// A crate of planks with a frame around each side, its foot at the given height.
void addCrate(Mesh& mesh, double foot, double size) {
  const double half = size / 2;
  const double middle = foot + half;
  mesh.turnedBox({0, middle, 0}, {size * 0.94, size * 0.94, size * 0.94}, 0, 0);
  for (const double side : {-1.0, 1.0}) {
    const double plate = middle + side * (half - 0.06);
    mesh.box({-half, plate - 0.06, -half}, {half, plate + 0.06, half});
    const double post = side * (half - 0.07);
    mesh.turnedBox({post, middle, post}, {0.12, size * 0.98, 0.12}, 0, 0);
    mesh.turnedBox({post, middle, -post}, {0.12, size * 0.98, 0.12}, 0, 0);
  }
}

Mesh crateRuin(double reach, std::uint32_t seed) {
  Mesh mesh;
  mesh.box({-0.45, 0, -0.45}, {0.45, 0.1, 0.45});
  mesh.turnedBox({0.1, 0.22, 0.4}, {0.9, 0.08, 0.25}, 0.3, 0.5);
  mesh.turnedBox({-0.35, 0.2, -0.1}, {0.1, 0.5, 0.1}, 0.4, 0.9);
  return mesh.debris({-reach, 0.05, -reach}, {reach, 0.05, reach}, 9, seed);
}

}  // namespace

GltfScene makeStreetLamp() {
  GltfScene scene("street_lamp");
  Mesh lamp;
  lamp.post({0, 0, 0}, 0.6, 0.25, 0.18, 12).post({0, 0.6, 0}, 5.2, 0.1, 0.07, 12);
  lamp.turnedBox({0.6, 5.75, 0}, {1.3, 0.09, 0.09}, 0, 0).box({0.95, 5.62, -0.16}, {1.45, 5.8, 0.16});
  scene.part("partN0", kIron, lamp);
  scene.part("n_glow_0", kLight, Mesh().box({1.0, 5.56, -0.12}, {1.4, 5.62, 0.12}));
  Mesh stump;
  stump.post({0, 0, 0}, 0.6, 0.25, 0.18, 12).post({0, 0.6, 0}, 0.5, 0.1, 0.1, 12);
  scene.part("partD0", kRust, stump);
  scene.collision("partN0", Mesh().box({-0.2, 0, -0.2}, {0.2, 5.8, 0.2}));
  scene.hardPoint("HP_light", {1.2, 5.6, 0});
  return scene;
}

GltfScene makeCrate() {
  GltfScene scene("crate");
  Mesh crate;
  addCrate(crate, 0, 1);
  scene.part("partN0", kPlanks, crate);
  scene.part("partD0", kSplinters, crateRuin(0.4, 21));
  scene.collision("partN0", Mesh().box({-0.5, 0, -0.5}, {0.5, 1, 0.5}));
  scene.hardPoint("HP_splinters", {0, 0.5, 0});
  return scene;
}

GltfScene makeCrateStack() {
  GltfScene scene("crate_stack");
  Mesh crates;
  addCrate(crates, 0, 1.2);
  addCrate(crates, 1.2, 1.0);
  scene.part("partN0", kPlanks, crates);
  scene.part("partD0", kSplinters, crateRuin(0.9, 22));
  scene.collision("partN0", Mesh().box({-0.6, 0, -0.6}, {0.6, 2.2, 0.6}));
  scene.hardPoint("HP_splinters", {0, 1.1, 0});
  return scene;
}

GltfScene makeBarrel() {
  GltfScene scene("barrel");
  Mesh barrel;
  barrel.post({0, 0, 0}, 0.5, 0.36, 0.44, 16).post({0, 0.5, 0}, 0.5, 0.44, 0.36, 16);
  for (const double height : {0.12, 0.47, 0.82}) {
    const double radius = height == 0.47 ? 0.45 : 0.4;
    barrel.post({0, height, 0}, 0.06, radius, radius, 16);
  }
  scene.part("partN0", kDarkWood, barrel);
  Mesh staves;
  staves.post({0, 0, 0}, 0.2, 0.36, 0.4, 16);
  scene.part("partD0", kSplinters, staves.debris({-0.6, 0, -0.6}, {0.6, 0, 0.6}, 8, 23));
  scene.collision("partN0", Mesh().box({-0.4, 0, -0.4}, {0.4, 1, 0.4}));
  return scene;
}

GltfScene makeWoodenGate() {
  GltfScene scene("gate_wood");
  Mesh posts;
  for (const double x : {-1.9, 1.9}) posts.box({x - 0.12, 0, -0.12}, {x + 0.12, 1.9, 0.12});
  scene.part("static_posts", kDarkWood, posts);
  Mesh wings;
  for (const double height : {0.35, 0.85, 1.35}) {
    wings.box({-1.75, height, -0.04}, {-0.03, height + 0.16, 0.04});
    wings.box({0.03, height, -0.04}, {1.75, height + 0.16, 0.04});
  }
  for (const double x : {-1.75, -0.15, 0.03, 1.63}) wings.box({x, 0.2, -0.07}, {x + 0.12, 1.7, -0.04});
  wings.turnedBox({-0.9, 0.95, 0.06}, {0.1, 0.05, 1.9}, 1.5707963267948966, 0.55);
  wings.turnedBox({0.9, 0.95, 0.06}, {0.1, 0.05, 1.9}, 1.5707963267948966, -0.55);
  scene.part("n_wood_0", kPlanks, wings);
  scene.part("d_wood_0", kSplinters, Mesh().debris({-1.7, 0, -0.5}, {1.7, 0, 0.5}, 14, 31));
  scene.collision("n_wood_0", Mesh().box({-1.8, 0.2, -0.1}, {1.8, 1.7, 0.1}));
  scene.hardPoint("HP_middle", {0, 0.9, 0});
  return scene;
}

GltfScene makeStoneGate() {
  GltfScene scene("gate_stone");
  scene.part("static_plinth", kGranite, Mesh().box({-2.6, -0.3, -0.6}, {2.6, 0, 0.6}));
  Mesh left;
  left.box({-2.4, 0, -0.45}, {-1.4, 2.6, 0.45}).box({-2.5, 2.6, -0.55}, {-1.3, 2.8, 0.55});
  scene.part("n_stone_1_3", kMasonry, left);
  Mesh right;
  right.box({1.4, 0, -0.45}, {2.4, 2.6, 0.45}).box({1.3, 2.6, -0.55}, {2.5, 2.8, 0.55});
  scene.part("n_stone_2_3", kMasonry, right);
  scene.part("n_stone_3", kMasonry,
             Mesh().prism({{-2.5, 2.8}, {2.5, 2.8}, {2.5, 3.2}, {0, 3.8}, {-2.5, 3.2}}, -0.4, 0.4));
  scene.part("d_stone_1", kRubble, Mesh().brokenWall({-2.4, 0, -0.45}, {-1.4, 2.0, 0.45}, 41));
  scene.part("d_stone_2", kRubble, Mesh().brokenWall({1.4, 0, -0.45}, {2.4, 2.0, 0.45}, 42));
  scene.part("d_stone_3", kRubble, Mesh().debris({-1.2, 0, -0.6}, {1.2, 0, 0.6}, 12, 43));
  scene.collision("n_stone_1_3", Mesh().box({-2.5, 0, -0.55}, {-1.3, 2.8, 0.55}));
  scene.collision("n_stone_2_3", Mesh().box({1.3, 0, -0.55}, {2.5, 2.8, 0.55}));
  scene.collision("n_stone_3", Mesh().box({-2.5, 2.8, -0.4}, {2.5, 3.6, 0.4}));
  scene.hardPoint("HP_dust_1", {-1.9, 1, 0});
  scene.hardPoint("HP_dust_2", {1.9, 1, 0});
  return scene;
}

GltfScene makeRock() {
  GltfScene scene("rock");
  scene.part("partN0", kGranite, Mesh().boulder({0, 0.8, 0}, {1.5, 1.1, 1.2}, 51));
  scene.part("partD0", kRubble, Mesh().debris({-1.3, -0.1, -1}, {1.3, -0.1, 1}, 16, 52));
  scene.hardPoint("HP_dust", {0, 0.8, 0});
  return scene;
}

}  // namespace sample
