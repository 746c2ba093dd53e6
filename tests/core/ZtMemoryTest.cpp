// The allocation functions, their exception, the exception base class, and the fast block copy in
// the library's form and in both forms by themselves.
#include <gtest/gtest.h>
#include <ztlib/ZtFastCopy.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "core/AllocationWatch.h"
#include "core/StreamCopy.h"

namespace {

constexpr std::size_t kTooMuch = SIZE_MAX / 2 - 4096;

std::string messageFor(std::size_t count) {
    return "could not allocate " + std::to_string(count) + " bytes";
}

// Blocks of all kinds, small and on huge pages, keep their bytes through growing and shrinking.
TEST(ZtMemory, BlocksKeepTheirBytes) {
    unsigned char* block = nullptr;
    std::size_t held = 0;
    for (const std::size_t size : {1u, 24u, 4096u, 5u << 20, 23u << 20, (4u << 20) - 1, 100u}) {
        SCOPED_TRACE(size);
        block = static_cast<unsigned char*>(ztrealloc(block, size));
        EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t));
        for (std::size_t i = 0; i < std::min(held, size); i += 61)
            ASSERT_EQ(static_cast<unsigned char>(i * 7), block[i]) << i;
        for (held = 0; held < size; ++held)
            block[held] = static_cast<unsigned char>(held * 7);
    }
    EXPECT_EQ(nullptr, ztrealloc(block, 0));
    ztfree(nullptr);
    std::free(ztmalloc(6u << 20));
    ztfree(ztmalloc(0));
}

TEST(ZtMemory, ExhaustionThrowsAndLeavesTheOldBlock) {
    char* const block = static_cast<char*>(ztmalloc(6));
    std::strcpy(block, "stays");
    for (const bool again : {false, true}) {
        try {
            again ? ztrealloc(block, kTooMuch) : ztmalloc(kTooMuch);
            FAIL() << "came back";
        } catch (const ZtMemoryException& exception) {
            EXPECT_EQ(kTooMuch, exception.getNumBytes());
            EXPECT_EQ(messageFor(kTooMuch), exception.what());
        }
    }
    EXPECT_STREQ("stays", block);
    ztfree(block);
    ZtMemoryException exception;
    EXPECT_STREQ("could not allocate enough memory", exception.what());
    EXPECT_EQ(0u, exception.getNumBytes());
    exception = ZtMemoryException(SIZE_MAX);
    EXPECT_EQ(messageFor(SIZE_MAX), ZtMemoryException(exception).what());
    // Carried elsewhere and thrown there, it is a report and no longer a failed allocation.
    const std::unique_ptr<ZtException> clone(exception.clone());
    EXPECT_EQ(nullptr, dynamic_cast<ZtMemoryException*>(clone.get()));
    EXPECT_EQ(messageFor(SIZE_MAX), clone->what());
    try {
        exception.raise();
        FAIL() << "came back";
    } catch (const ZtException& raised) {
        EXPECT_EQ(nullptr, dynamic_cast<const ZtMemoryException*>(&raised));
        EXPECT_EQ(messageFor(SIZE_MAX), raised.what());
    }
}

struct TypedException : ZtException {
    explicit TypedException(int code) : ZtException("%s %d", "code", code), detail(code) {}
    ZtException* doClone() const override { return new TypedException(*this); }
    void doRaise() const override {
        if (detail >= 0)
            throw TypedException(*this);
    }
    int detail;
};

TEST(ZtException, ADerivedTypeSurvivesCloneAndRaise) {
    const TypedException original(7);
    const std::unique_ptr<ZtException> clone(original.clone());
    try {
        clone->raise();
        FAIL() << "came back";
    } catch (const TypedException& raised) {
        EXPECT_EQ(7, raised.detail);
        EXPECT_STREQ("code 7", raised.what());
    }
    TypedException(-1).raise();  // an override that declines
}

// Short and long messages, the last without memory.
TEST(ZtException, CopiesItsMessageAndNeverThrowsDoingSo) {
    static_assert(std::is_nothrow_copy_constructible_v<ZtException>);
    static_assert(std::is_nothrow_copy_assignable_v<ZtException>);
    for (const std::size_t length : {0u, 55u, 56u, 57u, 1000u}) {
        SCOPED_TRACE(length);
        const std::string text(length, '%');
        const ZtException made(ZtString(text.c_str()));
        EXPECT_EQ(text, ZtException("%s", text.c_str()).what());
        const ZtException longer("%s", std::string(2000, '-').c_str());
        ZtException other("something else %s", std::string(80, '-').c_str());
        const ZtException& same = other;
        other = made;
        other = same;
        EXPECT_EQ(text, ZtException(other).what());
        AllocationWatch watch;
        watch.failAfter(0, AllocationWatch::kFromThenOn);
        EXPECT_STREQ("", ZtException(made).what());
        other = longer;
        EXPECT_STREQ("", other.what());
        EXPECT_STREQ("could not allocate enough memory", ZtMemoryException(7).what());
        EXPECT_THROW(ztmalloc(8), ZtMemoryException);
    }
    EXPECT_STREQ("", ZtException(static_cast<const char*>(nullptr)).what());
}

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
    EXPECT_TRUE(expected == actual) << count << " to +" << toOffset << " from +" << fromOffset;
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
    EXPECT_EQ(nullptr, memcpy_amd(nullptr, bytes, 3));
    EXPECT_EQ(bytes, memcpy_amd(bytes, nullptr, 3));
    EXPECT_EQ(bytes, memcpy_amd(bytes, bytes, 3));
    EXPECT_EQ(1, bytes[0]);
}

}  // namespace
