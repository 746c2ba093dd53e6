// The fast block copy, in the library's form and in both forms by themselves, against plain bytes.
#include <gtest/gtest.h>
#include <ztlib/ZtFastCopy.h>

#include <algorithm>
#include <vector>

#include "core/StreamCopy.h"

namespace {

using Bytes = std::vector<unsigned char>;

using Form = void* (*)(unsigned char* to, const unsigned char* from, std::size_t count);

const Form kForms[] = {
    [](unsigned char* to, const unsigned char* from, std::size_t count) {
        return memcpy_amd(to, from, count);
    },
#if defined(__SSE2__)
    streamcopy::copyByMultimediaRegisters,
    streamcopy::copyByVectors,
#endif
};

// The source ends where its buffer ends, so that a sanitizer sees a read beyond it.
void expectCopies(Form copy, std::size_t count, std::size_t toOffset, std::size_t fromOffset) {
    Bytes source(fromOffset + count);
    for (std::size_t i = 0; i < source.size(); ++i)
        source[i] = static_cast<unsigned char>(i ^ i / 251);
    Bytes expected(toOffset + count + 64, 0xa5);
    Bytes actual = expected;
    std::copy_n(source.data() + fromOffset, count, expected.data() + toOffset);
    unsigned char* const to = actual.data() + toOffset;
    EXPECT_EQ(to, copy(to, source.data() + fromOffset, count));
    EXPECT_TRUE(expected == actual)
        << count << " bytes, to +" << toOffset << ", from +" << fromOffset;
}

TEST(FastCopy, CopiesExactlyTheBytesAsked) {
    const std::size_t kilo = 1024;
    for (const Form form : kForms) {
        SCOPED_TRACE(form == kForms[0] ? "memcpy_amd" : "one of its forms");
        for (std::size_t count = 1; count <= 200; ++count)
            for (std::size_t offset : {0u, 1u, 7u, 8u, 13u})
                expectCopies(form, count, offset, (offset * 3) % 16);
        // Both sides of every bound between the ways of copying, with and without a rest.
        for (std::size_t bound : {kilo * 8, kilo * 32, kilo * 64, kilo * 197, kilo * 1024})
            for (std::size_t count : {bound - 65, bound - 1, bound, bound + 1, bound + 71})
                for (std::size_t offset : {0u, 1u, 7u, 32u, 63u}) {
                    expectCopies(form, count, offset, 0);
                    expectCopies(form, count, 5, offset);
                }
    }
}

TEST(FastCopy, NothingNullOrTheSamePlaceCopiesNothing) {
    unsigned char bytes[] = {1, 2, 3};
    EXPECT_EQ(bytes, memcpy_amd(bytes, bytes + 2, 0));
    EXPECT_EQ(nullptr, memcpy_amd(nullptr, bytes, sizeof bytes));
    EXPECT_EQ(bytes, memcpy_amd(bytes, nullptr, sizeof bytes));
    EXPECT_EQ(bytes, memcpy_amd(bytes, bytes, sizeof bytes));
    EXPECT_EQ(1, bytes[0]);
    EXPECT_EQ(3, bytes[2]);
}

}  // namespace
