// ZtServerSocket: a TCP port that others connect to.
#pragma once

#include <ztlib/ZtExport.h>

/// A listening socket over IPv4. Copies share the descriptor, and the first of them to go closes it
/// for all: copy to hand it on, not to have two.
///
/// `openSocket` listens on every address of the host, so whoever reaches the host reaches the
/// port; `openLocalSocket` does for programs of the same host only.
///
/// Failures are printed on standard error while `verbose` is not 0. One thread at a time.
class ZTLIB_API ZtServerSocket {
public:
    int verbose;  ///< not 0: failures are printed
    int port;     ///< where it listens, -1 while it does not
    int fd;       ///< the descriptor, -1 while there is none

    /// A closed socket.
    explicit ZtServerSocket(int verbose = 1);

    ZtServerSocket(const ZtServerSocket&) = default;
    ZtServerSocket& operator=(const ZtServerSocket&) = default;
    /// Closes the socket.
    ~ZtServerSocket();

    /// Listens on a port; closes first what was open. With `tries` below 0 it tries up to -`tries`
    /// ports, each one higher than the one before, and takes the first that is free; else the port
    /// itself up to `tries` times, 1 ms apart, for ever with 0. Port 0 lets the system choose one.
    /// `backlog` is how many connections may wait to be accepted. Returns the port, or -1.
    int openSocket(int port, int tries = 1, int backlog = 5);
    /// The same for connections from this host only.
    int openLocalSocket(int port, int tries = 1, int backlog = 5);

    /// Waits for a connection and returns its descriptor, which the caller closes; -1 on failure,
    /// and when nobody waits to connect and the socket does not block, which is not printed. When
    /// descriptors or memory run out, it rests 1 ms before it returns, so that a loop around it
    /// does not spin.
    int accept();

    /// Stops listening.
    void close();
    int isOpen() const;

    /// Say whether `accept` waits.
    void blocking();
    void nonBlocking();
    /// Returns 0, always: not every system can tell.
    int isNonBlocking() const;

protected:
    /// Prints "what: why", by the last error, if `verbose` is set; null is "ZtServerSocket".
    void error(const char* what);

private:
    int listenAt(unsigned address, int port, int tries, int backlog);
    int fail(const char* what);
};
