// What tests of connections share: both ends of one, and what the process holds open.
#pragma once

#include <ztlib/ZtServerSocket.h>
#include <ztlib/ZtSocket.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "ScratchFolder.h"

/// Both ends of a connection over the loopback, closed in the end.
struct Connection {
    int left;
    int right;

    Connection() {
        ZtServerSocket server;
        const int port = server.openLocalSocket(0);
        left = ZtSocket::connect("127.0.0.1", port, 0);
        right = server.accept();
    }
    ~Connection() {
        closeEnd(left);
        closeEnd(right);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    static void closeEnd(int& end) {
        if (end >= 0)
            ZtSocket::close(end);
        end = -1;
    }
};

/// How many descriptors the process has, where the system tells; else always 0.
inline int countDescriptors() {
    std::error_code none;
    int count = 0;
    for (std::filesystem::directory_iterator entry("/proc/self/fd", none), end;
         !none && entry != end; entry.increment(none))
        ++count;
    return kNamesAreBytes ? count : 0;
}

inline double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}
