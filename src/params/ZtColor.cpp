// Reads colours.
#include <ztlib/ZtColor.h>
#include <ztlib/ZtString.h>

#include "core/AsciiTables.h"
#include "params/ParameterText.h"

#include <cstring>

namespace {

struct NamedColor {
    const char* name;
    unsigned rgb;
};

constexpr NamedColor kNamedColors[] = {
    {"black", 0x000000},  {"silver", 0xc0c0c0}, {"gray", 0x808080},   {"white", 0xffffff},
    {"maroon", 0x800000}, {"red", 0xff0000},    {"purple", 0x800080}, {"fuchsia", 0xff00ff},
    {"green", 0x008000},  {"lime", 0x00ff00},   {"olive", 0x808000},  {"yellow", 0xffff00},
    {"navy", 0x000080},   {"blue", 0x0000ff},   {"teal", 0x008080},   {"aqua", 0x00ffff},
    {"orange", 0xffa500}, {"grey", 0x808080},   {"cyan", 0x00ffff},   {"magenta", 0xff00ff},
};

constexpr float kMostOfByte = 255;

ZtColor fromBytes(unsigned red, unsigned green, unsigned blue) {
    const auto part = [](unsigned byte) { return static_cast<float>(byte) / kMostOfByte; };
    return {part(red), part(green), part(blue)};
}

ZtColor fromCode(unsigned rgb) {
    return fromBytes(rgb >> 16, rgb >> 8 & 0xff, rgb & 0xff);
}

bool readHexadecimal(const char* digits, int n, ZtColor& color) {
    if (n != 3 && n != 6)
        return false;
    unsigned code = 0;
    for (int i = 0; i < n; ++i) {
        const char c = ascii::toLower(digits[i]);
        const bool isLetter = c >= 'a' && c <= 'f';
        if (!isLetter && !ascii::isDigit(c))
            return false;
        code = code << 4 | static_cast<unsigned>(isLetter ? c - 'a' + 10 : c - '0');
    }
    constexpr unsigned kTwice = 0x11;  // a digit as two
    color =
        n == 6 ? fromCode(code)
               : fromBytes((code >> 8) * kTwice, (code >> 4 & 0xf) * kTwice, (code & 0xf) * kTwice);
    return true;
}

bool readNumbers(const char* text, ZtColor& color) {
    const parametertext::Words words = parametertext::classify(text);
    if (words.count != 3)
        return false;
    float rgb[3];
    parametertext::readReals(text, rgb);
    bool areBytes = false;
    for (const float part : rgb)
        areBytes = areBytes || part > 1;
    if (areBytes && words.type != parametertext::Class::kInteger)
        return false;
    for (float& part : rgb) {
        if (part < 0 || part > (areBytes ? kMostOfByte : 1))
            return false;
        part /= areBytes ? kMostOfByte : 1;
    }
    color = {rgb[0], rgb[1], rgb[2]};
    return true;
}

}  // namespace

bool ZtColor::setValue(const char* text) {
    if (text == nullptr)
        return false;
    if (readNumbers(text, *this))
        return true;
    while (ascii::isSpace(*text))
        ++text;
    auto length = static_cast<int>(std::strlen(text));
    while (length > 0 && ascii::isSpace(text[length - 1]))
        --length;
    if (*text == '#')
        return readHexadecimal(text + 1, length - 1, *this);
    for (const NamedColor& named : kNamedColors)
        if (static_cast<int>(std::strlen(named.name)) == length &&
            ZtString::strncasecmp(text, named.name, length) == 0) {
            *this = fromCode(named.rgb);
            return true;
        }
    return false;
}
