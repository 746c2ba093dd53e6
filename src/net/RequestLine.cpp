// Reading request lines, in place.
#include "net/RequestLine.h"

#include <ztlib/ZtString.h>

#include <cstring>

#include "core/AsciiTables.h"

namespace zt_net {

namespace {

bool isLetter(char c) {
    return ascii::isOfClass(c, ascii::kUpper | ascii::kLower);
}

bool isHexDigit(char c) {
    return ascii::isDigit(c) || (ascii::toUpper(c) >= 'A' && ascii::toUpper(c) <= 'F');
}

// "%20" is a blank. Clients rely on how it reads what it does not quite understand: the first digit
// may be one of A to F and still counts from '0', and the second must be a decimal one, or all of
// it stays as it is.
void decodeEscapes(char* text) {
    char* to = text;
    for (const char* from = text; *from; ++to) {
        if (from[0] == '%' && isHexDigit(from[1]) && ascii::isDigit(from[2])) {
            *to =
                static_cast<char>(static_cast<unsigned char>((from[1] - '0') * 16 + from[2] - '0'));
            from += 3;
        } else {
            *to = *from++;
        }
    }
    *to = '\0';
}

}  // namespace

bool startsWith(const char* text, const char* start) {
    return ZtString::strncasecmp(text, start, static_cast<int>(std::strlen(start))) == 0;
}

char* takePath(char* request) {
    char* const path = request + std::strlen("GET ");
    if (char* const end = std::strstr(path, " HTTP"))
        *end = '\0';
    decodeEscapes(path);
    char* const name = path + std::strspn(path, "/\\");
    return isLetter(name[0]) && name[1] == ':' ? name : path;
}

const char* extensionOf(const char* path) {
    const char* const point = std::strrchr(path, '.');
    return point ? point + 1 : nullptr;
}

void removeCgiBin(char* path) {
    char* start = std::strstr(path, "cgi-bin");
    if (!start)
        return;
    const char* const rest = start + std::strlen("cgi-bin");
    if (start > path && start[-1] == '/')
        --start;
    std::memmove(start, rest, std::strlen(rest) + 1);
}

}  // namespace zt_net
