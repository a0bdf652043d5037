#pragma once

#include <cstddef>

/// Whether small blocks are kept for reuse; with an address sanitizer each comes from the heap.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool keepsSmallBlocks = false;
#elif defined(__has_feature)
inline constexpr bool keepsSmallBlocks = !__has_feature(address_sanitizer);
#else
inline constexpr bool keepsSmallBlocks = true;
#endif

/// Counts the heap blocks taken through `operator new` since it was made, in the whole program.
class HeapCounter {
public:
    HeapCounter();
    std::size_t blocks() const;
    /// How many more blocks are held than then.
    long held() const;

private:
    std::size_t _before;
    long _heldBefore;
};

/// Lets one request for memory of this thread fail, for the life of this object: the
/// `request`-th, from 1 on.
class HeapFault {
public:
    explicit HeapFault(long request);
    ~HeapFault();
    HeapFault(HeapFault const&) = delete;
    HeapFault& operator=(HeapFault const&) = delete;

    bool hasStruck() const;
};
