#include "math/Allocator.h"

#include "math/internal/BlockPool.h"

#include <cstring>
#include <new>

namespace BlockPool = measuremath::BlockPool;

Allocator::Allocator() = default;

Allocator::Allocator(unsigned int size, void const* src)
{
    allocate(src, size);
}

Allocator::~Allocator() = default;

Allocator* Allocator::make()
{
    return makeEmpty(BlockPool::step);
}

Allocator* Allocator::make(unsigned int size, void const* src)
{
    Allocator* const made = makeEmpty(size <= maxInlineSize ? BlockPool::roundUp(size) : BlockPool::step);
    try {
        made->allocate(src, size);
    } catch (...) {
        made->decrement();
        throw;
    }
    return made;
}

Allocator* Allocator::makeEmpty(unsigned int inlineCapacity)
{
    auto* const made = ::new (BlockPool::take(sizeof(Allocator), inlineCapacity)) Allocator;
    made->_inlineCapacity = inlineCapacity;
    return made;
}

void Allocator::allocate(void const* src, unsigned int size)
{
    void* const buffer = newBuffer(size);
    if (src != nullptr && size != 0) std::memcpy(buffer, src, size);
    _data = buffer;
    _size = size;
}

void Allocator::deallocate()
{
    freeBuffer();
    _data = nullptr;
    _size = 0;
}

void Allocator::copy(void const* src, unsigned int size)
{
    if (src != nullptr && _data != nullptr) std::memmove(_data, src, size);
}

void Allocator::zeroed(void* dest, unsigned int size)
{
    if (size != 0) std::memset(dest, 0, size);
}

Allocator* Allocator::getOwnCopy()
{
    if (!isShared()) return this;
    Allocator* const own = make(_size, _data);
    decrement();
    return own;
}

void Allocator::goingAway()
{
    deallocate();
    unsigned int const capacity = _inlineCapacity;
    if (capacity == 0) {
        delete this;
        return;
    }
    this->~Allocator();
    BlockPool::give(this, capacity);
}

void* Allocator::newBuffer(unsigned int size)
{
    if (_inlineCapacity != 0 && size <= _inlineCapacity) return inlineBuffer();
    return ::operator new[](size);
}

void Allocator::freeBuffer()
{
    bool const ownsBlock = _inlineCapacity == 0 || _data != inlineBuffer();
    if (ownsBlock) ::operator delete[](_data);
}
