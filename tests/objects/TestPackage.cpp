// A package for the tests: its file lies there under several names, and what its loading does
// depends on the name.
#include <ztlib/ZtDSO.h>
#include <ztlib/ZtException.h>
#include <ztlib/ZtPackage.h>
#include <ztlib/ZtTypeInfo.h>
#include <ztlib/ZtTypedObject.h>

#include <stdexcept>

#define EXPORTED extern "C" ZT_PACKAGE_API

#if defined(CALLS_WHAT_IS_MISSING)

extern "C" int missing();

EXPORTED int ostrelpackage_incomplete_init() {
    return missing();
}

#else

EXPORTED int number[1000];
int number[1000] = {};

EXPORTED int ostrelpackage_good_init() {
    return ++*number;
}
EXPORTED int ostrelpackage_twin1_init() {
    static const ZtTypeInfo type(
        "TestTwin", [] { return ZtTypeInfo::fromName("ZtInterface")->createInstance(); });
    return ++*number;
}
EXPORTED int ostrelpackage_twin2_init() {
    return ostrelpackage_twin1_init();
}
EXPORTED int ostrelpackage_throwing_init() {
    throw std::runtime_error("not today");
}
EXPORTED int ostrelpackage_raising_init() {
    throw ZtException("not %s", "now");
}
EXPORTED int ostrelpackage_libnesting_init() {
    ++*number;
    return ZtDSO().open("good");
}

// The arguments point to numbers; what comes back, or is written to `number`, tells each one's
// place.
#define FUNCTIONS(count, parameters, ...)                      \
    EXPORTED int int##count parameters {                       \
        const void* const arguments[] = {number, __VA_ARGS__}; \
        int sum = 100 * count;                                 \
        for (int i = 1; i <= count; ++i)                       \
            sum += i * *static_cast<const int*>(arguments[i]); \
        return sum;                                            \
    }                                                          \
    EXPORTED void* pointer##count parameters {                 \
        return number + int##count(__VA_ARGS__);               \
    }                                                          \
    EXPORTED void nothing##count parameters {                  \
        *number = int##count(__VA_ARGS__);                     \
    }
FUNCTIONS(0, ())
FUNCTIONS(1, (void* a), a)
FUNCTIONS(2, (void* a, void* b), a, b)
FUNCTIONS(3, (void* a, void* b, void* c), a, b, c)
FUNCTIONS(4, (void* a, void* b, void* c, void* d), a, b, c, d)
FUNCTIONS(5, (void* a, void* b, void* c, void* d, void* e), a, b, c, d, e)

#endif
