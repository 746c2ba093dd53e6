// Values by name: read from a bundle, and written to it.
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtColor.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtString.h>

#include "core/AsciiTables.h"
#include "core/NumberText.h"
#include "params/ParamNames.h"
#include "params/TextOut.h"

namespace {

constexpr int kAnyType = 255;

// Reads `n` integers with blanks between them; false when there are fewer.
bool readIntegers(const char* text, int n, int* values) {
    for (int i = 0; i < n; ++i) {
        if (*text == '\0')
            return false;
        numbertext::read(text, values[i]);
        while (ascii::isDigit(*text) || *text == '-')
            ++text;
        while (*text == ' ')
            ++text;
    }
    return true;
}

}  // namespace

int NwParamBundle::findNum(const char* name, int& value) const {
    return findNum(name, 1, &value);
}

int NwParamBundle::findNum(const char* name, int n, int* values) const {
    const NwParameter* const found = find(name, 0, kAnyType);
    if (found == nullptr)
        return 0;
    if (found->primType() == ZtPrimType::STRING)
        return readIntegers(found->getString(), n, values) ? 1 : 0;
    if (found->dimension() != n)
        return 0;
    found->getNum(values);
    return 1;
}

template <class T>
int NwParamBundle::readReals(const char* name, int n, T* values) const {
    const NwParameter* const found = find(name, n, kAnyType);
    if (found == nullptr)
        return 0;
    for (int i = 0; i < n; ++i)
        values[i] = static_cast<T>(found->getReal(i));
    return 1;
}

int NwParamBundle::findReal(const char* name, float& value) const {
    return readReals(name, 1, &value);
}

int NwParamBundle::findReal(const char* name, double& value) const {
    return readReals(name, 1, &value);
}

int NwParamBundle::findReal(const char* name, int n, float* values) const {
    return readReals(name, n, values);
}

int NwParamBundle::findReal(const char* name, int n, double* values) const {
    return readReals(name, n, values);
}

int NwParamBundle::findString(const char* name, const char*& text) const {
    const NwParameter* const found = find(name, 1, kAnyType);
    if (found == nullptr)
        return 0;
    text = found->getString();
    return 1;
}

int NwParamBundle::findColor(const char* name, float rgb[3]) const {
    const NwParameter* const found = find(name, 0, kAnyType);
    ZtColor color;
    if (found == nullptr || !color.setValue(found->getString()))
        return 0;
    for (int i = 0; i < 3; ++i)
        rgb[i] = color[i];
    return 1;
}

int NwParamBundle::findColor(float rgb[3]) const {
    return findColor("Color", rgb);
}

template <class... Value>
void NwParamBundle::setValue(const char* name, const Value&... value) {
    if (NwParameter* const found = find(name, 0, kAnyType)) {
        found->set(value...);
        return;
    }
    const paramnames::StoredName stored(paramnames::Key::of(name));
    adopt(new NwParameter(stored.text(), value...), false);
}

void NwParamBundle::set(const char* name, int value) {
    setValue(name, value);
}

void NwParamBundle::set(const char* name, double value) {
    setValue(name, value);
}

void NwParamBundle::set(const char* name, int n, const int* values) {
    setValue(name, n, values);
}

void NwParamBundle::set(const char* name, int n, const float* values) {
    setValue(name, n, values);
}

void NwParamBundle::set(const char* name, int n, const double* values) {
    setValue(name, n, values);
}

void NwParamBundle::set(const char* name, const char* text, int parseFlag) {
    setValue(name, text, parseFlag);
}

void NwParamBundle::setAsString(const char* name, int n, const int* values) {
    ZtString text;
    TextOut out(text);
    for (int i = 0; i < n; ++i) {
        if (i > 0)
            out.add(' ');
        out.addInteger(values[i]);
    }
    out.finish();
    set(name, text.getString());
}

void NwParamBundle::setColor(const float rgb[3]) {
    set("Color", 3, rgb);
}
