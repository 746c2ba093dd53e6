// Files by UTF-8 path, opened by the wide-character calls.
#include "platform/PlatformFile.h"

#include <windows.h>

#include <string>

namespace platform {

namespace {

// The UTF-16 form of a UTF-8 text, with its terminating zero; empty when it is no UTF-8.
std::wstring toWide(const char* text) {
    const int size = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    if (size > 0)
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, &wide[0], size);
    return wide;
}

}  // namespace

std::FILE* openFile(const char* path, const char* mode) {
    if (!path)
        return nullptr;
    const std::wstring widePath = toWide(path);
    return widePath.empty() ? nullptr : _wfopen(widePath.c_str(), toWide(mode).c_str());
}

}  // namespace platform
