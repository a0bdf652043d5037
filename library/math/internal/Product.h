#pragma once

/// Products of row-major buffers.
namespace measuremath {

/// c = a · b with a m × k, b k × n and c m × n; c overlaps neither.
void multiply(double const* a, double const* b, double* c, int m, int k, int n);

}  // namespace measuremath
