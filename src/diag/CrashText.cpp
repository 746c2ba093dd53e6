// What crashes are called.
#include "diag/CrashText.h"

const char* crashText(int code) {
    switch (static_cast<unsigned>(code)) {
        case 0xC0000005u:
            return "Access violation";
        case 0x80000002u:
            return "Data type misalignment";
        case 0xC0000006u:
            return "In page error";
        case 0xC000001Du:
            return "Illegal instruction";
        case 0xC000008Eu:
            return "Float divide by zero";
        case 0xC0000090u:
            return "Float invalid operation";
        case 0xC0000091u:
            return "Float overflow";
        case 0xC0000094u:
            return "Integer divide by zero";
        case 0xC0000095u:
            return "Integer overflow";
        case 0xC00000FDu:
            return "Stack overflow";
        default:
            return nullptr;
    }
}
