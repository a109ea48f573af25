#include "models.h"

namespace sample {
namespace {

constexpr Look kPlaster{{0.80, 0.72, 0.56}};
constexpr Look kUpperPlaster{{0.86, 0.82, 0.72}};
constexpr Look kTiles{{0.55, 0.22, 0.15}};
constexpr Look kBrick{{0.50, 0.27, 0.20}};
constexpr Look kTimber{{0.36, 0.24, 0.14}};
constexpr Look kConcrete{{0.55, 0.55, 0.53}};
constexpr Look kRubble{{0.45, 0.41, 0.36}};
constexpr Look kCharred{{0.17, 0.13, 0.11}};

constexpr double kHalfWidth = 4;
constexpr double kHalfDepth = 3;
constexpr double kStorey = 3;
constexpr double kEaves = 2 * kStorey;
constexpr double kRidge = 8.2;
constexpr double kWall = 0.3;

/// A wall between two heights with an opening: what stands beside, below and above it. The wall runs along x
/// from `from` to `to` with the back at `z`.
void wallWithOpening(Mesh& mesh, double from, double to, double floor, double z, double openFrom,
                     double openTo, double sill, double lintel) {
  mesh.box({from, floor, z}, {openFrom, floor + kStorey, z + kWall});
  mesh.box({openTo, floor, z}, {to, floor + kStorey, z + kWall});
  if (sill > 0) mesh.box({openFrom, floor, z}, {openTo, floor + sill, z + kWall});
  mesh.box({openFrom, floor + lintel, z}, {openTo, floor + kStorey, z + kWall});
}

/// The same for an outer side, which runs along z.
void sideWithWindow(Mesh& mesh, double outer, double floor) {
  const double left = outer < 0 ? outer : outer - kWall;
  const double right = left + kWall;
  mesh.box({left, floor, -kHalfDepth + kWall}, {right, floor + kStorey, -0.7});
  mesh.box({left, floor, 0.7}, {right, floor + kStorey, kHalfDepth - kWall});
  mesh.box({left, floor, -0.7}, {right, floor + 0.9, 0.7});
  mesh.box({left, floor + 2.2, -0.7}, {right, floor + kStorey, 0.7});
}

/// One half of the walls of a storey: the halves of front and back, and the outer side. `side` is -1 for the
/// left half, 1 for the right one.
Mesh halfStorey(double side, double floor, bool withDoor) {
  Mesh mesh;
  const double from = side < 0 ? -kHalfWidth : 0;
  const double to = side < 0 ? 0 : kHalfWidth;
  const double middle = (from + to) / 2;
  const double half = withDoor ? 0.55 : 0.7;
  wallWithOpening(mesh, from, to, floor, kHalfDepth - kWall, middle - half, middle + half, withDoor ? 0 : 0.9,
                  2.2);
  mesh.box({from, floor, -kHalfDepth}, {to, floor + kStorey, -kHalfDepth + kWall});
  sideWithWindow(mesh, side * kHalfWidth, floor);
  return mesh;
}

Mesh brokenHalfStorey(double side, double floor, std::uint32_t seed) {
  Mesh mesh;
  const double from = side < 0 ? -kHalfWidth : 0;
  const double to = side < 0 ? 0 : kHalfWidth;
  const double left = side < 0 ? -kHalfWidth : kHalfWidth - kWall;
  mesh.brokenWall({from, floor, kHalfDepth - kWall}, {to, floor + kStorey, kHalfDepth}, seed);
  mesh.brokenWall({from, floor, -kHalfDepth}, {to, floor + kStorey, -kHalfDepth + kWall}, seed + 10);
  mesh.brokenWall({left, floor, -kHalfDepth + kWall}, {left + kWall, floor + kStorey, kHalfDepth - kWall},
                  seed + 20);
  return mesh;
}

Mesh halfStoreyHull(double side, double floor) {
  const double from = side < 0 ? -kHalfWidth : 0;
  return Mesh().box({from, floor, -kHalfDepth}, {from + kHalfWidth, floor + kStorey, kHalfDepth});
}

/// A slab of roof from the eaves to the ridge; `side` -1 is the back, 1 the front. The prism is built along x
/// by exchanging the axes of its corners.
void roofSlab(Mesh& mesh, double side) {
  const double eaves = side * (kHalfDepth + 0.4);
  const double low = kEaves - 0.15;
  constexpr double kThickness = 0.18;
  const double left = -kHalfWidth - 0.4;
  const double right = kHalfWidth + 0.4;
  const Point outerLeft = {side > 0 ? left : right, low + kThickness, eaves};
  const Point outerRight = {side > 0 ? right : left, low + kThickness, eaves};
  const Point ridgeRight = {side > 0 ? right : left, kRidge + kThickness, 0};
  const Point ridgeLeft = {side > 0 ? left : right, kRidge + kThickness, 0};
  const auto below = [](Point point) {
    point[1] -= kThickness;
    return point;
  };
  mesh.face({outerLeft, outerRight, ridgeRight, ridgeLeft});
  mesh.face({below(outerRight), below(outerLeft), below(ridgeLeft), below(ridgeRight)});
  mesh.face({below(outerLeft), below(outerRight), outerRight, outerLeft});
  mesh.face({below(outerRight), below(ridgeRight), ridgeRight, outerRight});
  mesh.face({below(ridgeLeft), below(outerLeft), outerLeft, ridgeLeft});
}

/// The triangle of wall under the end of the roof.
void gable(Mesh& mesh, double x) {
  const Point front = {x, kEaves, kHalfDepth};
  const Point back = {x, kEaves, -kHalfDepth};
  const Point top = {x, kRidge, 0};
  if (x > 0) {
    mesh.face({front, back, top});
  } else {
    mesh.face({back, front, top});
  }
}

Mesh roof() {
  Mesh mesh;
  roofSlab(mesh, 1);
  roofSlab(mesh, -1);
  gable(mesh, kHalfWidth);
  gable(mesh, -kHalfWidth);
  return mesh;
}

/// Rafters that still stand, and fallen tiles.
Mesh brokenRoof() {
  Mesh mesh;
  for (int rafter = 0; rafter < 4; ++rafter) {
    const double x = -3.6 + 2.4 * rafter;
    const double reach = rafter % 2 == 0 ? 2.6 : 1.7;
    mesh.turnedBox({x, kEaves + 0.5, 1.9}, {0.16, 0.16, reach}, 0, 0.6);
    mesh.turnedBox({x, kEaves + 0.4, -2.0}, {0.16, 0.16, reach * 0.8}, 0, -0.6);
  }
  mesh.box({-kHalfWidth, kEaves, -0.1}, {-1.0, kEaves + 0.2, 0.1});
  return mesh.debris({-3.5, kEaves, -2.5}, {3.5, kEaves, 2.5}, 4, 77);
}

Mesh porch() {
  Mesh mesh;
  for (const double x : {-3.3, -0.7}) mesh.box({x - 0.08, 0.1, 4.2}, {x + 0.08, 2.4, 4.36});
  mesh.turnedBox({-2, 2.55, 3.75}, {3.2, 0.12, 1.7}, 0, 0.16);
  return mesh.box({-3.4, 0, kHalfDepth}, {-0.6, 0.1, 4.5});
}

Mesh brokenPorch() {
  Mesh mesh;
  mesh.box({-3.4, 0, kHalfDepth}, {-0.6, 0.1, 4.5});
  mesh.turnedBox({-3.2, 0.6, 4.3}, {0.16, 1.1, 0.16}, 0.2, 0.2);
  mesh.turnedBox({-1.8, 0.35, 3.9}, {3.0, 0.12, 1.6}, 0.2, 0.25);
  return mesh;
}

Mesh shed() {
  Mesh mesh;
  mesh.box({kHalfWidth, 0, -2.4}, {5.8, 2.0, 0.2});
  return mesh.turnedBox({4.95, 2.12, -1.1}, {2.1, 0.12, 2.9}, 0, 0.06);
}

void addUndamagedParts(GltfScene& scene) {
  scene.part("n_ground_1_3", kPlaster, halfStorey(-1, 0, true));
  scene.part("n_ground_2_4", kPlaster, halfStorey(1, 0, false));
  scene.part("n_upper_3_5", kUpperPlaster, halfStorey(-1, kStorey, false));
  scene.part("n_upper_4_5", kUpperPlaster, halfStorey(1, kStorey, false));
  scene.part("n_roof_5_6", kTiles, roof());
  scene.part("n_chimney_6", kBrick, Mesh().box({1.6, 6.6, -1.5}, {2.3, 9.2, -0.8}));
  scene.part("partN7", kTimber, porch());
  scene.part("partN8", kTimber, shed());
}

void addDestroyedParts(GltfScene& scene) {
  scene.part("d_ground_1", kRubble, brokenHalfStorey(-1, 0, 1));
  scene.part("d_ground_2", kRubble, brokenHalfStorey(1, 0, 2));
  scene.part("d_upper_3", kRubble, brokenHalfStorey(-1, kStorey, 3));
  scene.part("d_upper_4", kRubble, brokenHalfStorey(1, kStorey, 4));
  scene.part("d_roof_5", kCharred, brokenRoof());
  scene.part("d_chimney_6", kBrick, Mesh().brokenWall({1.6, 6.6, -1.5}, {2.3, 8.0, -0.8}, 6));
  scene.part("partD7", kCharred, brokenPorch());
  scene.part("partD8", kCharred, Mesh().brokenWall({kHalfWidth, 0, -2.4}, {5.8, 1.6, 0.2}, 8));
}

void addCollision(GltfScene& scene) {
  scene.collision("n_ground_1_3", halfStoreyHull(-1, 0));
  scene.collision("n_ground_2_4", halfStoreyHull(1, 0));
  scene.collision("n_upper_3_5", halfStoreyHull(-1, kStorey));
  scene.collision("n_upper_4_5", halfStoreyHull(1, kStorey));
  scene.collision("n_roof_5_6", Mesh().box({-4.4, kEaves, -1.8}, {4.4, 7.6, 1.8}));
  scene.collision("n_chimney_6", Mesh().box({1.6, 6.6, -1.5}, {2.3, 9.2, -0.8}));
  scene.collision("partN7", Mesh().box({-3.4, 0, kHalfDepth}, {-0.6, 2.6, 4.5}));
  scene.collision("partN8", Mesh().box({kHalfWidth, 0, -2.4}, {5.8, 2.1, 0.2}));
}

}  // namespace

GltfScene makeHouse() {
  GltfScene scene("house");
  scene.part("static_base", kConcrete,
             Mesh().box({-4.2, -0.4, -3.2}, {4.2, 0, 3.2}).box({-3.7, 2.9, -2.7}, {3.7, 3.0, 2.7}));
  addUndamagedParts(scene);
  addDestroyedParts(scene);
  addCollision(scene);
  scene.hardPoint("HP_smoke", {1.95, 9.3, -1.15});
  scene.hardPoint("HP_dust_3", {-2, 0.5, 3.2});
  scene.hardPoint("HP_dust_4", {2, 0.5, 3.2});
  scene.hardPoint("HP_dust_5", {0, 6.2, 3.2});
  scene.hardPoint("HP_dust_6", {0, 8.3, 0});
  return scene;
}

GltfScene makeDistantHouse() {
  GltfScene scene("house_distant");
  scene.part("n_walls_1", kPlaster, Mesh().box({-4, 0, -3}, {4, kEaves, 3}));
  scene.part("n_roof_2", kTiles, roof());
  scene.part("d_walls_1", kRubble, Mesh().box({-4, 0, -3}, {4, 1.5, 3}));
  scene.part("d_roof_2", kCharred, Mesh().box({-4, 1.5, -3}, {4, 1.8, 3}));
  return scene;
}

}  // namespace sample
