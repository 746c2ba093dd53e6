// The allocation functions, their exception, and the exception base class.
#include <gtest/gtest.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "FailEveryAllocation.h"
#include "core/AllocationWatch.h"

namespace {

constexpr std::size_t kTooMuch = SIZE_MAX / 2 - 4096;

std::string messageFor(std::size_t count) {
    return "could not allocate " + std::to_string(count) + " bytes";
}

// Blocks of all kinds, small and on huge pages, keep their bytes through growing and shrinking.
TEST(ZtMemory, BlocksKeepTheirBytes) {
    const std::size_t sizes[] = {1, 24, 4096, 1u << 20, 5u << 20, 23u << 20, (4u << 20) - 1, 100};
    unsigned char* block = nullptr;
    std::size_t held = 0;
    for (const std::size_t size : sizes) {
        SCOPED_TRACE(size);
        block = static_cast<unsigned char*>(ztrealloc(block, size));
        ASSERT_NE(nullptr, block);
        EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t));
        for (std::size_t i = 0; i < std::min(held, size); i += 61)
            ASSERT_EQ(static_cast<unsigned char>(i * 7), block[i]) << i;
        for (std::size_t i = 0; i < size; ++i)
            block[i] = static_cast<unsigned char>(i * 7);
        held = size;
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
    EXPECT_STREQ("could not allocate enough memory", ZtMemoryException().what());
    EXPECT_EQ(0u, ZtMemoryException().getNumBytes());
    ZtMemoryException exception(SIZE_MAX);
    const ZtMemoryException copy(exception);
    exception = ZtMemoryException(4096);
    EXPECT_EQ(messageFor(SIZE_MAX), copy.what());
    EXPECT_EQ(messageFor(4096), exception.what());
}

// Carried elsewhere and thrown there, it is a report and no longer a failed allocation.
TEST(ZtMemoryException, TravelsAsAPlainException) {
    const ZtMemoryException exception(4096);
    const std::unique_ptr<ZtException> clone(exception.clone());
    EXPECT_EQ(nullptr, dynamic_cast<ZtMemoryException*>(clone.get()));
    EXPECT_EQ(messageFor(4096), clone->what());
    try {
        exception.raise();
        FAIL() << "came back";
    } catch (const ZtException& raised) {
        EXPECT_EQ(nullptr, dynamic_cast<const ZtMemoryException*>(&raised));
        EXPECT_EQ(messageFor(4096), raised.what());
    }
}

class TypedException : public ZtException {
public:
    explicit TypedException(int code) : ZtException("%s %d", "code", code), detail(code) {}
    int detail;

protected:
    ZtException* doClone() const override { return new TypedException(*this); }
    void doRaise() const override {
        if (detail >= 0)
            throw TypedException(*this);
    }
};

TEST(ZtException, ADerivedTypeSurvivesCloneAndRaise) {
    TypedException original(7);
    const std::unique_ptr<ZtException> clone(original.clone());
    try {
        clone->raise();
        FAIL() << "came back";
    } catch (const TypedException& raised) {
        EXPECT_EQ(7, raised.detail);
        EXPECT_STREQ("code 7", raised.what());
    }
    original.detail = -1;
    original.raise();  // an override that declines
}

// Short and long messages, through every way of making and copying, the last without memory.
TEST(ZtException, CopiesItsMessageAndNeverThrowsDoingSo) {
    static_assert(std::is_nothrow_copy_constructible_v<ZtException>);
    static_assert(std::is_nothrow_copy_assignable_v<ZtException>);
    for (const std::size_t length : {0u, 1u, 55u, 56u, 57u, 1000u}) {
        SCOPED_TRACE(length);
        const std::string text(length, '%');
        const ZtException made(ZtString(text.c_str()));
        EXPECT_EQ(text, made.what());
        EXPECT_EQ(text, ZtException("%s", text.c_str()).what());
        ZtException other("something else %s", std::string(80, '-').c_str());
        const ZtException& same = other;
        other = made;
        other = same;
        EXPECT_EQ(text, other.what());
        EXPECT_EQ(text, ZtException(other).what());
        const ZtException longer("%s", std::string(2000, '-').c_str());
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

}  // namespace
