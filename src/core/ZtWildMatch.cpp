// The wild-card match, in one pass.
#include <ztlib/ZtWildMatch.h>

int ztWildMatch(const char* text, const char* pattern) {
    const char* t = text == nullptr ? "" : text;
    const char* const start = pattern == nullptr ? "" : pattern;
    const char* p = start;
    const char* afterStar = nullptr;
    while (*t != '\0' && *p != '\0') {
        if (*p == '*') {
            while (*p == '*')
                ++p;
            afterStar = p;
        } else if (*p == '?' || *p == *t) {
            ++p;
            ++t;
        } else if (afterStar != nullptr) {
            p = afterStar;
            ++t;  // not tried again at the character after the star
        } else {
            return 0;
        }
    }
    while (*p == '*')
        ++p;
    if (*p != '\0')
        return 0;
    return *t == '\0' || (p != start && (p[-1] == '*' || p[-1] == '?'));
}
