#include "support/HeapCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> taken = 0;

void* take(std::size_t size)
{
    ++taken;
    if (void* const block = std::malloc(size == 0 ? 1 : size)) return block;
    throw std::bad_alloc();
}

}  // namespace

// The whole test program allocates through these.
void* operator new(std::size_t size) { return take(size); }
void* operator new[](std::size_t size) { return take(size); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return std::malloc(size == 0 ? 1 : size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

HeapCounter::HeapCounter() : _before(taken) {}

std::size_t HeapCounter::blocks() const { return taken - _before; }
