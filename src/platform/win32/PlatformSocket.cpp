// Sockets of Windows, whose error numbers are those of the seam.
#include "platform/PlatformSocket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <cstring>

#include "platform/PlatformFaults.h"

namespace platform {

namespace {

SOCKET handleOf(int socket) {
    return static_cast<SOCKET>(socket);
}

// A failure that a test orders for a call; an interrupted one is made again.
bool hasFault(Call call) {
    int fault;
    do
        fault = faultOf(call);
    while (fault == socket_error::kInterrupted);
    if (fault != 0)
        WSASetLastError(fault);
    return fault != 0;
}

// The number of a new socket, which programs that are started do not inherit.
int takeSocket(SOCKET socket) {
    if (socket == INVALID_SOCKET)
        return -1;
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
    return static_cast<int>(socket);
}

template <class Value>
bool setOption(int socket, int level, int option, const Value& value) {
    return setsockopt(handleOf(socket), level, option, reinterpret_cast<const char*>(&value),
                      sizeof value) == 0;
}

sockaddr_in addressOf(unsigned address, int port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = address;
    result.sin_port = htons(static_cast<u_short>(port));
    return result;
}

sockaddr* generic(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

int waitFor(int socket, bool forReading, int milliseconds) {
    fd_set wanted;
    FD_ZERO(&wanted);
    FD_SET(handleOf(socket), &wanted);
    timeval time{milliseconds / 1000, milliseconds % 1000 * 1000};
    return select(0, forReading ? &wanted : nullptr, forReading ? nullptr : &wanted, nullptr,
                  &time);
}

// Does the work with the newest of the old versions of the sockets that starts.
template <class Work>
bool withAnyVersion(Work work) {
    for (const WORD version : {MAKEWORD(2, 0), MAKEWORD(1, 1), MAKEWORD(1, 0)}) {
        WSADATA data;
        if (WSAStartup(version, &data) != 0)
            continue;
        const bool isDone = work();
        WSACleanup();
        if (isDone)
            return true;
    }
    return false;
}

}  // namespace

int socketError() {
    return WSAGetLastError();
}

void setSocketError(int error) {
    WSASetLastError(error);
}

bool startSockets() {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 0), &data) == 0;
}

int openSocket() {
    return hasFault(Call::kOpenSocket) ? -1
                                       : takeSocket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
}

bool closeSocket(int socket) {
    return closesocket(handleOf(socket)) == 0;
}

bool allowReuse(int socket) {
    return !hasFault(Call::kAllowReuse) && setOption(socket, SOL_SOCKET, SO_REUSEADDR, BOOL{TRUE});
}

bool allowReuseByListener(int socket) {
    // The option that is named after reuse lets two programs listen at one port here.
    return !hasFault(Call::kAllowReuse) &&
           setOption(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, BOOL{TRUE});
}

bool bindSocket(int socket, unsigned address, int port) {
    sockaddr_in name = addressOf(address, port);
    return bind(handleOf(socket), generic(name), sizeof name) == 0;
}

bool listenOn(int socket, int backlog) {
    return !hasFault(Call::kListen) && listen(handleOf(socket), backlog) == 0;
}

int portOf(int socket) {
    sockaddr_in name{};
    int size = sizeof name;
    if (getsockname(handleOf(socket), generic(name), &size) != 0)
        return -1;
    return ntohs(name.sin_port);
}

int acceptFrom(int socket) {
    return hasFault(Call::kAccept) ? -1 : takeSocket(accept(handleOf(socket), nullptr, nullptr));
}

bool connectTo(int socket, unsigned address, int port) {
    sockaddr_in name = addressOf(address, port);
    return connect(handleOf(socket), generic(name), sizeof name) == 0;
}

int connectError(int socket) {
    int error = 0;
    int size = sizeof error;
    if (getsockopt(handleOf(socket), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error),
                   &size) != 0)
        error = WSAGetLastError();
    return error;
}

bool setBlocking(int socket, bool blocks) {
    u_long doesNot = blocks ? 0 : 1;
    return ioctlsocket(handleOf(socket), static_cast<long>(FIONBIO), &doesNot) == 0;
}

bool setSendBuffer(int socket, int size) {
    return setOption(socket, SOL_SOCKET, SO_SNDBUF, size);
}

bool setNoDelay(int socket, bool on) {
    return setOption(socket, IPPROTO_TCP, TCP_NODELAY, BOOL{on});
}

bool setReceiveTimeout(int socket, int milliseconds) {
    return setOption(socket, SOL_SOCKET, SO_RCVTIMEO, static_cast<DWORD>(milliseconds));
}

int receiveSome(int socket, void* buffer, int size) {
    return hasFault(Call::kReceive) ? -1
                                    : recv(handleOf(socket), static_cast<char*>(buffer), size, 0);
}

int peekSome(int socket, void* buffer, int size) {
    return hasFault(Call::kReceive)
               ? -1
               : recv(handleOf(socket), static_cast<char*>(buffer), size, MSG_PEEK);
}

int sendSome(int socket, const void* data, int size) {
    return hasFault(Call::kSend) ? -1
                                 : send(handleOf(socket), static_cast<const char*>(data), size, 0);
}

int waitReadable(int socket, int milliseconds) {
    return waitFor(socket, true, milliseconds);
}

int waitWritable(int socket, int milliseconds) {
    return waitFor(socket, false, milliseconds);
}

bool hasDelivered(int) {
    return false;
}

bool shutDownSending(int socket) {
    return shutdown(handleOf(socket), SD_SEND) == 0;
}

bool shutDown(int socket) {
    return shutdown(handleOf(socket), SD_BOTH) == 0;
}

bool isPeerLocal(int socket) {
    sockaddr_in peer{};
    sockaddr_in own{};
    int peerSize = sizeof peer;
    int ownSize = sizeof own;
    if (getpeername(handleOf(socket), generic(peer), &peerSize) != 0 ||
        getsockname(handleOf(socket), generic(own), &ownSize) != 0)
        return false;
    constexpr unsigned kLoopbackNet = 127;
    return ntohl(peer.sin_addr.s_addr) >> 24 == kLoopbackNet ||
           peer.sin_addr.s_addr == own.sin_addr.s_addr;
}

bool hostName(char* name, int size) {
    return !hasFault(Call::kHostName) && gethostname(name, size) == 0;
}

bool resolveHost(const char* host, unsigned& address) {
    if (*host == '\0') {  // which is every address to the next call
        WSASetLastError(socket_error::kHostNotFound);
        return false;
    }
    address = inet_addr(host);
    if (address != INADDR_NONE)
        return true;
    if (host[std::strspn(host, "0123456789.")] == '\0') {
        WSASetLastError(socket_error::kHostNotFound);
        return false;
    }
    const hostent* const found = gethostbyname(host);
    if (!found || found->h_addrtype != AF_INET || !found->h_addr_list[0])
        return false;
    std::memcpy(&address, found->h_addr_list[0], sizeof address);
    return true;
}

bool shortHostName(char* name, int size) {
    constexpr int kLongest = 17;  // with the terminating zero
    return withAnyVersion([&] { return hostName(name, std::min(size, kLongest)); });
}

bool resolveHostBriefly(const char* host, unsigned& address) {
    return withAnyVersion([&] { return resolveHost(host, address); });
}

}  // namespace platform
