// Turns broken contracts into exceptions for as long as it lives, so that they are test cases.
#pragma once

#include <ztlib/ZtContract.h>

#include <stdexcept>
#include <string>

struct BrokenContract : std::logic_error {
    using std::logic_error::logic_error;
};

class ContractCapture {
public:
    ContractCapture() : previous_(zt_DbC_callback()) { zt_DbC_callbackSet(&raise); }
    ~ContractCapture() { zt_DbC_callbackSet(previous_); }
    ContractCapture(const ContractCapture&) = delete;
    ContractCapture& operator=(const ContractCapture&) = delete;

private:
    static void raise(DbCEventType, const char* condition, const char* function, unsigned int,
                      const char*, const char*) {
        throw BrokenContract(std::string(function) + ": " + condition);
    }

    DbCCallback previous_;
};

#if defined(ZTLIB_CHECKED)
inline constexpr bool kChecked = true;
#else
inline constexpr bool kChecked = false;
#endif
