// Raw data from and to files, and mapping between strided layouts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtRawData.h>

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>

#include "ContractCapture.h"
#include "RawForms.h"
#include "ScratchFolder.h"
#include "platform/PlatformFaults.h"

namespace {

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

File open(const std::string& path, const char* mode) {
    return File(std::fopen(path.c_str(), mode));
}

int descriptorOf(const File& file) {
#if defined(_WIN32)
    return _fileno(file.get());
#else
    return fileno(file.get());
#endif
}

Bytes contentOf(const std::string& path) {
    const File file = open(path, "rb");
    Bytes bytes(std::size_t{12} << 20);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    return bytes;
}

TEST(RawDataRead, ReadsInPiecesAndTellsHowMuchItReadBeforeAFailure) {
    const ScratchFolder folder;
    std::mt19937 random(41);
    const Bytes content = randomBytes((std::size_t{10} << 20) + 5, random);
    const std::string path = folder.addFile("data", std::string(content.begin(), content.end()));
    const auto size = static_cast<long long>(content.size());
    Bytes bytes(content.size() + 1000);
    platform::CallFaults faults;
    for (const auto& [wanted, calls] :
         {std::pair{size, 3}, {size + 1000, 4}, {12345LL, 1}, {1LL, 1}, {0LL, 0}, {-5LL, 0}}) {
        const File file = open(path, "rb");
        const long long expected = std::max(std::min(wanted, size), 0LL);
        const int before = faults.calls(platform::Call::kReadFile);
        std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
        ASSERT_EQ(expected, ZtRawData::read(descriptorOf(file), bytes.data(), wanted));
        ASSERT_TRUE(std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(expected),
                               content.begin()));
        EXPECT_EQ(calls, faults.calls(platform::Call::kReadFile) - before) << wanted;
    }
    const File file = open(path, "rb");
    faults.fail(platform::Call::kReadFile, EIO, 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(8 << 20, ZtRawData::read(descriptorOf(file), bytes.data(), 9 << 20));
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::HasSubstr("ZtRawData::read() failed, ret=-1, size=9437184, errno=" +
                                   std::to_string(EIO) + " (" + std::strerror(EIO) + ")"));
    // An interrupted call is made again.
    faults.fail(platform::Call::kReadFile, EINTR, 0, 3);
    EXPECT_EQ(1 << 20, ZtRawData::read(descriptorOf(file), bytes.data(), 1 << 20));
}

TEST(RawDataStreams, TransferWholeElementsInTheStatedByteOrder) {
    const ScratchFolder folder;
    const std::string path = folder.of("data");
    std::mt19937 random(42);
    for (int type = -1; type < ZtPrimType::kCount; ++type) {
        if (type == ZtPrimType::STRING)
            continue;
        SCOPED_TRACE(type);
        // Elements of three bytes in pieces, and those of the types.
        const bool isPlain = type < 0;
        const std::size_t size = isPlain ? 3 : static_cast<unsigned>(ZtPrimType(type).size());
        const unsigned count = isPlain ? 3u << 20 : 5000;
        const Bytes content = randomBytes(size * count, random);
        const auto check = [&](auto write, auto read, bool isSwapped) {
            Bytes source = content;
            ASSERT_EQ(count, write({source.data(), type}, count, open(path, "wb").get()));
            ASSERT_EQ(content, source);
            ASSERT_EQ(isSwapped ? swapped(content, type) : content, contentOf(path));
            Bytes bytes(content.size() + size);
            ASSERT_EQ(count, read({bytes.data(), type}, count + 1, open(path, "rb").get()));
            ASSERT_TRUE(std::equal(content.begin(), content.end(), bytes.begin()));
        };
        constexpr bool isLittle = std::endian::native == std::endian::little;
        if (isPlain) {
            check([](ZtTypedPointer data, unsigned n,
                     std::FILE* file) { return ZtRawData::fwrite(data, 3, n, file); },
                  [](ZtTypedPointer data, unsigned n, std::FILE* file) {
                      return ZtRawData::fread(data, 3, n, file);
                  },
                  false);
            continue;
        }
        check(&ZtRawData::writeLittleEndian, &ZtRawData::readLittleEndian, !isLittle);
        check(&ZtRawData::writeBigEndian, &ZtRawData::readBigEndian, isLittle);
    }
    float value = 1;
    EXPECT_EQ(0u, ZtRawData::fwrite(&value, SIZE_MAX / 2, 3, open(path, "wb").get()));
    EXPECT_EQ(0u, ZtRawData::fwrite(&value, 0, 3, open(path, "wb").get()));
    // A file that cannot be written to, and a type that cannot be read.
    const File file = open(path, "rb");
    EXPECT_EQ(0u, ZtRawData::writeBigEndian(&value, 1, file.get()));
    EXPECT_EQ("Unsupported data type string in ZtRawData()\n", errorsOf([&] {
                  const ZtTypedPointer text(&value, ZtPrimType::STRING);
                  EXPECT_EQ(0u, ZtRawData::readBigEndian(text, 1, file.get()));
              }));
    EXPECT_EQ(1, value);
}

