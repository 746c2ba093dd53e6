// Every way to receive, against the text that was sent: the first bytes of the input say how to
// receive, the others are the text.
#include <ztlib/ZtSocket.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "SocketPair.h"

namespace {

constexpr std::size_t kMostSent = 4096;
constexpr std::size_t kOrders = 8;

// How many bytes an operation takes of the rest: up to a line feed, at most so many.
std::size_t lineLength(const std::string& rest, std::size_t most) {
    const std::size_t feed = rest.find('\n');
    return feed == std::string::npos ? most : std::min(most, feed + 1);
}

// Receives as the order says and takes the same from the rest. Returns whether there may be more.
bool receiveOnce(int socket, std::uint8_t order, std::string& rest) {
    const int kind = order % 4;
    const int size = order / 4 * (order / 4);
    const std::size_t most = kind == 2 ? kMostSent + 1 : static_cast<std::size_t>(size);
    std::size_t length = kind == 0 ? most : lineLength(rest, most);
    std::string got;
    int result;
    if (kind < 2) {
        if (size < 1 + kind)
            length = 0;
        std::vector<char> buffer(static_cast<std::size_t>(size) + 1, '#');
        result = ZtSocket::receive(socket, buffer.data(), size, kind);
        got.assign(buffer.data(), std::min(length, rest.size()));
        const bool hasEnd = kind == 1 && result > 0;
        FUZZ_EXPECT(buffer[got.size()] == (hasEnd ? '\0' : '#'));
    } else {
        ZtString line;
        result = kind == 2 ? ZtSocket::readLine(socket, line)
                           : ZtSocket::readLine(socket, line, std::max(size, 1));
        if (kind == 3 && size == 0)
            length = 1;
        got.assign(line.getString(), static_cast<std::size_t>(line.length()));
    }
    const bool isWhole = length <= rest.size();
    FUZZ_EXPECT(result == (isWhole ? static_cast<int>(length) : 0));
    FUZZ_EXPECT(got == rest.substr(0, length));
    rest.erase(0, length);
    return isWhole;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kOrders)
        return 0;
    const SocketPair pair;
    std::string rest(data + kOrders, data + std::min(size, kOrders + kMostSent));
    pair.sendLast(rest.data(), rest.size());
    for (std::size_t i = 0; i < kOrders; ++i)
        if (!receiveOnce(pair.theirs(), data[i], rest))
            break;
    return 0;
}
