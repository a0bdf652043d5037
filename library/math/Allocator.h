#pragma once

#include "math/Export.h"
#include "pointer/MReferenceCounter.h"

template <class T>
class TVector;

/// Shared, reference-counted byte buffer behind every array, vector and matrix.
///
/// Copies of a container hold one Allocator; a container that is about to write asks it for a
/// private one (`getOwnCopy`), which is where copy-on-write happens. Counts are plain integers:
/// containers that share a buffer belong to one thread at a time.
///
/// An Allocator that a container makes has its buffer behind the object, in the same heap block.
/// When its last holder goes away, a small one (a 4 × 4 matrix of double at most) is kept for the
/// thread's next container of that size: chains of expressions pass the same few blocks around.
/// A thread keeps at most 128 of each size, some 220 kB in all. With an address sanitizer none is kept,
/// so that misuse stays visible.
class MEASUREMATH_API Allocator : public MReferenceCounter {
public:
    /// Empty: size 0, no buffer.
    Allocator() = default;

    /// Buffer of `size` bytes holding a copy of `src`, uninitialised when `src` is null. A buffer
    /// is allocated for size 0 too.
    /// @throws std::bad_alloc when memory runs out.
    Allocator(unsigned int size, void const* src);

    /// The buffer is released when the last holder goes away, not here.
    ~Allocator() override = default;

    Allocator(Allocator const&) = delete;
    Allocator& operator=(Allocator const&) = delete;

    /// Takes a new buffer of `size` bytes, copied from `src` unless that is null. An existing
    /// buffer is not freed: call `deallocate` first.
    /// @throws std::bad_alloc when memory runs out; the object is then unchanged.
    void allocate(void const* src, unsigned int size);

    /// Frees the buffer: size 0, no buffer. Harmless when there is none.
    void deallocate();

    /// Copies `size` bytes from `src` into the buffer; nothing when either is null. `size` is not
    /// checked against the buffer's. The two may overlap.
    void copy(void const* src, unsigned int size);

    /// Sets `size` bytes at `dest`, any memory, to zero.
    void zeroed(void* dest, unsigned int size);

    /// The step before every write: this object when the caller is its only holder; otherwise a
    /// private copy of the bytes, the caller's share of this object being given up.
    /// @throws std::bad_alloc when memory runs out; the caller then keeps its share.
    Allocator* getOwnCopy();

private:
    template <class T>
    friend class TVector;
    struct OpenLists;

    // What a thread keeps: a list for each number of doubles. In an Allocator that is kept, `_data`
    // leads to the next one and `_size` is the length of the list from there on. Large ones, and
    // those that make did not make, have lists where nothing ever is.
    static constexpr unsigned int maxKept = 128;
    static constexpr unsigned int maxKeptDoubles = 16;
    static constexpr unsigned int notMade = 0;
    static constexpr unsigned int large = maxKeptDoubles + 2;
    static constexpr unsigned int listOf(unsigned int size)
    {
        constexpr unsigned int step = sizeof(double);
        return size > maxKeptDoubles * step ? large : (size + step - 1) / step + 1;
    }

    // Of all thread-local storage, only this kind needs no call for an access. It suits the few
    // bytes here also in a library that a program loads late.
    static __thread Allocator* _kept[large + 1] __attribute__((tls_model("initial-exec")));
    static __thread bool _mayStart[large + 1] __attribute__((tls_model("initial-exec")));

    // For containers, as are the next two: object and buffer in one heap block.
    static Allocator* make(unsigned int size)
    {
        unsigned int const list = listOf(size);
        Allocator* const made = _kept[list];
        if (made == nullptr) return makeOnHeap(size);
        _kept[list] = static_cast<Allocator*>(made->_data);
        made->_size = size;
        made->_data = made + 1;
        return made;
    }

    void share() { ++_count; }

    void release()
    {
        if (isShared()) {
            --_count;
            return;
        }
        Allocator* const next = _kept[_list];
        if (next != nullptr ? next->_size < maxKept : _mayStart[_list]) {
            _size = next != nullptr ? next->_size + 1 : 1;
            _data = next;
            _kept[_list] = this;
        } else {
            releaseToHeap();
        }
    }

    bool isShared() const { return _count > 1; }

    static Allocator* makeOnHeap(unsigned int size);
    void releaseToHeap();
    void goingAway() override;

protected:
    unsigned int _size = 0;  ///< Bytes in the buffer.
    void* _data = nullptr;   ///< The buffer; null when empty.

private:
    unsigned int _list = notMade;
};
