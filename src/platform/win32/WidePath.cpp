// Paths and names between the library's UTF-8 and the system's UTF-16.
#include "platform/win32/WidePath.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iterator>

namespace platform {

namespace {

// Longer paths need the prefix. A directory's path must leave room for a short name in it.
constexpr std::size_t kLongPath = MAX_PATH - 13;
constexpr wchar_t kLongPrefix[] = L"\\\\?\\";
constexpr wchar_t kLongSharePrefix[] = L"\\\\?\\UNC";

unsigned surrogate(unsigned base, unsigned bits) {
    return base | (bits & 0x3ff);
}

// Appends the units of a UTF-8 text, with the system's separators, and a zero; returns the end,
// null when the text is no UTF-8.
wchar_t* appendWide(wchar_t* to, const char* text) {
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    while (*at) {
        const unsigned lead = *at++;
        const int more = lead < 0x80   ? 0
                         : lead < 0xc2 ? -1
                         : lead < 0xe0 ? 1
                         : lead < 0xf0 ? 2
                         : lead < 0xf5 ? 3
                                       : -1;
        if (more < 0)
            return nullptr;
        unsigned code = more == 0 ? lead : lead & (0x3fu >> more);
        for (int k = 0; k < more; ++k, ++at) {
            if ((*at & 0xc0) != 0x80)
                return nullptr;
            code = code << 6 | (*at & 0x3f);
        }
        if ((more == 2 && code < 0x800) || (more == 3 && (code < 0x10000 || code > 0x10ffff)))
            return nullptr;
        if (code >= 0x10000) {
            code -= 0x10000;
            *to++ = static_cast<wchar_t>(surrogate(0xd800, code >> 10));
            code = surrogate(0xdc00, code);
        }
        *to++ = code == '/' ? L'\\' : static_cast<wchar_t>(code);
    }
    *to = L'\0';
    return to;
}

wchar_t* allocateWide(std::size_t units) {
    return static_cast<wchar_t*>(std::malloc(units * sizeof(wchar_t)));
}

// The path made absolute, with the prefix for long paths and room for more units at its end; null
// when that cannot be done.
wchar_t* toLongForm(const wchar_t* path, std::size_t more) {
    const DWORD size = GetFullPathNameW(path, 0, nullptr, nullptr);
    wchar_t* const result = allocateWide(size + more + std::size(kLongSharePrefix));
    if (!result || size == 0) {
        std::free(result);
        return nullptr;
    }
    // A share "\\server\share" becomes "\\?\UNC\server\share".
    wchar_t* const full = result + std::size(kLongSharePrefix);
    GetFullPathNameW(path, size, full, nullptr);
    const bool isShare = full[0] == L'\\' && full[1] == L'\\';
    const wchar_t* const prefix = isShare ? kLongSharePrefix : kLongPrefix;
    const std::size_t prefixLength = std::wcslen(prefix);
    const wchar_t* const rest = isShare ? full + 1 : full;
    std::wmemmove(result + prefixLength, rest, std::wcslen(rest) + 1);
    std::wmemcpy(result, prefix, prefixLength);
    return result;
}

bool isSeparator(wchar_t c) {
    return c == L'/' || c == L'\\';
}

}  // namespace

WidePath::WidePath(const char* path, const char* pattern) {
    const std::size_t patternSize = pattern ? std::strlen(pattern) + 2 : 0;
    text_ = allocateWide(std::strlen(path) + patternSize + 1);
    if (!text_) {
        error_ = ENOMEM;
        return;
    }
    wchar_t* end = appendWide(text_, path);
    if (end && static_cast<std::size_t>(end - text_) + patternSize >= kLongPath &&
        std::wcsncmp(text_, kLongPrefix, 4) != 0) {
        if (wchar_t* const longForm = toLongForm(text_, patternSize)) {
            std::free(text_);
            text_ = longForm;
            end = text_ + std::wcslen(text_);
        }
    }
    if (end && pattern) {
        if (end > text_ && !isSeparator(end[-1]))
            *end++ = L'\\';
        end = appendWide(end, pattern);
    }
    if (!end) {
        std::free(text_);
        text_ = nullptr;
        error_ = ENOENT;  // no file has such a name
    }
}

WidePath::~WidePath() {
    std::free(text_);
}

void toUtf8(const wchar_t* name, char* buffer) {
    const auto put = [&](unsigned byte) { *buffer++ = static_cast<char>(byte); };
    while (unsigned code = *name++) {
        if ((code & 0xfc00) == 0xd800 && (*name & 0xfc00) == 0xdc00)
            code = 0x10000 + ((code & 0x3ff) << 10) + (*name++ & 0x3ffu);
        const int more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        constexpr unsigned kLeads[] = {0, 0xc0, 0xe0, 0xf0};
        put(kLeads[more] | code >> (6 * more));
        for (int k = more - 1; k >= 0; --k)
            put(0x80 | (code >> (6 * k) & 0x3f));
    }
    *buffer = '\0';
}

int errnoOf(DWORD error) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_DRIVE:
        case ERROR_INVALID_NAME:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
            return ENOENT;
        case ERROR_DIRECTORY:
            return ENOTDIR;
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS:
            return EEXIST;
        case ERROR_DIR_NOT_EMPTY:
            return ENOTEMPTY;
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
            return EACCES;
        case ERROR_NOT_ENOUGH_MEMORY:
        case ERROR_OUTOFMEMORY:
            return ENOMEM;
        case ERROR_TOO_MANY_OPEN_FILES:
            return EMFILE;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return ENOSPC;
        case ERROR_WRITE_PROTECT:
            return EROFS;
        case ERROR_FILENAME_EXCED_RANGE:
        case ERROR_BUFFER_OVERFLOW:
            return ENAMETOOLONG;
        default:
            return EIO;
    }
}

EntryKind kindOfAttributes(DWORD attributes, DWORD tag) {
    // Other reparse points, such as files kept in a cloud, are what their attributes say.
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) && (tag == 0 || IsReparseTagNameSurrogate(tag)))
        return EntryKind::kLink;
    return attributes & FILE_ATTRIBUTE_DIRECTORY ? EntryKind::kDirectory : EntryKind::kFile;
}

}  // namespace platform
