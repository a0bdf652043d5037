#include "math/Allocator.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool keepsBlocks = false;
#elif defined(__has_feature)
constexpr bool keepsBlocks = !__has_feature(address_sanitizer);
#else
constexpr bool keepsBlocks = true;
#endif

}  // namespace

constinit __thread Allocator* Allocator::_kept[] = {};
constinit __thread bool Allocator::_mayStart[] = {};

// A thread's lists are open during the life of its one object of this class. Containers that die
// later still, those with static storage, find them closed and give their blocks to the heap.
struct Allocator::OpenLists {
    OpenLists()
    {
        if (keepsBlocks) std::fill(&_mayStart[notMade + 1], &_mayStart[large], true);
    }
    OpenLists(OpenLists const&) = delete;
    OpenLists& operator=(OpenLists const&) = delete;
    ~OpenLists()
    {
        std::fill(std::begin(_mayStart), std::end(_mayStart), false);
        for (Allocator*& first : _kept) {
            while (first != nullptr) {
                Allocator* const last = first;
                first = static_cast<Allocator*>(last->_data);
                ::operator delete(last);
            }
        }
    }
};

Allocator::Allocator(unsigned int size, void const* src)
{
    allocate(src, size);
}

Allocator* Allocator::makeOnHeap(unsigned int size)
{
    unsigned int const list = listOf(size);
    std::size_t const capacity = list == large ? size : (list - 1) * sizeof(double);
    auto* const made = ::new (::operator new(sizeof(Allocator) + capacity)) Allocator;
    made->_list = list;
    made->_size = size;
    made->_data = made + 1;
    return made;
}

void Allocator::allocate(void const* src, unsigned int size)
{
    void* const buffer = ::operator new[](size);
    if (src != nullptr && size != 0) std::memcpy(buffer, src, size);
    _data = buffer;
    _size = size;
}

void Allocator::deallocate()
{
    bool const isBehind = _list != notMade && _data == this + 1;
    if (!isBehind) ::operator delete[](_data);
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
    Allocator* const own = make(_size);
    own->copy(_data, _size);
    decrement();
    return own;
}

void Allocator::releaseToHeap()
{
    thread_local OpenLists const open;  // from the first release on
    static_cast<void>(open);
    decrement();
}

void Allocator::goingAway()
{
    deallocate();
    if (_list == notMade) {
        delete this;
    } else {
        this->~Allocator();
        ::operator delete(this);
    }
}
