// ZtSocket: TCP connections over IPv4 by their descriptors.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtFormatCheck.h>
#include <ztlib/ZtString.h>

/// Operations on sockets, which are plain descriptors: -1 is none, and who gets one closes it.
/// Programs that are started do not inherit them. Everything waits on the caller's thread. Failures
/// are told by the result, and `lastErrorCode` and `lastError` say why; the numbers are the same on
/// every system. Sending to a peer that is gone fails like anything else and raises no signal.
///
/// Inside the class the names of the system's own calls (`connect`, `send`, `close`) are these.
///
/// Any thread may call, each has its own last error, and one thread at a time uses a descriptor.
/// `strerror` is for one thread.
class ZTLIB_API ZtSocket {
public:
    /// Makes the system's sockets ready for use; other operations that need it call it. Where that
    /// fails, says so on standard error, and the next call tries again.
    static void initSocketLayer();
    /// Whether that has worked.
    static int isInitialized();

    /// Connects to a port, 1 .. 65535, of a host: a name, an address like "127.0.0.1", or null for
    /// this host. Returns the descriptor, which blocks, or -1.
    ///
    /// With a `timeout` of 1 or more it waits that many milliseconds for the connection. That the
    /// peer refuses is no answer then: such a host may be starting, so the time passes all the
    /// same, and the error is 10035, WOULDBLOCK. With less it waits as long as the system does and
    /// tells a refusal at once. Looking up a name takes the time that it takes.
    static int connect(const char* host, int port, int timeout);

    /// Receives into a buffer, after making the socket block.
    ///
    /// With `lineMode` 0: waits until `size` bytes have come and returns `size`; 0 if that is less
    /// than 1. Writes no terminator.
    ///
    /// With another `lineMode`: takes bytes up to a line feed, which is kept, but at most `size`,
    /// then a terminating zero. Expects a buffer of `size` + 1 bytes. Returns the number of bytes,
    /// at once 0 if `size` is less than 2.
    ///
    /// Returns 0 when the peer ends the connection before that, -1 on failure; what came is in the
    /// buffer, without terminator, and is not counted. Takes nothing that it does not return.
    static int receive(int fd, char* buf, int size, int lineMode);

    /// Replaces `line` by what comes up to a line feed, which is kept, and returns its length; 0
    /// when the peer ends the connection before that, -1 on failure, with what came in `line`.
    /// Makes the socket block. A line may have any length: see the other form for peers that are
    /// not trusted.
    static int readLine(int fd, ZtString& line);
    /// The same for at most `maxLength` bytes; without a line feed the rest is for the next call.
    static int readLine(int fd, ZtString& line, int maxLength);

    /// Limits how long `receive` and `readLine` wait for the next bytes; then they return -1 with
    /// the error 10060, TIMEDOUT. 0 waits for ever, as a new socket does. Returns whether it
    /// worked.
    static bool setReceiveTimeout(int fd, int milliseconds);

    /// Formats as by `printf` and sends the text, of any length and without a terminator, in one
    /// call of the system. Returns how many bytes that took, which may be less on a socket that
    /// does not block; -1, as an unsigned number, on failure.
    static unsigned int send(int fd, const char* format, ...) ZT_FORMAT_CHECK(2, 3);

    /// Say whether operations on the socket wait.
    static void nonBlocking(int fd);
    static void blocking(int fd);
    /// Returns 0, always: not every system can tell.
    static int isNonBlocking(int fd);

    /// Ends the connection both ways and closes the socket. Returns 0, or -1 on failure. Received
    /// bytes that nobody has read make the peer lose what it has not got yet.
    static int close(int fd);

    /// Sets the size of the buffer that holds what is on its way.
    static void resizeSendBuffer(int fd, int size);
    /// Says whether small texts are sent at once, not gathered. Returns 0, or -1 on failure.
    static int setNoDelay(int fd, bool on);

    /// Why the calling thread's last operation failed that did; 0 before. An operation that
    /// succeeds may or may not leave it as it was.
    static int lastErrorCode();
    /// The same with its name: "Connection refused (10061)".
    static ZtString lastError();
    /// The same; the text is the library's and holds until the next call.
    static const char* strerror();
};
