// Sockets of the kernel.
#include "platform/PlatformSocket.h"

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/PlatformFaults.h"

namespace platform {

namespace {

struct Translation {
    int system;
    int code;
};

constexpr Translation kErrors[] = {
    {EINTR, 10004},           {EBADF, 10009},        {EACCES, 10013},
    {EPERM, 10013},           {EFAULT, 10014},       {EINVAL, 10022},
    {EMFILE, 10024},          {ENFILE, 10024},       {EAGAIN, 10035},
    {EWOULDBLOCK, 10035},     {EINPROGRESS, 10036},  {EALREADY, 10037},
    {ENOTSOCK, 10038},        {EDESTADDRREQ, 10039}, {EMSGSIZE, 10040},
    {EPROTOTYPE, 10041},      {ENOPROTOOPT, 10042},  {EPROTONOSUPPORT, 10043},
    {ESOCKTNOSUPPORT, 10044}, {EOPNOTSUPP, 10045},   {EPFNOSUPPORT, 10046},
    {EAFNOSUPPORT, 10047},    {EADDRINUSE, 10048},   {EADDRNOTAVAIL, 10049},
    {ENETDOWN, 10050},        {ENETUNREACH, 10051},  {ENETRESET, 10052},
    {ECONNABORTED, 10053},    {ECONNRESET, 10054},   {EPIPE, 10054},
    {ENOBUFS, 10055},         {ENOMEM, 10055},       {EISCONN, 10056},
    {ENOTCONN, 10057},        {ESHUTDOWN, 10058},    {ETOOMANYREFS, 10059},
    {ETIMEDOUT, 10060},       {ECONNREFUSED, 10061}, {ELOOP, 10062},
    {ENAMETOOLONG, 10063},    {EHOSTDOWN, 10064},    {EHOSTUNREACH, 10065},
    {ENOTEMPTY, 10066},       {EUSERS, 10068},       {EDQUOT, 10069},
    {ESTALE, 10070},          {EREMOTE, 10071}};

constexpr int kSystemCallFailure = 10107;

thread_local int lastError = 0;

int codeOf(int systemError) {
    for (const Translation& row : kErrors)
        if (row.system == systemError)
            return row.code;
    return kSystemCallFailure;
}

// Makes a call that returns -1 and sets `errno` when it fails.
template <class Operation>
int callSocket(Operation operation) {
    int result;
    do
        result = static_cast<int>(operation());
    while (result == -1 && errno == EINTR);
    if (result == -1)
        lastError = codeOf(errno);
    return result;
}

// The same for a call that a test may make fail, with one of our numbers.
template <class Operation>
int callSocket(Call call, Operation operation) {
    int fault;
    do
        fault = faultOf(call);
    while (fault == socket_error::kInterrupted);
    if (fault == 0)
        return callSocket(operation);
    lastError = fault;
    return -1;
}

template <class Value>
bool setOption(int socket, int level, int option, const Value& value) {
    return callSocket([&] { return setsockopt(socket, level, option, &value, sizeof value); }) == 0;
}

sockaddr_in addressOf(unsigned address, int port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = address;
    result.sin_port = htons(static_cast<uint16_t>(port));
    return result;
}

sockaddr* generic(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

// Polls until the time is up, however often a signal interrupts; negative for ever.
int waitFor(int socket, short events, int milliseconds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (int left = milliseconds;;) {
        pollfd entry{socket, events, 0};
        const int result = poll(&entry, 1, left);
        if (result > 0 && (entry.revents & POLLNVAL) != 0) {
            lastError = codeOf(EBADF);
            return -1;
        }
        if (result >= 0)
            return result;
        if (errno != EINTR) {
            lastError = codeOf(errno);
            return -1;
        }
        if (milliseconds >= 0) {
            const auto rest =
                std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
            left = rest > 0 ? static_cast<int>(rest) : 0;
        }
    }
}

// Whether this side has told the peer that it sends no more: the connection has no reset behind it
// and yet takes nothing.
bool hasShutDownSending(int socket) {
    tcp_info info{};
    socklen_t size = sizeof info;
    if (getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0)
        return false;
    return info.tcpi_state == TCP_FIN_WAIT1 || info.tcpi_state == TCP_FIN_WAIT2 ||
           info.tcpi_state == TCP_CLOSING || info.tcpi_state == TCP_LAST_ACK;
}

int resolveError(int result) {
    switch (result) {
        case EAI_AGAIN:
            return 11002;
        case EAI_FAIL:
            return 11003;
#ifdef EAI_NODATA
        case EAI_NODATA:
            return 11004;
#endif
        case EAI_MEMORY:
            return socket_error::kNoBuffers;
        default:
            return socket_error::kHostNotFound;
    }
}

}  // namespace

int socketError() {
    return lastError;
}

void setSocketError(int error) {
    lastError = error;
}

bool startSockets() {
    return true;
}

int openSocket() {
    return callSocket(Call::kOpenSocket,
                      [] { return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP); });
}

bool closeSocket(int socket) {
    // Closed it is in any case, so an interruption is no reason to do it again.
    const int result = ::close(socket);
    if (result == -1 && errno != EINTR)
        lastError = codeOf(errno);
    return result == 0 || errno == EINTR;
}

bool allowReuse(int socket) {
    return callSocket(Call::kAllowReuse, [&] {
               const int on = 1;
               return setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
           }) == 0;
}

bool allowReuseByListener(int socket) {
    return allowReuse(socket);
}

bool bindSocket(int socket, unsigned address, int port) {
    sockaddr_in name = addressOf(address, port);
    return callSocket([&] { return bind(socket, generic(name), sizeof name); }) == 0;
}

bool listenOn(int socket, int backlog) {
    return callSocket(Call::kListen, [&] { return listen(socket, backlog); }) == 0;
}

int portOf(int socket) {
    sockaddr_in name{};
    socklen_t size = sizeof name;
    if (callSocket([&] { return getsockname(socket, generic(name), &size); }) != 0)
        return -1;
    return ntohs(name.sin_port);
}

int acceptFrom(int socket) {
    return callSocket(Call::kAccept,
                      [&] { return accept4(socket, nullptr, nullptr, SOCK_CLOEXEC); });
}

bool connectTo(int socket, unsigned address, int port) {
    sockaddr_in name = addressOf(address, port);
    if (connect(socket, generic(name), sizeof name) == 0)
        return true;
    if (errno == EINTR) {  // it goes on meanwhile
        if (waitFor(socket, POLLOUT, -1) < 0)
            return false;
        lastError = connectError(socket);
        return lastError == 0;
    }
    lastError = errno == EINPROGRESS ? socket_error::kWouldBlock : codeOf(errno);
    return false;
}

int connectError(int socket) {
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        error = errno;
    return error == 0 ? 0 : codeOf(error);
}

bool setBlocking(int socket, bool blocks) {
    int doesNot = blocks ? 0 : 1;
    return callSocket([&] { return ioctl(socket, FIONBIO, &doesNot); }) == 0;
}

bool setSendBuffer(int socket, int size) {
    return setOption(socket, SOL_SOCKET, SO_SNDBUF, size);
}

bool setNoDelay(int socket, bool on) {
    return setOption(socket, IPPROTO_TCP, TCP_NODELAY, on ? 1 : 0);
}

bool setReceiveTimeout(int socket, int milliseconds) {
    timeval time{};
    time.tv_sec = milliseconds / 1000;
    time.tv_usec = milliseconds % 1000 * 1000;
    return setOption(socket, SOL_SOCKET, SO_RCVTIMEO, time);
}

int receiveSome(int socket, void* buffer, int size) {
    return callSocket(Call::kReceive,
                      [&] { return recv(socket, buffer, static_cast<std::size_t>(size), 0); });
}

int peekSome(int socket, void* buffer, int size) {
    return callSocket(Call::kReceive, [&] {
        return recv(socket, buffer, static_cast<std::size_t>(size), MSG_PEEK);
    });
}

int sendSome(int socket, const void* data, int size) {
    const int sent = callSocket(Call::kSend, [&] {
        return send(socket, data, static_cast<std::size_t>(size), MSG_NOSIGNAL);
    });
    if (sent == -1 && errno == EPIPE && hasShutDownSending(socket))
        lastError = socket_error::kShutDown;
    return sent;
}

int waitReadable(int socket, int milliseconds) {
    return waitFor(socket, POLLIN, milliseconds);
}

int waitWritable(int socket, int milliseconds) {
    return waitFor(socket, POLLOUT, milliseconds);
}

bool hasDelivered(int socket) {
    int waiting = 0;
    return ioctl(socket, SIOCOUTQ, &waiting) == 0 && waiting == 0;
}

bool shutDownSending(int socket) {
    return callSocket([&] { return shutdown(socket, SHUT_WR); }) == 0;
}

bool shutDown(int socket) {
    return callSocket([&] { return shutdown(socket, SHUT_RDWR); }) == 0;
}

bool isPeerLocal(int socket) {
    sockaddr_in peer{};
    sockaddr_in own{};
    socklen_t peerSize = sizeof peer;
    socklen_t ownSize = sizeof own;
    if (getpeername(socket, generic(peer), &peerSize) != 0 ||
        getsockname(socket, generic(own), &ownSize) != 0)
        return false;
    if (peer.sin_family == AF_UNIX)
        return true;
    constexpr unsigned kLoopbackNet = 127;
    return ntohl(peer.sin_addr.s_addr) >> 24 == kLoopbackNet ||
           peer.sin_addr.s_addr == own.sin_addr.s_addr;
}

bool hostName(char* name, int size) {
    const bool isKnown = callSocket(Call::kHostName, [&] {
                             return gethostname(name, static_cast<std::size_t>(size));
                         }) == 0;
    if (isKnown)
        name[size - 1] = '\0';
    return isKnown;
}

bool resolveHost(const char* host, unsigned& address) {
    in_addr numbers;
    if (*host != '\0' && inet_aton(host, &numbers) != 0) {
        address = numbers.s_addr;
        return true;
    }
    // Nothing but numbers that are no address is no name either; nobody needs to be asked.
    if (host[std::strspn(host, "0123456789.")] == '\0') {
        lastError = socket_error::kHostNotFound;
        return false;
    }
    addrinfo wanted{};
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(host, nullptr, &wanted, &found);
    if (result != 0) {
        lastError = resolveError(result);
        return false;
    }
    sockaddr_in first;
    std::memcpy(&first, found->ai_addr, sizeof first);
    freeaddrinfo(found);
    address = first.sin_addr.s_addr;
    return true;
}

bool shortHostName(char* name, int size) {
    return hostName(name, size);
}

bool resolveHostBriefly(const char* host, unsigned& address) {
    return resolveHost(host, address);
}

}  // namespace platform
