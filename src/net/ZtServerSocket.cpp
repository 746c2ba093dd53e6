// Listening sockets.
#include <ztlib/ZtServerSocket.h>
#include <ztlib/ZtSocket.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "platform/PlatformSocket.h"

namespace {

namespace code = platform::socket_error;

constexpr long long kHighestPort = 65535;

void restOneMillisecond() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

int makeSocket() {
    const int socket = platform::openSocket();
    if (socket >= 0)
        platform::allowReuseByListener(socket);
    return socket;
}

enum class Attempt { kListening, kPortTaken, kCannotListen, kNoSocket };

// Listens at a port. Two sockets may have been bound to one where none of them listens yet; the one
// that comes late then needs another socket for its next attempt.
Attempt listenAtPort(int& socket, unsigned address, int port, int backlog) {
    if (!platform::bindSocket(socket, address, port))
        return Attempt::kPortTaken;
    if (platform::listenOn(socket, backlog))
        return Attempt::kListening;
    if (platform::socketError() != code::kAddressInUse)
        return Attempt::kCannotListen;
    platform::closeSocket(socket);
    socket = makeSocket();
    if (socket < 0)
        return Attempt::kNoSocket;
    platform::setSocketError(code::kAddressInUse);
    return Attempt::kPortTaken;
}

}  // namespace

ZtServerSocket::ZtServerSocket(int verboseArg) : verbose(verboseArg), port(-1), fd(-1) {
    ZtSocket::initSocketLayer();
}

ZtServerSocket::~ZtServerSocket() {
    if (fd >= 0)
        platform::shutDown(fd);
    close();
}

int ZtServerSocket::openSocket(int firstPort, int tries, int backlog) {
    return listenAt(platform::kAnyAddress, firstPort, tries, backlog);
}

int ZtServerSocket::openLocalSocket(int firstPort, int tries, int backlog) {
    unsigned address = 0;
    platform::resolveHost("127.0.0.1", address);
    return listenAt(address, firstPort, tries, backlog);
}

int ZtServerSocket::listenAt(unsigned address, int firstPort, int tries, int backlog) {
    close();
    fd = makeSocket();
    if (fd < 0) {
        error("socket");
        return -1;
    }
    // The address that the name stands for would not be used, so nobody is asked for it.
    char name[256];
    if (!platform::hostName(name, sizeof name)) {
        error("gethostbyname");
        return -1;
    }
    const long long attempts = tries < 0 ? -static_cast<long long>(tries) : tries;
    long long candidate = firstPort;
    for (long long attempt = 1;; ++attempt) {
        Attempt result = Attempt::kPortTaken;
        if ((candidate > 0 && candidate <= kHighestPort) || (candidate == 0 && firstPort == 0))
            result = listenAtPort(fd, address, static_cast<int>(candidate), backlog);
        else
            platform::setSocketError(code::kAddressNotAvailable);
        if (result == Attempt::kListening)
            break;
        if (result != Attempt::kPortTaken)
            return fail(result == Attempt::kNoSocket ? "socket" : "listen");
        const bool isHopeless = candidate > kHighestPort || (candidate < 0 && tries >= 0);
        if (attempt == attempts || isHopeless)
            return fail("bind");
        if (tries < 0)
            ++candidate;
        else
            restOneMillisecond();
    }
    port = platform::portOf(fd);
    return port;
}

int ZtServerSocket::fail(const char* what) {
    const int why = platform::socketError();
    error(what);
    close();
    platform::setSocketError(why);
    return -1;
}

int ZtServerSocket::accept() {
    if (fd < 0)
        return -1;
    const int connection = platform::acceptFrom(fd);
    const int why = platform::socketError();
    if (connection < 0 && why != code::kWouldBlock) {
        error("accept");
        if (why == code::kTooManyDescriptors || why == code::kNoBuffers)
            restOneMillisecond();
        platform::setSocketError(why);
    }
    return connection;
}

void ZtServerSocket::close() {
    if (fd >= 0)
        platform::closeSocket(fd);
    fd = port = -1;
}

int ZtServerSocket::isOpen() const {
    return fd >= 0 && port >= 0;
}

void ZtServerSocket::blocking() {
    if (fd >= 0)
        ZtSocket::blocking(fd);
}

void ZtServerSocket::nonBlocking() {
    if (fd >= 0)
        ZtSocket::nonBlocking(fd);
}

int ZtServerSocket::isNonBlocking() const {
    return fd >= 0 ? ZtSocket::isNonBlocking(fd) : 0;
}

void ZtServerSocket::error(const char* what) {
    if (verbose)
        std::fprintf(stderr, "%s: %s\n", what ? what : "ZtServerSocket", ZtSocket::strerror());
}
