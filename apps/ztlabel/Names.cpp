#include "Names.h"

#include "Failure.h"

#include <ztlib/ZtDArray.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <fstream>

namespace ztlabel {

namespace {

struct Line {
    long long value = 0;
    ZtString name;    // all that follows the value
    ZtString first;   // its first word
    int columns = 0;  // of numbers behind that; -1 when there are other words
};

bool isInteger(const ZtString& text) {
    const char* digits = text.getString();
    digits += *digits == '-' || *digits == '+';
    return *digits != '\0' && std::strspn(digits, "0123456789") == std::strlen(digits);
}

constexpr char kBlanks[] = " \t,\r";

/// Takes the next word off the text. Names may hold quotes, which mean nothing here.
ZtString nextWord(const char*& text) {
    text += std::strspn(text, kBlanks);
    const auto length = static_cast<int>(std::strcspn(text, kBlanks));
    ZtString word(text, 0, length);
    text += length;
    return word;
}

bool parse(const char* text, Line& line) {
    const ZtString value = nextWord(text);
    if (!isInteger(value))
        return false;
    line.value = value.toInt64();
    line.name = text + std::strspn(text, kBlanks);
    while (!line.name.isEmptyString() && std::strchr(kBlanks, line.name[line.name.length() - 1]))
        line.name.removeLast();
    line.first = nextWord(text);
    for (ZtString word = nextWord(text); !word.isEmptyString() && line.columns >= 0;
         word = nextWord(text))
        line.columns = isInteger(word) ? line.columns + 1 : -1;
    return !line.first.isEmptyString();
}

}  // namespace

Names::Names(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw Failure("cannot open '" + path + "': " + std::strerror(errno));
    ZtDArray<Line> lines;
    bool sameColumns = true;
    for (std::string text; std::getline(file, text);) {
        Line line;
        const std::size_t start = text.find_first_not_of(" \t\r");
        if (start == std::string::npos || text[start] == '#')
            continue;
        if (text.find('\0') != std::string::npos || !parse(text.c_str(), line))
            throw Failure("'" + path + "' is no list of names: each line needs a value and a name");
        sameColumns = sameColumns && line.columns > 0 &&
                      (lines.isEmptyArray() || line.columns == lines[0].columns);
        lines.push(line);
    }
    if (lines.isEmptyArray())
        throw Failure("'" + path + "' holds no names");
    for (const Line& line : lines)
        names_[line.value] = sameColumns ? line.first : line.name;
}

ZtString Names::of(double value) const {
    if (value != std::floor(value) || std::fabs(value) > 9e15)
        return {};
    const auto found = names_.find(static_cast<long long>(value));
    return found == names_.end() ? ZtString() : found->second;
}

}  // namespace ztlabel
