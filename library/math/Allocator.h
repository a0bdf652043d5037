#pragma once

#include "math/Export.h"
#include "pointer/MReferenceCounter.h"

template <class T> class TVector;

/// Shared, reference-counted byte buffer behind every array, vector and matrix.
///
/// Copies of a container hold one Allocator; a container that is about to write asks it for a
/// private one (`getOwnCopy`), which is where copy-on-write happens. Counts are plain integers:
/// containers that share a buffer belong to one thread at a time.
///
/// An Allocator that a container makes keeps small buffers (up to `maxInlineSize` bytes) behind
/// the object in the same heap block, so that a 3-vector or a 4 × 4 matrix costs one block.
class MEASUREMATH_API Allocator : public MReferenceCounter {
public:
    /// Largest buffer, in bytes, held within the Allocator's own block: a 4 × 4 matrix of double.
    static constexpr unsigned int maxInlineSize = 16 * sizeof(double);

    /// Empty: size 0, no buffer.
    Allocator();

    /// Buffer of `size` bytes holding a copy of `src`, uninitialised when `src` is null. A buffer
    /// is allocated for size 0 too.
    /// @throws std::bad_alloc when memory runs out.
    Allocator(unsigned int size, void const* src);

    /// The buffer is released when the last holder goes away, not here.
    ~Allocator() override;

    Allocator(Allocator const&) = delete;
    Allocator& operator=(Allocator const&) = delete;

    /// Same as the default constructor and the sized one, with the buffer of a small size in the
    /// object's own heap block: the forms that containers use. The caller holds the one count.
    /// @throws std::bad_alloc when memory runs out.
    static Allocator* make();
    static Allocator* make(unsigned int size, void const* src);  ///< @copydoc make()

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
    template <class T> friend class TVector;

    void goingAway() override;

    static Allocator* makeEmpty(unsigned int inlineCapacity);
    bool isShared() const { return _count > 1; }
    void* newBuffer(unsigned int size);
    void freeBuffer();
    void* inlineBuffer() { return this + 1; }

protected:
    unsigned int _size = 0;  ///< Bytes in the buffer.
    void* _data = nullptr;   ///< The buffer; null when empty.

private:
    unsigned int _inlineCapacity = 0;  // bytes behind the object in its block; 0: made by new
};
