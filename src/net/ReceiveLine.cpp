// Receiving line by line, without a call of the system for each byte.
#include "net/ReceiveLine.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>

#include "platform/PlatformSocket.h"

namespace zt_net {

int receiveLinePart(int socket, char* buffer, int most) {
    char ahead[1024];
    const int seen = platform::peekSome(socket, ahead, std::min(most, int{sizeof ahead}));
    int taken = seen;
    if (seen > 0) {
        const void* const end = std::memchr(ahead, '\n', static_cast<std::size_t>(seen));
        const int count = end ? static_cast<int>(static_cast<const char*>(end) - ahead) + 1 : seen;
        taken = platform::receiveSome(socket, buffer, count);
    }
    // A socket that blocks would not, only its time is up.
    if (taken < 0 && platform::socketError() == platform::socket_error::kWouldBlock)
        platform::setSocketError(platform::socket_error::kTimedOut);
    return taken;
}

int receiveLine(int socket, char* buffer, int size, int milliseconds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    int count = 0;
    do {
        if (milliseconds > 0) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            const int rest = static_cast<int>(std::max<long long>(left.count(), 0));
            const int ready = platform::waitReadable(socket, rest);
            if (ready == 0)
                platform::setSocketError(platform::socket_error::kTimedOut);
            if (ready < 1)
                return -1;
        }
        const int part = receiveLinePart(socket, buffer + count, size - count);
        if (part < 1)
            return part;
        count += part;
    } while (count < size && buffer[count - 1] != '\n');
    buffer[count] = '\0';
    return count;
}

}  // namespace zt_net
