#pragma once

#include <cstddef>

/// Heap blocks for the small buffers of containers, kept for reuse in short lists per thread and
/// size class: a chain of 3-vector expressions takes and gives back the same few blocks.
///
/// A block may be given back in another thread than the one that took it. With an address
/// sanitizer every block comes from the heap and goes back there, so that misuse stays visible.
namespace measuremath::BlockPool {

/// Capacities are multiples of this: 4, 8, 12 and 16 doubles.
inline constexpr unsigned int step = 4 * sizeof(double);
inline constexpr unsigned int classCount = 4;

/// The smallest capacity that holds `size` bytes; at least one step.
constexpr unsigned int roundUp(unsigned int size)
{
    return size == 0 ? step : (size + step - 1) / step * step;
}

/// A block of `header + capacity` bytes, `capacity` a multiple of `step` up to `classCount` steps.
/// @throws std::bad_alloc when memory runs out.
void* take(std::size_t header, unsigned int capacity);

/// Gives back a block taken with this capacity.
void give(void* block, unsigned int capacity) noexcept;

}  // namespace measuremath::BlockPool
