// The growable array against std::vector: appending, inserting at the front, and the usual scans.
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Compare.h"

namespace {

/// Results that both sides leave behind, so that they can be compared and are not optimised away.
struct Results {
    long long ours = 0;
    long long peer = 0;
    bool same() const { return ours == peer; }
};

void addPushInts(int count, double bar) {
    const auto results = std::make_shared<Results>();
    bench::add({"push " + std::to_string(count) + " ints", "std::vector", bar,
                [=] {
                    ZtDArray<int> array;
                    for (int i = 0; i < count; ++i)
                        array.push(i);
                    benchmark::DoNotOptimize(array.dataPtr());
                    results->ours = array[count / 2] + array.size();
                },
                [=] {
                    std::vector<int> array;
                    for (int i = 0; i < count; ++i)
                        array.push_back(i);
                    benchmark::DoNotOptimize(array.data());
                    results->peer = array[static_cast<std::size_t>(count) / 2] +
                                    static_cast<long long>(array.size());
                },
                [=] { return results->same(); }});
}

/// What pushing cannot do without: the buffer in all its sizes, one after the other.
void addGrowthAlone(int count) {
    const auto sizes = std::make_shared<std::vector<std::size_t>>();
    ZtDArray<int> array;
    for (int i = 0; i < count; ++i) {
        array.push(i);
        const std::size_t bytes = static_cast<std::size_t>(array.getMax()) * sizeof(int);
        if (sizes->empty() || sizes->back() != bytes)
            sizes->push_back(bytes);
    }
    bench::add({"push " + std::to_string(count) + " ints, against the growth alone",
                std::to_string(sizes->size()) + " times ztrealloc",
                0,
                [=] {
                    ZtDArray<int> pushed;
                    for (int i = 0; i < count; ++i)
                        pushed.push(i);
                    benchmark::DoNotOptimize(pushed.dataPtr());
                },
                [=] {
                    void* block = nullptr;
                    for (const std::size_t bytes : *sizes) {
                        block = block ? ztrealloc(block, bytes) : ztmalloc(bytes);
                        benchmark::DoNotOptimize(block);
                    }
                    ztfree(block);
                },
                {}});
}

/// Texts of the given lengths, the same for both sides.
struct Texts {
    std::vector<std::string> peers;
    ZtDArray<ZtString> ours;
};

std::shared_ptr<Texts> texts(int count, int shortest, int longest) {
    const auto made = std::make_shared<Texts>();
    unsigned value = 1;
    for (int i = 0; i < count; ++i) {
        value = value * 1664525u + 1013904223u;
        const unsigned length = static_cast<unsigned>(shortest) +
                                (value >> 8) % static_cast<unsigned>(longest - shortest + 1);
        made->peers.push_back(std::string(length, static_cast<char>('a' + i % 26)));
        made->ours.push(ZtString(made->peers.back().c_str()));
    }
    return made;
}

void addInsertTexts(int count, int shortest, int longest, double bar) {
    const auto source = texts(count, shortest, longest);
    const auto results = std::make_shared<Results>();
    bench::add({"insert " + std::to_string(count) + " texts of " + std::to_string(shortest) +
                    " to " + std::to_string(longest) + " characters at the front",
                "std::vector<std::string>", bar,
                [=] {
                    ZtDArray<ZtString> array;
                    for (const ZtString& text : source->ours)
                        array.insert(0, text);
                    results->ours = array[count / 2].length();
                },
                [=] {
                    std::vector<std::string> array;
                    for (const std::string& text : source->peers)
                        array.insert(array.begin(), text);
                    results->peer =
                        static_cast<long long>(array[static_cast<std::size_t>(count) / 2].size());
                },
                [=] { return results->same(); }});
}

/// What inserting at the front cannot do without: moving the objects that are there by one place
/// and, if `withBlocks`, a block with its text for each.
void addMovedTexts(int count, int shortest, int longest, bool withBlocks) {
    const auto source = texts(count, shortest, longest);
    const auto bytes =
        std::make_shared<std::vector<char>>(static_cast<std::size_t>(count + 1) * sizeof(ZtString));
    const std::string bound = withBlocks ? "memmove of the same bytes and a block for each text"
                                         : "memmove of the same bytes";
    bench::add({"insert " + std::to_string(count) + " texts of " + std::to_string(shortest) +
                    " to " + std::to_string(longest) + " characters at the front, against " +
                    (withBlocks ? "the moves and blocks" : "the moves"),
                bound,
                0,
                [=] {
                    ZtDArray<ZtString> array;
                    for (const ZtString& text : source->ours)
                        array.insert(0, text);
                },
                [=] {
                    std::vector<void*> blocks;
                    for (int n = 0; n < count; ++n) {
                        std::memmove(bytes->data() + sizeof(ZtString), bytes->data(),
                                     static_cast<std::size_t>(n) * sizeof(ZtString));
                        benchmark::ClobberMemory();
                        if (!withBlocks)
                            continue;
                        const std::string& text = source->peers[static_cast<std::size_t>(n)];
                        blocks.push_back(ztmalloc(text.size() + 1));
                        std::memcpy(blocks.back(), text.c_str(), text.size() + 1);
                    }
                    for (void* const block : blocks)
                        ztfree(block);
                },
                {}});
}

void addPushTexts(int count, int length, double bar) {
    const auto source = texts(1, length, length);
    const auto results = std::make_shared<Results>();
    bench::add(
        {"push " + std::to_string(count) + " texts of " + std::to_string(length) + " characters",
         "std::vector<std::string>", bar,
         [=] {
             const ZtString& text = source->ours[0];
             ZtDArray<ZtString> array;
             for (int i = 0; i < count; ++i)
                 array.push(text);
             results->ours = array.last().length() + array.size();
         },
         [=] {
             const std::string& text = source->peers[0];
             std::vector<std::string> array;
             for (int i = 0; i < count; ++i)
                 array.push_back(text);
             results->peer = static_cast<long long>(array.back().size() + array.size());
         },
         [=] { return results->same(); }});
}

int compareInts(const int& a, const int& b) {
    return (a > b) - (a < b);
}

void addScans() {
    constexpr int kCount = 100000;
    const auto array = std::make_shared<ZtDArray<int>>();
    unsigned value = 1;
    for (int i = 0; i < kCount; ++i) {
        value = value * 1664525u + 1013904223u;
        array->push(static_cast<int>(value >> 24));
    }
    const auto vector = std::make_shared<std::vector<int>>(array->begin(), array->end());
    const auto results = std::make_shared<Results>();
    const auto same = [=] { return results->same(); };
    bench::add({"remove one value of 256 from 100,000 ints", "std::remove", 0,
                [=] {
                    ZtDArray<int> copy(*array);
                    results->ours = copy.removeValue(7);
                },
                [=] {
                    std::vector<int> copy(*vector);
                    const auto kept = std::remove(copy.begin(), copy.end(), 7);
                    results->peer = copy.end() - kept;
                    copy.erase(kept, copy.end());
                },
                same});
    bench::add({"find an int that is not among 100,000", "std::find", 0,
                [=] { results->ours = array->index(-1); },
                [=] {
                    const auto found = std::find(vector->begin(), vector->end(), -1);
                    results->peer = found == vector->end() ? -1 : found - vector->begin();
                },
                same});
    bench::add({"sort 100,000 ints through a function", "std::sort", 0,
                [=] {
                    ZtDArray<int> copy(*array);
                    copy.sort(compareInts);
                    results->ours = copy[kCount / 3];
                },
                [=] {
                    std::vector<int> copy(*vector);
                    int (*compare)(const int&, const int&) = compareInts;
                    benchmark::DoNotOptimize(compare);
                    std::sort(copy.begin(), copy.end(),
                              [compare](const int& a, const int& b) { return compare(a, b) < 0; });
                    results->peer = copy[kCount / 3];
                },
                same});
}

}  // namespace

int main(int argc, char** argv) {
    addPushInts(16, 1.0);
    addPushInts(1000, 1.0);
    addGrowthAlone(1000);
    addPushInts(1000000, 3.0);
    addInsertTexts(2000, 5, 25, 8.0);  // as names of files and series have
    addMovedTexts(2000, 5, 25, false);
    addMovedTexts(2000, 5, 25, true);
    addInsertTexts(2000, 12, 12, 0);
    addInsertTexts(2000, 33, 33, 0);
    addPushTexts(1000, 33, 0.8);
    addScans();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
