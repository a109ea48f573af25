#include "mesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace sample {
namespace {

constexpr double kTurn = 6.283185307179586;

Point operator-(const Point& a, const Point& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Point operator+(const Point& a, const Point& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

Point cross(const Point& a, const Point& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Point unit(const Point& vector) {
  const double length = std::sqrt(vector[0] * vector[0] + vector[1] * vector[1] + vector[2] * vector[2]);
  return {vector[0] / length, vector[1] / length, vector[2] / length};
}

/// The corners of each side of a box, as bits (1: x, 2: y, 4: z), counter-clockwise seen from outside.
constexpr std::array<std::array<unsigned, 4>, 6> kBoxSides = {
    {{4, 5, 7, 6}, {1, 0, 2, 3}, {5, 1, 3, 7}, {0, 4, 6, 2}, {6, 7, 3, 2}, {0, 1, 5, 4}}};

}  // namespace

Mesh& Mesh::face(const std::vector<Point>& corners) {
  const Point normal = unit(cross(corners[1] - corners[0], corners[2] - corners[0]));
  const auto first = static_cast<std::uint16_t>(vertices_.size());
  for (const Point& corner : corners) vertices_.push_back({corner, normal});
  for (std::size_t corner = 2; corner < corners.size(); ++corner) {
    indices_.push_back(first);
    indices_.push_back(static_cast<std::uint16_t>(first + corner - 1));
    indices_.push_back(static_cast<std::uint16_t>(first + corner));
  }
  return *this;
}

Mesh& Mesh::box(const Point& min, const Point& max) {
  for (const auto& side : kBoxSides) {
    std::vector<Point> corners;
    for (const unsigned corner : side) {
      corners.push_back({(corner & 1U) != 0 ? max[0] : min[0], (corner & 2U) != 0 ? max[1] : min[1],
                         (corner & 4U) != 0 ? max[2] : min[2]});
    }
    face(corners);
  }
  return *this;
}

Mesh& Mesh::turnedBox(const Point& centre, const Point& size, double turn, double tilt) {
  for (const auto& side : kBoxSides) {
    std::vector<Point> corners;
    for (const unsigned corner : side) {
      const double x = size[0] * ((corner & 1U) != 0 ? 0.5 : -0.5);
      const double y = size[1] * ((corner & 2U) != 0 ? 0.5 : -0.5);
      const double z = size[2] * ((corner & 4U) != 0 ? 0.5 : -0.5);
      const double tiltedY = y * std::cos(tilt) - z * std::sin(tilt);
      const double tiltedZ = y * std::sin(tilt) + z * std::cos(tilt);
      corners.push_back(centre + Point{x * std::cos(turn) + tiltedZ * std::sin(turn), tiltedY,
                                       tiltedZ * std::cos(turn) - x * std::sin(turn)});
    }
    face(corners);
  }
  return *this;
}

Mesh& Mesh::prism(const std::vector<std::array<double, 2>>& outline, double back, double front) {
  std::vector<Point> frontSide;
  std::vector<Point> backSide;
  for (const auto& [x, y] : outline) {
    frontSide.push_back({x, y, front});
    backSide.insert(backSide.begin(), {x, y, back});
  }
  face(frontSide).face(backSide);
  for (std::size_t corner = 0; corner < outline.size(); ++corner) {
    const auto& [x, y] = outline[corner];
    const auto& [nextX, nextY] = outline[(corner + 1) % outline.size()];
    face({{x, y, front}, {x, y, back}, {nextX, nextY, back}, {nextX, nextY, front}});
  }
  return *this;
}

Mesh& Mesh::post(const Point& foot, double height, double radiusBelow, double radiusAbove, int sides) {
  const auto first = static_cast<std::uint16_t>(vertices_.size());
  std::vector<Point> top;
  std::vector<Point> bottom;
  for (int side = 0; side <= sides; ++side) {
    const double angle = kTurn * side / sides;
    const Point outwards = {std::sin(angle), 0, std::cos(angle)};
    const Point below = foot + Point{outwards[0] * radiusBelow, 0, outwards[2] * radiusBelow};
    const Point above = foot + Point{outwards[0] * radiusAbove, height, outwards[2] * radiusAbove};
    const Point normal = unit({outwards[0], (radiusBelow - radiusAbove) / height, outwards[2]});
    vertices_.push_back({below, normal});
    vertices_.push_back({above, normal});
    if (side == sides) break;
    top.push_back(above);
    bottom.insert(bottom.begin(), below);
    for (const int corner : {0, 2, 3, 0, 3, 1}) {
      indices_.push_back(static_cast<std::uint16_t>(first + 2 * side + corner));
    }
  }
  if (radiusAbove > 0) face(top);
  return face(bottom);
}

Mesh& Mesh::brokenWall(const Point& min, const Point& max, std::uint32_t seed) {
  Noise noise(seed);
  const std::size_t along = max[0] - min[0] > max[2] - min[2] ? 0 : 2;
  const double length = max[along] - min[along];
  const int steps = std::max(2, static_cast<int>(length / 1.1));
  for (int step = 0; step < steps; ++step) {
    Point low = min;
    Point high = max;
    low[along] = min[along] + length * step / steps;
    high[along] = min[along] + length * (step + 1) / steps;
    // The ends hold better than the middle.
    const bool isEnd = step == 0 || step == steps - 1;
    high[1] = min[1] + (max[1] - min[1]) * noise.between(isEnd ? 0.35 : 0.08, isEnd ? 0.65 : 0.35);
    box(low, high);
  }
  Point heapMin = min;
  Point heapMax = max;
  const std::size_t across = 2 - along;
  heapMin[across] -= 0.5;
  heapMax[across] += 0.5;
  return debris(heapMin, heapMax, steps / 2, seed + 1);
}

Mesh& Mesh::debris(const Point& min, const Point& max, int pieces, std::uint32_t seed) {
  Noise noise(seed);
  for (int piece = 0; piece < pieces; ++piece) {
    const double size = noise.between(0.12, 0.4);
    const Point centre = {noise.between(min[0], max[0]), min[1] + size * 0.35, noise.between(min[2], max[2])};
    const double tilt = noise.between(-0.3, 0.3);
    const double turn = noise.between(0, kTurn);
    turnedBox(centre, {size, size * 0.7, size * 1.3}, turn, tilt);
  }
  return *this;
}

Mesh& Mesh::boulder(const Point& centre, const Point& halfAxes, std::uint32_t seed) {
  constexpr int kRings = 7;
  constexpr int kSides = 10;
  Noise noise(seed);
  std::vector<std::vector<Point>> rings;
  for (int ring = 0; ring <= kRings; ++ring) {
    const double height = 0.5 * kTurn * ring / kRings;
    const bool isPole = ring == 0 || ring == kRings;
    std::vector<Point> points;
    for (int side = 0; side < (isPole ? 1 : kSides); ++side) {
      const double angle = kTurn * side / kSides;
      const double bump = noise.between(0.82, 1.0);
      points.push_back(centre + Point{halfAxes[0] * bump * std::sin(height) * std::sin(angle),
                                      -halfAxes[1] * bump * std::cos(height),
                                      halfAxes[2] * bump * std::sin(height) * std::cos(angle)});
    }
    points.resize(kSides, points.front());
    rings.push_back(points);
  }
  for (std::size_t ring = 0; ring < kRings; ++ring) {
    for (std::size_t side = 0; side < kSides; ++side) {
      const std::size_t next = (side + 1) % kSides;
      const Point& below = rings[ring][side];
      const Point& belowNext = rings[ring][next];
      const Point& above = rings[ring + 1][side];
      const Point& aboveNext = rings[ring + 1][next];
      if (ring > 0) face({below, belowNext, aboveNext});
      if (ring + 1 < kRings) face({below, aboveNext, above});
      if (ring == 0) face({below, aboveNext, above});
    }
  }
  return *this;
}

double Noise::between(double low, double high) {
  state_ = state_ * 1664525U + 1013904223U;
  return low + (high - low) * (state_ >> 8U) / static_cast<double>(1U << 24U);
}

}  // namespace sample
