// Two sockets that are connected: what is sent at one end is received at the other.
#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <string>

#include "Expect.h"

class SocketPair {
public:
    SocketPair() { FUZZ_EXPECT(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_) == 0); }
    ~SocketPair() {
        close(ends_[0]);
        close(ends_[1]);
    }
    SocketPair(const SocketPair&) = delete;
    SocketPair& operator=(const SocketPair&) = delete;

    int ours() const { return ends_[0]; }
    int theirs() const { return ends_[1]; }

    /// Sends to their end, and nothing after that.
    void sendLast(const void* bytes, std::size_t size) const {
        FUZZ_EXPECT(send(ours(), bytes, size, 0) == static_cast<ssize_t>(size));
        shutdown(ours(), SHUT_WR);
    }

    /// Receives all that has been sent from their end so far.
    std::string receiveAll() const {
        std::string text;
        char part[4096];
        for (ssize_t count; (count = recv(ours(), part, sizeof part, MSG_DONTWAIT)) > 0;)
            text.append(part, static_cast<std::size_t>(count));
        return text;
    }

private:
    int ends_[2];
};
