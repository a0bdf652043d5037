#pragma once

#include "math/Export.h"

/// Base of objects that count their holders and end themselves when the last one lets go.
///
/// The count starts at 1, for the creator. A further holder adds 1 to it directly; each holder
/// calls decrement() once. It is a plain integer: the object and everything that shares it are
/// for one thread at a time.
class MEASUREMATH_API MReferenceCounter {
public:
    MReferenceCounter(MReferenceCounter const&) = delete;
    MReferenceCounter& operator=(MReferenceCounter const&) = delete;

    /// Gives up one reference; at 0 the object ends itself and must not be touched again.
    /// @return the number of references left.
    int decrement()
    {
        int const left = --_count;
        if (left == 0) goingAway();
        return left;
    }

private:
    /// The last reference is gone: release what the object owns, and the object.
    virtual void goingAway() = 0;

protected:
    MReferenceCounter() = default;
    virtual ~MReferenceCounter() = default;

    int _count = 1;  ///< Number of holders.
};
