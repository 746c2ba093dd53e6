// Raw data from and to files.
#include <ztlib/ZtLogFile.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtRawData.h>
#include <ztlib/ZtTypedPointer.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/PlatformDescriptor.h"
#include "typeddata/RawKernels.h"
#include "typeddata/RawTypes.h"

namespace {

/// The most that one call of the system transfers.
constexpr std::size_t kMostPerCall = std::size_t{4} << 20;

/// Calls `transfer(bytes, count)` for piece after piece of `count` elements, until it transfers
/// less than it is asked for. Returns the number of whole elements.
template <class Byte, class Transfer>
std::size_t inPieces(Byte* bytes, std::size_t size, std::size_t count, Transfer transfer) {
    // More than the address space is no array.
    if (size == 0 || count > static_cast<std::size_t>(PTRDIFF_MAX) / size)
        return 0;
    std::size_t done = 0;
    while (done < size * count) {
        const std::size_t wanted = std::min(size * count - done, kMostPerCall);
        const std::size_t some = transfer(bytes + done, wanted);
        done += some;
        if (some < wanted)
            break;
    }
    return done / size;
}

/// The words whose bytes have an order, of which the elements of a type consist.
struct Words {
    std::size_t size;
    std::size_t perElement;
};

/// Tells the words of a type; false, and says so, where there are none.
bool findWords(ZtPrimType type, Words& words) {
    const bool isPair = type == ZtPrimType::COMPLEX;
    words.perElement = isPair ? 2 : 1;
    words.size = static_cast<std::size_t>(type.size()) / words.perElement;
    if (words.size > 0 && type != ZtPrimType::STRING)
        return true;
    rawdata::reportUnsupported(type, "()");
    return false;
}

std::size_t readOrdered(ZtTypedPointer data, unsigned n, std::FILE* stream, std::endian order) {
    Words words;
    if (!findWords(data.primType(), words))
        return 0;
    const std::size_t count = ZtRawData::fread(data, words.size * words.perElement, n, stream);
    if (order != std::endian::native)
        rawdata::swapBytes(data, data, words.size, count * words.perElement);
    return count;
}

std::size_t writeOrdered(ZtTypedPointer data, unsigned n, std::FILE* stream, std::endian order) {
    Words words;
    if (!findWords(data.primType(), words))
        return 0;
    const std::size_t size = words.size * words.perElement;
    if (order == std::endian::native)
        return ZtRawData::fwrite(data, size, n, stream);
    const auto* const bytes = static_cast<const unsigned char*>(static_cast<void*>(data));
    unsigned char piece[16384];
    std::size_t done = 0;
    while (done < n) {
        const std::size_t wanted = std::min(n - done, sizeof piece / size);
        rawdata::swapBytes(piece, bytes + done * size, words.size, wanted * words.perElement);
        const std::size_t some = std::fwrite(piece, size, wanted, stream);
        done += some;
        if (some < wanted)
            break;
    }
    return done;
}

}  // namespace

long long ZtRawData::read(int descriptor, void* buffer, long long size) {
    auto* const bytes = static_cast<unsigned char*>(buffer);
    long long done = 0;
    while (done < size) {
        const auto wanted =
            static_cast<std::size_t>(std::min<long long>(size - done, kMostPerCall));
        const int some = platform::readSome(descriptor, bytes + done, wanted);
        if (some < 0) {
            const int error = errno;
            theLogInstance().errorf("ZtRawData::read() failed, ret=%d, size=%lld, errno=%d (%s)",
                                    some, size, error, std::strerror(error));
        }
        if (some <= 0)
            break;
        done += some;
    }
    return done;
}

std::size_t ZtRawData::fread(void* buffer, std::size_t size, std::size_t count, std::FILE* stream) {
    return inPieces(static_cast<unsigned char*>(buffer), size, count,
                    [stream](unsigned char* bytes, std::size_t wanted) {
                        return std::fread(bytes, 1, wanted, stream);
                    });
}

std::size_t ZtRawData::fwrite(const void* buffer, std::size_t size, std::size_t count,
                              std::FILE* stream) {
    return inPieces(static_cast<const unsigned char*>(buffer), size, count,
                    [stream](const unsigned char* bytes, std::size_t wanted) {
                        return std::fwrite(bytes, 1, wanted, stream);
                    });
}

std::size_t ZtRawData::readBigEndian(ZtTypedPointer data, unsigned n, std::FILE* stream) {
    return readOrdered(data, n, stream, std::endian::big);
}
std::size_t ZtRawData::readLittleEndian(ZtTypedPointer data, unsigned n, std::FILE* stream) {
    return readOrdered(data, n, stream, std::endian::little);
}
std::size_t ZtRawData::writeBigEndian(ZtTypedPointer data, unsigned n, std::FILE* stream) {
    return writeOrdered(data, n, stream, std::endian::big);
}
std::size_t ZtRawData::writeLittleEndian(ZtTypedPointer data, unsigned n, std::FILE* stream) {
    return writeOrdered(data, n, stream, std::endian::little);
}
