// Raw data from and to files, and mapping between strided layouts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "ContractCapture.h"
#include "ScratchFolder.h"
#include "platform/PlatformFaults.h"

namespace {

using Bytes = std::vector<unsigned char>;

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

Bytes someBytes(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(i * 2654435761u >> 13);
    return bytes;
}

/// What `action` logs: the log is closed, and prints.
template <class Action>
std::string logOf(Action action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

std::string textOf(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

Bytes contentOf(const std::string& path) {
    const File file = open(path, "rb");
    Bytes bytes(std::size_t{12} << 20);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    return bytes;
}

TEST(RawDataRead, ReadsInPiecesUntilAllIsThere) {
    const ScratchFolder folder;
    const Bytes content = someBytes((std::size_t{10} << 20) + 5);
    const std::string path = folder.addFile("data", textOf(content));
    const auto size = static_cast<long long>(content.size());
    for (const long long wanted : {size, size + 1000, 12345LL, 1LL, 0LL, -5LL}) {
        const File file = open(path, "rb");
        Bytes bytes(content.size() + 1000, 0);
        const platform::CallFaults faults;
        const long long expected = std::max(std::min(wanted, size), 0LL);
        ASSERT_EQ(expected, ZtRawData::read(descriptorOf(file), bytes.data(), wanted));
        ASSERT_TRUE(std::equal(content.begin(),
                               content.begin() + static_cast<std::ptrdiff_t>(expected),
                               bytes.begin()));
        const int calls = wanted == size ? 3 : wanted > size ? 4 : wanted > 0 ? 1 : 0;
        EXPECT_EQ(calls, faults.calls(platform::Call::kReadFile)) << wanted;
    }
}

TEST(RawDataRead, TellsHowMuchItReadBeforeAFailure) {
    const ScratchFolder folder;
    const std::string path = folder.addFile("data", textOf(someBytes(std::size_t{9} << 20)));
    const File file = open(path, "rb");
    Bytes bytes(std::size_t{9} << 20);
    platform::CallFaults faults;
    faults.fail(platform::Call::kReadFile, EIO, 2);
    const std::string logged = logOf(
        [&] { EXPECT_EQ(8 << 20, ZtRawData::read(descriptorOf(file), bytes.data(), 9 << 20)); });
    EXPECT_THAT(logged,
                testing::HasSubstr("ZtRawData::read() failed, ret=-1, size=9437184, errno=" +
                                   std::to_string(EIO) + " (" + std::strerror(EIO) + ")"));
    // An interrupted call is made again.
    faults.fail(platform::Call::kReadFile, EINTR, 0, 3);
    EXPECT_EQ(1 << 20, ZtRawData::read(descriptorOf(file), bytes.data(), 1 << 20));
}

TEST(RawDataStreams, TransferWholeElements) {
    const ScratchFolder folder;
    const std::string path = folder.of("data");
    Bytes content = someBytes((std::size_t{9} << 20) + 7);
    {
        const File file = open(path, "wb");
        EXPECT_EQ(content.size() / 3,
                  ZtRawData::fwrite(content.data(), 3, content.size() / 3, file.get()));
        EXPECT_EQ(0u, ZtRawData::fwrite(content.data(), SIZE_MAX / 2, 3, file.get()));
        EXPECT_EQ(0u, ZtRawData::fwrite(content.data(), 0, 3, file.get()));
    }
    content.resize(content.size() / 3 * 3);
    ASSERT_EQ(content, contentOf(path));
    Bytes bytes(content.size() + 100);
    const File file = open(path, "rb");
    EXPECT_EQ(content.size() / 10,
              ZtRawData::fread(bytes.data(), 10, content.size() / 10 + 5, file.get()));
    EXPECT_TRUE(std::equal(content.begin(), content.end(), bytes.begin()));
}

TEST(RawDataStreams, KeepTheStatedByteOrder) {
    const ScratchFolder folder;
    const std::string path = folder.of("data");
    for (int type = 0; type < ZtPrimType::kCount; ++type) {
        if (type == ZtPrimType::STRING)
            continue;
        SCOPED_TRACE(ZtPrimType(type).getName());
        const auto size = static_cast<std::size_t>(ZtPrimType(type).size());
        const std::size_t word = type == ZtPrimType::COMPLEX ? 4 : size;
        constexpr unsigned kCount = 5000;
        Bytes content = someBytes(size * kCount);
        const Bytes before = content;
        Bytes reversed = content;
        for (auto at = reversed.begin(); at != reversed.end();
             at += static_cast<std::ptrdiff_t>(word))
            std::reverse(at, at + static_cast<std::ptrdiff_t>(word));
        const bool isLittle = std::endian::native == std::endian::little;
        const auto check = [&](auto write, auto read, const Bytes& expected) {
            {
                const File file = open(path, "wb");
                ASSERT_EQ(kCount, write({content.data(), type}, kCount, file.get()));
            }
            ASSERT_EQ(before, content);
            ASSERT_EQ(expected, contentOf(path));
            Bytes bytes(content.size() + size);
            const File file = open(path, "rb");
            ASSERT_EQ(kCount, read({bytes.data(), type}, kCount + 1, file.get()));
            ASSERT_TRUE(std::equal(content.begin(), content.end(), bytes.begin()));
        };
        check(&ZtRawData::writeLittleEndian, &ZtRawData::readLittleEndian,
              isLittle ? content : reversed);
        check(&ZtRawData::writeBigEndian, &ZtRawData::readBigEndian, isLittle ? reversed : content);
    }
    // A file that cannot be written to.
    const File file = open(path, "rb");
    float value = 1;
    EXPECT_EQ(0u, ZtRawData::writeBigEndian(&value, 1, file.get()));
    testing::internal::CaptureStderr();
    EXPECT_EQ(0u, ZtRawData::readBigEndian({&value, ZtPrimType::STRING}, 1, file.get()));
    EXPECT_EQ("Unsupported data type string in ZtRawData()\n",
              testing::internal::GetCapturedStderr());
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
    testing::internal::CaptureStderr();
    ztmapLinear({static_cast<void*>(&value), ZtDataType("some:type")}, pattern, &other, pattern, 0,
                1);
    ztmapLinear(&value, pattern, {static_cast<void*>(&other), ZtDataType("some:type")}, pattern, 0,
                1);
    EXPECT_EQ("Unsupported data type unknown in ZtRawData()\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(1, value);
    if (kChecked) {
        const ContractCapture capture;
        const float* const readOnly = &value;
        EXPECT_THROW(ztmapLinear(readOnly, pattern, &other, pattern, 0, 1), BrokenContract);
    }
}

}  // namespace
