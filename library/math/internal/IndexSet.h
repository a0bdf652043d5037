#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace measuremath {

/// In place of an index: there is none.
inline constexpr int none = -1;

/// The index as the standard containers take it.
constexpr std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

/// A set of integers from 0 up to a fixed bound, one bit each.
class IndexSet {
public:
    explicit IndexSet(int bound) : _words((at(bound) + bits - 1) / bits) {}

    bool contains(int i) const { return (_words[at(i / bits)] & bit(i)) != 0; }
    void insert(int i) { _words[at(i / bits)] |= bit(i); }
    void erase(int i) { _words[at(i / bits)] &= ~bit(i); }
    void flip(int i) { _words[at(i / bits)] ^= bit(i); }
    void clear() { std::fill(_words.begin(), _words.end(), Word{0}); }

    IndexSet& operator|=(IndexSet const& other)
    {
        for (std::size_t w = 0; w < _words.size(); ++w) _words[w] |= other._words[w];
        return *this;
    }

    /// The smallest common member from `from` on, or none.
    friend int firstCommon(IndexSet const& a, IndexSet const& b, int from)
    {
        std::size_t w = at(from / bits);
        if (w >= a._words.size()) return none;
        Word common = a._words[w] & b._words[w] & ~(bit(from) - 1);
        while (common == 0) {
            if (++w == a._words.size()) return none;
            common = a._words[w] & b._words[w];
        }
        return static_cast<int>(w) * bits + std::countr_zero(common);
    }

    /// Calls action(i) for each common member in ascending order; the action may erase i.
    template <class Action>
    friend void forEachCommon(IndexSet const& a, IndexSet const& b, Action action)
    {
        for (std::size_t w = 0; w < a._words.size(); ++w) {
            int const first = static_cast<int>(w) * bits;
            for (Word common = a._words[w] & b._words[w]; common != 0; common &= common - 1)
                action(first + std::countr_zero(common));
        }
    }

private:
    using Word = std::uint64_t;
    static constexpr int bits = 64;

    static Word bit(int i) { return Word{1} << (i % bits); }

    std::vector<Word> _words;
};

/// Calls action(i) for each member in ascending order; the action may erase i.
template <class Action>
void forEach(IndexSet const& set, Action action)
{
    forEachCommon(set, set, action);
}

}  // namespace measuremath
