// The fast block copy, in the library's form and in both forms by themselves, against plain bytes.
#include <gtest/gtest.h>
#include <ztlib/ZtFastCopy.h>

#include <string>
#include <vector>

#include "core/StreamCopy.h"

namespace {

using Bytes = std::vector<unsigned char>;

void* libraryForm(unsigned char* to, const unsigned char* from, std::size_t count) {
    return memcpy_amd(to, from, count);
}

struct Form {
    const char* name;
    void* (*copy)(unsigned char* to, const unsigned char* from, std::size_t count);
};

const Form kForms[] = {
    {"memcpy_amd", libraryForm},
#if defined(__SSE2__)
    {"by multimedia registers", streamcopy::copyByMultimediaRegisters},
    {"by vectors", streamcopy::copyByVectors},
#endif
};

constexpr std::size_t kMargin = 64;
constexpr unsigned char kUntouched = 0xa5;

Bytes sourceOf(std::size_t count) {
    Bytes source(count);
    for (std::size_t i = 0; i < count; ++i)
        source[i] = static_cast<unsigned char>(i ^ i / 251);
    return source;
}

// The source ends where its buffer ends, so that a sanitizer sees a read beyond it.
void expectCopies(const Form& form, std::size_t count, std::size_t toOffset,
                  std::size_t fromOffset) {
    SCOPED_TRACE(std::string(form.name) + ", " + std::to_string(count) + " bytes, to +" +
                 std::to_string(toOffset) + ", from +" + std::to_string(fromOffset));
    const Bytes source = sourceOf(fromOffset + count);
    Bytes expected(toOffset + count + kMargin, kUntouched);
    std::copy(source.begin() + static_cast<std::ptrdiff_t>(fromOffset), source.end(),
              expected.begin() + static_cast<std::ptrdiff_t>(toOffset));
    Bytes actual(expected.size(), kUntouched);
    unsigned char* const to = actual.data() + toOffset;
    EXPECT_EQ(to, form.copy(to, source.data() + fromOffset, count));
    EXPECT_TRUE(expected == actual);
}

TEST(FastCopy, CopiesExactlyTheBytesAsked) {
    const std::size_t kilo = 1024;
    for (const Form& form : kForms) {
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
        expectCopies(form, 40000, 3, 1);
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
