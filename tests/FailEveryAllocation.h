// Fails every allocation of an operation in turn and looks at what is left behind.
#pragma once

#include <gtest/gtest.h>
#include <ztlib/ZtMemoryException.h>

#include <string>

#include "ContractCapture.h"
#include "core/AllocationWatch.h"

/// Whether small buffers may have some room to grow in; those of the address sanitizer have none.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kBlocksHaveRoom = false;
#else
inline constexpr bool kBlocksHaveRoom = true;
#endif

/// Runs `operate(object)` on a fresh `make()` again and again, with its allocation 0, 1, 2 ...
/// failing, first that one alone, then it and all after it, until the operation meets no failure.
/// Expects each time that a `ZtMemoryException` came out, that `expectAsItWas(object)` is content,
/// and that with the object every block is gone. `operate` runs once beforehand, so that what it
/// makes for the whole process is not taken for a leak.
template <class Make, class Operate, class ExpectAsItWas>
void failEveryAllocation(Make make, Operate operate, ExpectAsItWas expectAsItWas) {
    {
        auto object = make();
        operate(object);
    }
    for (const auto mode : {AllocationWatch::kOnce, AllocationWatch::kFromThenOn}) {
        bool hasFailed = true;
        for (int failing = 0; hasFailed; ++failing) {
            SCOPED_TRACE("allocation " + std::to_string(failing) +
                         (mode == AllocationWatch::kOnce ? " fails" : " and all later ones fail"));
            AllocationWatch watch;
            {
                auto object = make();
                bool hasThrown = false;
                watch.failAfter(failing, mode);
                try {
                    operate(object);
                } catch (const ZtMemoryException& exception) {
                    hasThrown = true;
                    EXPECT_STRNE("", exception.what());
                }
                watch.stopFailing();
                hasFailed = watch.hasFailed();
                EXPECT_EQ(hasFailed, hasThrown);
                if (hasThrown)
                    expectAsItWas(object);
            }
            EXPECT_EQ(0, watch.liveBlocks()) << "blocks were lost or freed twice";
            EXPECT_TRUE(hasFailed || failing > 0 || kBlocksHaveRoom)
                << "the operation takes no memory";
        }
    }
}
