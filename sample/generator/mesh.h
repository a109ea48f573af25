#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace sample {

/// Metres; x to the right, y up, z to the front.
using Point = std::array<double, 3>;

/// Triangles with a normal for every corner. Shapes are added to it; faces are flat unless said otherwise.
class Mesh {
 public:
  struct Vertex {
    Point position;
    Point normal;
  };

  const std::vector<Vertex>& vertices() const { return vertices_; }
  const std::vector<std::uint16_t>& indices() const { return indices_; }

  /// A box with its sides along the axes.
  Mesh& box(const Point& min, const Point& max);

  /// A box of the given size around a centre, turned about the vertical axis, then tilted about its own x
  /// axis (radians).
  Mesh& turnedBox(const Point& centre, const Point& size, double turn, double tilt);

  /// A prism: a convex outline in the x-y plane, counter-clockwise seen from the front, between two z.
  Mesh& prism(const std::vector<std::array<double, 2>>& outline, double back, double front);

  /// A round post with a vertical axis whose sides are smooth: a radius below and one above.
  Mesh& post(const Point& foot, double height, double radiusBelow, double radiusAbove, int sides);

  /// What is left of a wall that stood in the box: an edge broken at different heights along the longer side,
  /// and debris at its foot. Equal seeds break equally.
  Mesh& brokenWall(const Point& min, const Point& max, std::uint32_t seed);

  /// A heap of debris on the floor of the box.
  Mesh& debris(const Point& min, const Point& max, int pieces, std::uint32_t seed);

  /// A boulder: a ball, stretched to the given half axes, with an uneven surface.
  Mesh& boulder(const Point& centre, const Point& halfAxes, std::uint32_t seed);

  /// A flat triangle or quadrilateral, counter-clockwise seen from outside.
  Mesh& face(const std::vector<Point>& corners);

 private:
  std::vector<Vertex> vertices_;
  std::vector<std::uint16_t> indices_;
};

/// Numbers that look accidental and are the same everywhere.
class Noise {
 public:
  explicit Noise(std::uint32_t seed) : state_(seed * 2654435761U + 1U) {}

  /// The next number, from `low` to below `high`.
  double between(double low, double high);

 private:
  std::uint32_t state_;
};

}  // namespace sample
