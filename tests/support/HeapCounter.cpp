#include "support/HeapCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> taken = 0;
std::atomic<long> blocksHeld = 0;
thread_local long requestsLeft = 0;  // until the one that fails; 0: none fails

void* take(std::size_t size)
{
    if (requestsLeft > 0 && --requestsLeft == 0) throw std::bad_alloc();
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    ++taken;
    ++blocksHeld;
    return block;
}

void give(void* block) noexcept
{
    if (block != nullptr) --blocksHeld;
    std::free(block);
}

}  // namespace

// The whole test program allocates through these.
void* operator new(std::size_t size)
{
    return take(size);
}
void* operator new[](std::size_t size)
{
    return take(size);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept
try {
    return take(size);
} catch (std::bad_alloc const&) {
    return nullptr;
}
void operator delete(void* block) noexcept
{
    give(block);
}
void operator delete[](void* block) noexcept
{
    give(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    give(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    give(block);
}

HeapCounter::HeapCounter() : _before(taken), _heldBefore(blocksHeld) {}

std::size_t HeapCounter::blocks() const
{
    return taken - _before;
}

long HeapCounter::held() const
{
    return blocksHeld - _heldBefore;
}

HeapFault::HeapFault(long request)
{
    requestsLeft = request;
}

HeapFault::~HeapFault()
{
    requestsLeft = 0;
}

bool HeapFault::hasStruck() const
{
    return requestsLeft == 0;
}
