// The fast block copy against the runtime's: within the cache, and walking through memory that is
// in no cache.
#include <ztlib/ZtFastCopy.h>
#include <ztlib/ZtMemory.h>

#include <cstring>
#include <memory>
#include <string>

#include "Compare.h"

namespace {

using Buffer = std::shared_ptr<unsigned char>;

Buffer bufferOf(std::size_t size) {
    const Buffer buffer(static_cast<unsigned char*>(ztmalloc(size)), ztfree);
    std::memset(buffer.get(), 1, size);
    return buffer;
}

std::string nameOf(const char* state, std::size_t size) {
    return "copy, " + std::string(state) + ", " + std::to_string(size >> 10) + " KiB";
}

void addWarm(std::size_t size, double bar) {
    const Buffer from = bufferOf(size), to = bufferOf(size);
    const auto copy = [=](auto how) {
        return [=] {
            how(to.get(), from.get(), size);
            benchmark::DoNotOptimize(to.get());
            benchmark::ClobberMemory();
        };
    };
    bench::add({nameOf("warm", size), "std::memcpy", bar, copy(memcpy_amd), copy(std::memcpy), {}});
}

void addCold(const Buffer& from, const Buffer& to, std::size_t all, std::size_t size, double bar) {
    const auto walk = [=](auto how) {
        return [=] {
            for (std::size_t offset = 0; offset + size <= all; offset += size)
                how(to.get() + offset, from.get() + offset, size);
        };
    };
    bench::add({nameOf("cold", size), "std::memcpy", bar, walk(memcpy_amd), walk(std::memcpy), {}},
               7);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (std::size_t kilobytes : {1u, 4u, 16u, 32u, 48u, 63u})
        addWarm(kilobytes << 10, 0.95);
    for (std::size_t kilobytes : {64u, 128u, 256u, 1024u})
        addWarm(kilobytes << 10, 0);
    constexpr std::size_t kAll = std::size_t{256} << 20;
    const Buffer from = bufferOf(kAll), to = bufferOf(kAll);
    for (std::size_t kilobytes : {16u, 64u, 128u})
        addCold(from, to, kAll, kilobytes << 10, 0);
    for (std::size_t kilobytes : {256u, 1024u, 16384u, 65536u})
        addCold(from, to, kAll, kilobytes << 10, 1.3);
    benchmark::RunSpecifiedBenchmarks();
}
