#pragma once

#include <core/matrix.h>

namespace Tal {

/// Supplies a matrix for drawing or attaching something. Main thread only.
class MatrixProvider {
 public:
  virtual ~MatrixProvider() = default;

  /// Fills `matrix` with the current matrix.
  virtual void matrix(Matrix& matrix) const = 0;
};

/// A provider that holds its matrix, the identity at first.
class InplaceMatrixProvider final : public MatrixProvider {
 public:
  void set(const Matrix& matrix) noexcept { matrix_ = matrix; }
  void matrix(Matrix& matrix) const override { matrix = matrix_; }

 private:
  Matrix matrix_;
};

}  // namespace Tal
