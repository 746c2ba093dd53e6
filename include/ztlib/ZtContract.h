// Contract checks: preconditions, postconditions and invariants, reported through one callback.
#pragma once

#include <ztlib/ZtExport.h>

/// The kind of contract that was broken.
enum DbCEventType : int { DbCPrecondition = 0, DbCPostcondition = 1, DbCInvariant = 2 };

/// Receives a broken contract: its kind, the condition, the function, the line, the file and a
/// message (may be empty, never null). A callback that throws leaves the operation by its
/// exception; one that returns lets the operation go on, at the caller's risk.
typedef void (*DbCCallback)(DbCEventType type, const char* condition, const char* function,
                            unsigned int line, const char* file, const char* message);

/// Returns the installed contract callback, or null.
ZTLIB_API DbCCallback zt_DbC_callback();

/// Installs the contract callback; null removes it. Install it before worker threads start.
ZTLIB_API void zt_DbC_callbackSet(DbCCallback callback);

/// Whether broken contracts are reported; true at load.
extern ZTLIB_API bool zt_DbC_handleEvents;

/// Reports a broken contract: does nothing when `zt_DbC_handleEvents` is false, calls the installed
/// callback, or, without one, prints function, condition and place on standard error and aborts.
/// The macros below call it; null texts are taken as empty.
ZTLIB_API void zt_DbC_report(DbCEventType type, const char* condition, const char* function,
                             unsigned int line, const char* file, const char* message);

// The conditions are evaluated in a checked build (ZTLIB_CHECKED) only and must be free of side
// effects. No layout and no signature depends on the switch, so checked and unchecked code link.
#if defined(ZTLIB_CHECKED)
#define ZT_CONTRACT_(type, condition) \
    ((condition) ? (void)0 : zt_DbC_report(type, #condition, __func__, __LINE__, __FILE__, ""))
#else
#define ZT_CONTRACT_(type, condition) ((void)sizeof((condition) ? 1 : 0))
#endif

/// What the caller must see to before the call.
#define ZT_REQUIRE(condition) ZT_CONTRACT_(DbCPrecondition, condition)
/// What the operation promises on return.
#define ZT_ENSURE(condition) ZT_CONTRACT_(DbCPostcondition, condition)
/// What holds of an object between operations.
#define ZT_INVARIANT(condition) ZT_CONTRACT_(DbCInvariant, condition)
