// A pool of the pooled allocator that goes with its scope, and a look at what blocks hold.
#pragma once

#include <ztlib/ZtPooledAllocator.h>

#include <algorithm>

class PoolForTest {
public:
    PoolForTest() : pool_(nedcreatepool(0, 1)) {}
    ~PoolForTest() { neddestroypool(pool_); }
    PoolForTest(const PoolForTest&) = delete;
    PoolForTest& operator=(const PoolForTest&) = delete;

    nedpool* get() const { return pool_; }

private:
    nedpool* pool_;
};

inline bool isFilled(const unsigned char* bytes, std::size_t size, int value) {
    return std::all_of(bytes, bytes + size, [value](int byte) { return byte == value; });
}
