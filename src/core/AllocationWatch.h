// Lets a test count the library's allocations and make chosen ones fail.
#pragma once

#include <ztlib/ZtExport.h>

/// While it lives, every `ztmalloc` and `ztrealloc` is counted and can be made to fail. One at a
/// time; what other threads allocate is counted, too.
class ZTLIB_API AllocationWatch {
public:
    enum Mode {
        kOnce,       ///< Only the chosen call fails.
        kFromThenOn  ///< It and all later ones do: memory is really gone.
    };

    AllocationWatch();
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch&) = delete;
    AllocationWatch& operator=(const AllocationWatch&) = delete;

    /// Makes the call fail that comes after `calls` more have succeeded.
    void failAfter(int calls, Mode mode = kOnce);
    /// Lets all calls succeed again.
    void stopFailing();

    /// Whether a call was made to fail.
    bool hasFailed() const;
    /// Calls of `ztmalloc` and `ztrealloc` since the start, failed ones included.
    int calls() const;
    /// Blocks obtained less blocks freed since the start.
    int liveBlocks() const;
};
