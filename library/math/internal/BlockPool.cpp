#include "math/internal/BlockPool.h"

#include <array>
#include <new>

namespace measuremath::BlockPool {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr unsigned int maxKept = 0;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr unsigned int maxKept = 0;
#else
constexpr unsigned int maxKept = 256;
#endif
#else
constexpr unsigned int maxKept = 256;  // at most 40 kB per thread
#endif

struct FreeBlock {
    FreeBlock* next;
};

struct FreeList {
    FreeBlock* first;
    unsigned int count;
};

// Trivially destructible, so that containers with static storage, which die after the thread's
// other objects, may still give their blocks back.
struct Pool {
    std::array<FreeList, classCount> lists;
    bool closed;
};

#if defined(__GNUC__)
__attribute__((tls_model("initial-exec")))
#endif
constinit thread_local Pool pool = {};

struct PoolCloser {
    PoolCloser() = default;
    PoolCloser(PoolCloser const&) = delete;
    PoolCloser& operator=(PoolCloser const&) = delete;
    ~PoolCloser()
    {
        pool.closed = true;
        for (FreeList& list : pool.lists) {
            while (list.first != nullptr) {
                FreeBlock* const block = list.first;
                list.first = block->next;
                ::operator delete(block);
            }
        }
    }
};

// Called when the first block of a list is kept: registers the clean-up at the thread's end.
void closeAtThreadEnd()
{
    thread_local PoolCloser const closer;
    static_cast<void>(closer);
}

FreeList& listOf(unsigned int capacity)
{
    return pool.lists[capacity / step - 1];
}

}  // namespace

void* take(std::size_t header, unsigned int capacity)
{
    FreeList& list = listOf(capacity);
    if (list.first == nullptr) return ::operator new(header + capacity);
    FreeBlock* const block = list.first;
    list.first = block->next;
    --list.count;
    return block;
}

void give(void* block, unsigned int capacity) noexcept
{
    FreeList& list = listOf(capacity);
    if (pool.closed || list.count == maxKept) {
        ::operator delete(block);
        return;
    }
    if (list.first == nullptr) closeAtThreadEnd();
    list.first = ::new (block) FreeBlock{list.first};
    ++list.count;
}

}  // namespace measuremath::BlockPool
