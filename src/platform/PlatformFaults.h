// Lets a test make chosen calls of the system fail, as they seldom do by themselves.
#pragma once

#include <ztlib/ZtExport.h>

namespace platform {

/// What the seam asks of the system. Each attempt counts, so an interrupted call that is made again
/// counts twice.
enum class Call : int {
    kOpenFile,
    kOpenDirectory,
    kReadDirectory,  ///< for one more entry
    kExamine,        ///< an entry's kind or times
    kMakeDirectory,
    kRemoveFile,
    kRemoveDirectory,
    kReadFile,
    kWriteFile,
    kFreeSpace,
    // Those of sockets fail with the numbers of PlatformSocket.h.
    kOpenSocket,
    kAllowReuse,
    kHostName,
    kListen,
    kAccept,
    kReceive,
    kSend
};
inline constexpr int kCallKinds = 17;

/// While it lives, every call is counted and chosen ones fail. One at a time; the calls of all
/// threads take part.
class ZTLIB_API CallFaults {
public:
    CallFaults();
    ~CallFaults();
    CallFaults(const CallFaults&) = delete;
    CallFaults& operator=(const CallFaults&) = delete;

    /// Makes `times` calls of a kind fail with an error number, of <cerrno> unless said above,
    /// after `after` more of them were made. Of several orders for one kind the last holds.
    void fail(Call call, int error, int after = 0, int times = 1);

    /// Has `act(context)` called before each further call of a kind: what others may do to the disk
    /// between two steps of an operation. What it asks of the seam itself is not watched.
    void before(Call call, void (*act)(void* context), void* context);

    /// Returns how many calls of a kind were made so far, failed ones included.
    int calls(Call call) const;
};

/// Counts a call; returns the error that it is to fail with, 0 to let it be made.
ZTLIB_API int faultOf(Call call) noexcept;

}  // namespace platform
