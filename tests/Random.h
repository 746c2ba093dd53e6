// Random numbers that are the same in every run and on every system.
#pragma once

#include <iterator>
#include <random>

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}

    unsigned bits() { return static_cast<unsigned>(engine_()); }
    /// A number from 0 to n - 1.
    int below(int n) { return static_cast<int>(bits() % static_cast<unsigned>(n)); }
    /// An element of a list that is not empty.
    template <class List>
    auto& of(List& list) {
        return list[bits() % static_cast<unsigned>(std::size(list))];
    }

private:
    std::mt19937 engine_;
};
