// The note that a crash leaves behind, written with nothing but calls that are safe in a signal
// handler.
#pragma once

#include <signal.h>
#include <ucontext.h>

#include <cstdint>

#include "platform/PlatformCrash.h"

namespace platform {

/// What is known of a crash. `info` is null when no signal was received, `text` and `reason` may
/// be.
struct CrashFacts {
    int code;
    const siginfo_t* info;
    ucontext_t* context;  // changed and put back, if it was made by a signal
    const char* reason;
    const char* text;
};

/// Prepares what a handler may not do itself. To be called once before `writeCrashNote`.
void prepareCrashNote();

/// Writes the note over whatever the file held. Takes no memory and no lock; sets errno on failure.
CrashDump writeCrashNote(const char* path, const CrashFacts& facts);

/// The stack pointer and the program counter of a context, 0 on a processor that is not known here.
std::uintptr_t stackPointerOf(const ucontext_t& context);
std::uintptr_t programCounterOf(const ucontext_t& context);

}  // namespace platform
