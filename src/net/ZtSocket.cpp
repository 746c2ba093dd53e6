// Connections by their descriptors.
#include <ztlib/ZtContract.h>
#include <ztlib/ZtSocket.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <thread>

#include "net/ReceiveLine.h"
#include "net/SocketErrorNames.h"
#include "platform/PlatformSocket.h"

namespace {

using Clock = std::chrono::steady_clock;
namespace error = platform::socket_error;

constexpr int kLongestName = 256;
constexpr int kHighestPort = 65535;

std::atomic<bool> isInitialised{false};

// This host's own name is that of an address even where nobody else knows it.
bool findAddress(const char* host, unsigned& address) {
    char own[kLongestName];
    const bool isKnown = platform::hostName(own, kLongestName);
    if (!host && !isKnown)
        return false;
    if (platform::resolveHost(host ? host : own, address))
        return true;
    return (!host || (isKnown && ZtString(host) == own)) &&
           platform::resolveHost("127.0.0.1", address);
}

// Connects a socket that does not block before the time is up.
bool connectUntil(int socket, unsigned address, int port, int timeout) {
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(timeout);
    if (platform::connectTo(socket, address, port))
        return true;
    if (platform::socketError() == error::kWouldBlock) {
        const int ready = platform::waitWritable(socket, timeout);
        if (ready < 0)
            return false;
        if (ready > 0 && platform::connectError(socket) == 0)
            return true;
    } else if (platform::socketError() != error::kRefused) {
        return false;
    }
    std::this_thread::sleep_until(end);
    platform::setSocketError(error::kWouldBlock);
    return false;
}

bool connectSocket(int socket, const char* host, int port, int timeout) {
    unsigned address;
    if (!platform::allowReuse(socket) || !findAddress(host, address))
        return false;
    if (port < 1 || port > kHighestPort) {
        platform::setSocketError(error::kAddressNotAvailable);
        return false;
    }
    if (timeout < 1)
        return platform::connectTo(socket, address, port);
    return platform::setBlocking(socket, false) && connectUntil(socket, address, port, timeout) &&
           platform::setBlocking(socket, true);
}

}  // namespace

void ZtSocket::initSocketLayer() {
    if (isInitialised)
        return;
    isInitialised = platform::startSockets();
    if (!isInitialised)
        std::fprintf(stderr, "Couldn't start Windows socket layer\n");
}

int ZtSocket::isInitialized() {
    return isInitialised;
}

int ZtSocket::connect(const char* host, int port, int timeout) {
    initSocketLayer();
    const int socket = platform::openSocket();
    if (socket < 0 || connectSocket(socket, host, port, timeout))
        return socket;
    const int code = platform::socketError();
    platform::closeSocket(socket);
    platform::setSocketError(code);
    return -1;
}

int ZtSocket::receive(int fd, char* buf, int size, int lineMode) {
    if (size < (lineMode ? 2 : 1))
        return 0;
    blocking(fd);
    if (lineMode)
        return zt_net::receiveLine(fd, buf, size, 0);
    for (int count = 0; count < size;) {
        const int part = platform::receiveSome(fd, buf + count, size - count);
        if (part < 0 && platform::socketError() == error::kWouldBlock)
            platform::setSocketError(error::kTimedOut);
        if (part < 1)
            return part;
        count += part;
    }
    return size;
}

int ZtSocket::readLine(int fd, ZtString& line) {
    return readLine(fd, line, INT_MAX);
}

int ZtSocket::readLine(int fd, ZtString& line, int maxLength) {
    ZT_REQUIRE(maxLength > 0);
    blocking(fd);
    line.clear();
    char part[1024];
    while (line.length() < maxLength && (line.length() == 0 || line[line.length() - 1] != '\n')) {
        const int most = maxLength - line.length();
        const int count =
            zt_net::receiveLinePart(fd, part, most < int{sizeof part} ? most : int{sizeof part});
        if (count < 1)
            return count;
        for (int i = 0; i < count; ++i)
            line += part[i];
    }
    return line.length();
}

bool ZtSocket::setReceiveTimeout(int fd, int milliseconds) {
    ZT_REQUIRE(milliseconds >= 0);
    return platform::setReceiveTimeout(fd, milliseconds);
}

unsigned int ZtSocket::send(int fd, const char* format, ...) {
    char text[4096];
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    int sent = -1;
    if (length < 0) {
        platform::setSocketError(error::kInvalid);
    } else if (length < int{sizeof text}) {
        sent = platform::sendSome(fd, text, length);
    } else {
        ZtString longText;
        longText.vprintf(format, again);
        sent = platform::sendSome(fd, longText.getString(), longText.length());
    }
    va_end(again);
    va_end(arguments);
    return static_cast<unsigned int>(sent);
}

void ZtSocket::nonBlocking(int fd) {
    platform::setBlocking(fd, false);
}

void ZtSocket::blocking(int fd) {
    platform::setBlocking(fd, true);
}

int ZtSocket::isNonBlocking(int) {
    return 0;
}

int ZtSocket::close(int fd) {
    platform::shutDown(fd);
    return platform::closeSocket(fd) ? 0 : -1;
}

void ZtSocket::resizeSendBuffer(int fd, int size) {
    platform::setSendBuffer(fd, size);
}

int ZtSocket::setNoDelay(int fd, bool on) {
    return platform::setNoDelay(fd, on) ? 0 : -1;
}

int ZtSocket::lastErrorCode() {
    return platform::socketError();
}

ZtString ZtSocket::lastError() {
    const int code = lastErrorCode();
    return ZtString(0, "%s (%d)", zt_net::socketErrorName(code), code);
}

const char* ZtSocket::strerror() {
    static ZtString* const text = new ZtString;  // never destroyed: others' static objects use it
    *text = lastError();
    return text->getString();
}