// --- Mapping along patterns ---

TEST(RawDataPattern, MapsBetweenLayoutsByTheSizesOfTheirElements) {
    // Every second of six shorts in four rows of eight, to bytes side by side.
    std::vector<short> source(64);
    std::iota(source.begin(), source.end(), static_cast<short>(0));
    const int fromSizes[] = {2, 3, 4};
    const int fromStrides[] = {1, 4, 16};
    const int toSizes[] = {12};
    const int toStrides[] = {1};
    unsigned char target[13] = {};
    ztmapLinear(target, ZtBytePattern(1, toSizes, toStrides), source.data(),
                ZtBytePattern(3, fromSizes, fromStrides), 1, 2);
    EXPECT_THAT(target, testing::ElementsAre(2, 6, 10, 18, 22, 26, 34, 38, 42, 50, 54, 58, 0));
    // Back into rows of doubles, in runs; until the shorter one ends.
    double wide[12] = {};
    const int rowSizes[] = {24, 2};
    const int rowStrides[] = {1, 48};
    ztmapLinear(wide, ZtBytePattern(2, rowSizes, rowStrides), target,
                ZtBytePattern(1, toSizes, toStrides), 0, 0.5);
    EXPECT_THAT(wide, testing::ElementsAre(1, 3, 5, 0, 0, 0, 9, 11, 13, 0, 0, 0));
    // Runs that hold no element end the walk.
    const int shortRun[] = {3, 2};
    const int apart[] = {1, 8};
    ztmapLinear(target, ZtBytePattern(1, toSizes, toStrides), wide,
                ZtBytePattern(2, shortRun, apart), 0, 1);
    EXPECT_EQ(2, target[0]);
}

TEST(RawDataPattern, TakesPrimitiveTypesThatMayBeWritten) {
    float value = 1;
    float other = 5;
    const int size[] = {4};
    const int stride[] = {1};
    const ZtBytePattern pattern(1, size, stride);
    const auto unlike = [](float& data) {
        return ZtDataPointer(static_cast<void*>(&data), ZtDataType("some:type"));
    };
    EXPECT_EQ("Unsupported data type unknown in ZtRawData()\n", errorsOf([&] {
                  ztmapLinear(unlike(value), pattern, &other, pattern, 0, 1);
                  ztmapLinear(&value, pattern, unlike(other), pattern, 0, 1);
              }));
    EXPECT_EQ(1, value);
    if (kChecked) {
        const ContractCapture capture;
        const float* const readOnly = &value;
        EXPECT_THROW(ztmapLinear(readOnly, pattern, &other, pattern, 0, 1), BrokenContract);
    }
}

}  // namespace
