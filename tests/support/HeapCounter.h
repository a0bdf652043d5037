#pragma once

#include <cstddef>

/// Counts the heap blocks taken through `operator new` since it was made, in the whole program.
class HeapCounter {
public:
    HeapCounter();
    std::size_t blocks() const;

private:
    std::size_t _before;
};
