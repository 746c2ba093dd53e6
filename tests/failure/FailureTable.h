// Fails every allocation of an operation in turn and looks at what is left behind.
#pragma once

#include <gtest/gtest.h>
#include <ztlib/ZtMemoryException.h>

#include <atomic>
#include <functional>
#include <initializer_list>
#include <new>
#include <string>
#include <type_traits>

#include "core/AllocationWatch.h"
#include "failure/StateText.h"

/// What an operation promises for the case that memory is exhausted.
enum class Promise {
    kAsItWas,  ///< it throws, and everything is as it was
    kUsable,   ///< it throws, and the object can be used, whatever it holds
    kReturns   ///< it tells by its value and everything is as it was, or does without the memory
};

/// Whether the library's `operator new` is the one of this program.
#if defined(__unix__)
inline constexpr bool kNewIsOurs = true;
#else
inline constexpr bool kNewIsOurs = false;
#endif

/// The allocations by `operator new`.
struct NewWatch {
    static inline std::atomic<int> calls{0}, failing{-1}, live{0};
    static inline std::atomic<bool> isFromThenOn{false}, hasFailed{false};

    static bool isMadeToFail() {
        const int call = calls++, first = failing;
        const bool fails = first >= 0 && (isFromThenOn ? call >= first : call == first);
        hasFailed = hasFailed || fails;
        return fails;
    }
};

/// Which allocations of an operation fail: one, or that one and all after it, among those by
/// `ztmalloc` or those by `operator new`.
struct Injection {
    bool isNew;
    AllocationWatch::Mode mode;
    int failing;

    void start(AllocationWatch& watch) const {
        NewWatch::hasFailed = false;
        NewWatch::calls = 0;
        NewWatch::isFromThenOn = mode == AllocationWatch::kFromThenOn;
        if (isNew)
            NewWatch::failing = failing;
        else
            watch.failAfter(failing, mode);
    }
    static void stop(AllocationWatch& watch) {
        NewWatch::failing = -1;
        watch.stopFailing();
    }
    std::string text() const {
        return std::string(isNew ? "object " : "block ") + std::to_string(failing) +
               (mode == AllocationWatch::kOnce ? "" : " and all later ones");
    }
};

/// An operation on an object, and what it returns as a text.
template <class T>
class Operation {
public:
    template <class F>
    Operation(F operate)
        : run_([operate](T& object, AllocationWatch& watch) -> std::string {
              if constexpr (std::is_void_v<std::invoke_result_t<F, T&>>) {
                  operate(object);
                  Injection::stop(watch);
                  return "";
              } else {
                  const auto& value = operate(object);
                  Injection::stop(watch);
                  return stateOf(value);
              }
          }) {}
    std::string operator()(T& object, AllocationWatch& watch) const { return run_(object, watch); }

private:
    std::function<std::string(T&, AllocationWatch&)> run_;
};

template <class T>
struct FailureRow {
    const char* name;
    Operation<T> operate;
    Promise promise = Promise::kAsItWas;
    const char* failure = "";  ///< what the operation then returns, if it does not throw
};

/// Runs one row, on a fresh `make()` each time.
template <class T, class Make>
class FailureRun {
public:
    FailureRun(const Make& make, const FailureRow<T>& row) : make_(make), row_(row) {
        T object = make_();
        before_ = stateOf(object);
    }

    void run() {
        runAll();  // what is made once for the whole process is made here
        {
            AllocationWatch watch;
            T object = make_();
            rightValue_ = row_.operate(object, watch);
            rightState_ = stateOf(object);
        }
        isWarm_ = true;
        runAll();
        EXPECT_TRUE(failures_ > 0 || !kNewIsOurs) << "the operation takes no memory";
    }

private:
    void runAll() {
        for (const bool isNew : {false, true})
            for (const auto mode : {AllocationWatch::kOnce, AllocationWatch::kFromThenOn})
                for (Injection injection{isNew, mode, 0}; meetsFailure(injection);)
                    ++injection.failing, ++failures_;
    }

    bool meetsFailure(const Injection& injection) {
        SCOPED_TRACE(injection.text());
        const int liveBefore = NewWatch::live;
        AllocationWatch watch;
        bool hasFailed = false;
        {
            T object = make_();
            bool hasThrown = false;
            std::string value;
            injection.start(watch);
            try {
                value = row_.operate(object, watch);
            } catch (const ZtMemoryException& exception) {
                hasThrown = true;
                EXPECT_STRNE("", exception.what());
            } catch (const std::bad_alloc&) {
                hasThrown = true;
                EXPECT_TRUE(injection.isNew);
            }
            Injection::stop(watch);
            hasFailed = watch.hasFailed() || NewWatch::hasFailed;
            EXPECT_EQ(hasFailed && row_.promise != Promise::kReturns, hasThrown);
            if (hasFailed)
                look(object, watch, value);
        }
        if (isWarm_) {
            EXPECT_EQ(0, watch.liveBlocks()) << "blocks were lost or freed twice";
            EXPECT_EQ(liveBefore, NewWatch::live) << "objects were lost or freed twice";
        }
        return hasFailed && !testing::Test::HasFailure();
    }

    void look(T& object, AllocationWatch& watch, const std::string& value) const {
        if (row_.promise == Promise::kReturns && value != row_.failure) {
            if (isWarm_) {  // it did without
                EXPECT_EQ(rightValue_, value);
                EXPECT_EQ(rightState_, stateOf(object));
            }
            return;
        }
        if (row_.promise != Promise::kUsable) {
            EXPECT_EQ(before_, stateOf(object));
        }
        if (isWarm_) {
            EXPECT_EQ(rightValue_, row_.operate(object, watch)) << "when tried again";
            EXPECT_EQ(rightState_, stateOf(object)) << "when tried again";
        }
    }

    const Make& make_;
    const FailureRow<T>& row_;
    std::string before_, rightValue_, rightState_;
    bool isWarm_ = false;
    int failures_ = 0;
};

/// Expects of each operation that, whichever of its allocations fail, it keeps its promise, loses
/// no memory, and gives the right result when it is tried again with memory.
template <class Make, class T = std::invoke_result_t<Make>>
void expectSurvival(const Make& make,
                    std::initializer_list<FailureRow<std::invoke_result_t<Make>>> rows) {
    for (const auto& row : rows) {
        if (testing::Test::HasFailure())
            return;
        SCOPED_TRACE(row.name);
        FailureRun<T, Make>(make, row).run();
    }
}
