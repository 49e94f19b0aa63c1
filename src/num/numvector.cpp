#include "fiofla/num/numvector.h"

double** NewMatrix(unsigned short rows, unsigned short cols) {
  auto** matrix = new double*[std::size_t(rows) + 1];
  std::size_t made = 0;
  try {
    for (; made < rows; ++made) matrix[made] = new double[cols]();
  } catch (...) {
    for (std::size_t r = 0; r < made; ++r) delete[] matrix[r];
    delete[] matrix;
    throw;
  }
  matrix[rows] = nullptr;
  return matrix;
}

void DeleteMatrix(double** matrix) {
  if (matrix == nullptr) return;
  for (double** row = matrix; *row != nullptr; ++row) delete[] * row;
  delete[] matrix;
}
