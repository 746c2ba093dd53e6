// Gives the files of the named directories to a fuzz entry, and each again with changes that are
// the same in every run, for compilers without a fuzzer.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kChanges = 200;

void give(const std::vector<char>& bytes) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

// Replaces, removes or repeats a few bytes.
std::vector<char> changed(std::vector<char> bytes, std::mt19937& random) {
    for (auto n = 1 + random() % 4; n > 0 && !bytes.empty(); --n) {
        const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(random() % bytes.size());
        const auto kind = random() % 3;
        if (kind == 0)
            *at = static_cast<char>(random());
        else if (kind == 1)
            bytes.erase(at);
        else
            bytes.insert(at, random() % 8, *at);
    }
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            give(bytes);
            std::mt19937 random(static_cast<unsigned>(bytes.size()));
            for (int change = 0; change < kChanges; ++change)
                give(changed(bytes, random));
            count += 1 + kChanges;
        }
    std::fprintf(stderr, "%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
