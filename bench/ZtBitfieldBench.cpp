// Bit fields against the bandwidth of the memory that they run over, measured in the same run: the
// peer is a plain loop that reads, or reads and writes, the same bytes.
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtMemory.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Compare.h"

// The peer may be as wide as the processor allows, too.
#if defined(__x86_64__) && defined(__ELF__) && defined(__GNUC__) && !defined(__clang__)
#define ZT_WIDE __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define ZT_WIDE
#endif

namespace {

// Plain words from the allocation that bit fields use, so that both lie on the same kind of pages.
struct Words {
    Words(std::size_t size, std::uint64_t value)
        : words(static_cast<std::uint64_t*>(ztmalloc(size * sizeof value)), ztfree), count(size) {
        std::fill_n(words.get(), count, value);
    }
    std::uint64_t* data() { return words.get(); }
    std::size_t size() const { return count; }

    std::unique_ptr<std::uint64_t, void (*)(void*)> words;
    std::size_t count;
};

ZT_WIDE std::uint64_t sum(const std::uint64_t* words, std::size_t count) {
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < count; ++i)
        total += words[i];
    return total;
}

ZT_WIDE std::uint64_t sumOfBoth(const std::uint64_t* a, const std::uint64_t* b, std::size_t count) {
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < count; ++i)
        total += a[i] + b[i];
    return total;
}

ZT_WIDE void addTo(std::uint64_t* a, const std::uint64_t* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        a[i] += b[i];
}

ZT_WIDE void increment(std::uint64_t* a, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        ++a[i];
}

// Fields and plain words of the same size. `clear` is clear, `full` is set, `half` has every other
// bit set and `rest` the others, so that no search ends early.
struct Data {
    explicit Data(std::size_t bytes)
        : bits(static_cast<unsigned>(bytes * 8 - 1)), a(bytes / 8, 1), b(bytes / 8, 2) {
        for (unsigned i = 0; i < bits; i += 2)
            half.set(i);
        rest = half;
        rest.toggleAll();
    }

    unsigned bits;
    ZtBitfield clear{bits, ZtBitfield::INIT_CLEAR};
    ZtBitfield full{bits, ZtBitfield::INIT_SET};
    ZtBitfield half{bits, ZtBitfield::INIT_CLEAR};
    ZtBitfield rest;
    Words a;
    Words b;
};

void addAll(const std::string& size, std::size_t bytes, double bar) {
    const auto data = std::make_shared<Data>(bytes);
    Data& d = *data;
    const auto name = [&size](const char* work) { return "bitfield " + (work + (", " + size)); };
    const auto read = [data] { benchmark::DoNotOptimize(sum(data->a.data(), data->a.size())); };
    const auto readBoth = [data] {
        benchmark::DoNotOptimize(sumOfBoth(data->a.data(), data->b.data(), data->a.size()));
    };
    const auto change = [data] { increment(data->a.data(), data->a.size()); };
    const auto changeByOther = [data] { addTo(data->a.data(), data->b.data(), data->a.size()); };
    const auto addRead = [&](const char* work, auto ours, auto peer, const char* peerName,
                             std::function<bool()> same = {}) {
        bench::add({name(work), peerName, bar, [ours] { benchmark::DoNotOptimize(ours()); }, peer,
                    std::move(same)});
    };
    const auto addChange = [&](const char* work, std::function<void()> ours, auto peer,
                               const char* peerName) {
        bench::add({name(work), peerName, bar, std::move(ours), peer, {}});
    };

    addRead(
        "nSetBits", [&d] { return d.half.nSetBits(); }, read, "sum of the words",
        [&d] { return d.half.nSetBits() == d.bits / 2 + 1; });
    addRead(
        "firstSetBit", [&d] { return d.clear.firstSetBit(); }, read, "sum of the words",
        [&d] { return d.clear.firstSetBit() == d.bits; });
    addRead(
        "firstUnsetBit", [&d] { return d.full.firstUnsetBit(); }, read, "sum of the words",
        [&d] { return d.full.firstUnsetBit() == d.bits; });
    addRead(
        "lastSetBit", [&d] { return d.clear.lastSetBit(); }, read, "sum of the words");
    addRead(
        "==", [&d, copy = d.half] { return d.half == copy; }, readBoth, "sum of both");
    addRead(
        "isSuperset", [&d] { return d.full.isSuperset(d.half); }, readBoth, "sum of both",
        [&d] { return d.full.isSuperset(d.half) && !d.half.isSuperset(d.rest); });
    addRead(
        "hasIntersection", [&d] { return d.half.hasIntersection(d.rest); }, readBoth, "sum of both",
        [&d] { return !d.half.hasIntersection(d.rest); });
    addChange(
        "^=", [data] { data->half ^= data->rest; }, changeByOther, "sum in place");
    addChange(
        "|=", [data] { data->half |= data->rest; }, changeByOther, "sum in place");
    addChange(
        "&=", [data] { data->half &= data->rest; }, changeByOther, "sum in place");
    addChange(
        "toggleAll", [data] { data->full.toggleAll(); }, change, "increment in place");
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    addAll("256 KiB", std::size_t{256} << 10, 0.8);
    addAll("64 MiB", std::size_t{64} << 20, 0.8);
    benchmark::RunSpecifiedBenchmarks();
}
