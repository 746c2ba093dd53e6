// Parameters: values, their conversion, the detection of changes.
#include <ztlib/NwParameter.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include "core/NumberText.h"
#include "params/ParamNames.h"
#include "params/ParameterText.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

/// A value as a caller hands it in.
struct NwParameter::Value {
    Value(int count, ZtPrimType elementType, const void* elements)
        : n(elementType == ZtPrimType::STRING ? 1 : std::max(count, 0)),
          type(elementType),
          data(elements) {}
    static Value ofText(const char* text) {
        return {1, ZtPrimType::STRING, text == nullptr ? "" : text};
    }

    /// Bytes of the elements; not for a text.
    std::size_t bytes() const {
        const auto size = static_cast<std::size_t>(type.size());
        const auto count = static_cast<std::size_t>(n);
        if (size > 0 && count > PTRDIFF_MAX / size)
            ztThrowMemoryException(SIZE_MAX);
        return count * size;
    }
    /// Copies the elements to where there is room for them; they may lie there already.
    void copyTo(void* block) const {
        if (data == nullptr)
            std::memset(block, 0, bytes());
        else
            std::memmove(block, data, bytes());
    }
    /// A block with a copy of the value, null when there is nothing to hold.
    void* copy() const {
        if (type == ZtPrimType::STRING)
            return data == nullptr ? nullptr : paramnames::copyOf(static_cast<const char*>(data));
        if (bytes() == 0)
            return nullptr;
        void* const block = ztmalloc(bytes());
        copyTo(block);
        return block;
    }

    int n;
    ZtPrimType type;
    const void* data;
};

namespace {

// What does not fit is what the processor's own conversion gives.
int rounded(double value) {
    value += 0.5;
    return value > INT_MIN - 1.0 && value < INT_MAX + 1.0 ? static_cast<int>(value) : INT_MIN;
}

int numberAtStart(const char* text) {
    int value = 0;
    numbertext::read(text, value);
    return value;
}

double realAtStart(const char* text) {
    double value = 0;
    numbertext::read(text, text + std::strlen(text), value);
    return value;
}

}  // namespace

NwParameter::NwParameter(const char* name, const Value& value)
    : NwParamBase(PARAMETER, name), dimension_(value.n), type_(value.type), values_(value.copy()) {}

NwParameter::NwParameter(const char* name, int value) : NwParameter(name, 1, &value) {}

NwParameter::NwParameter(const char* name, double value) : NwParameter(name, 1, &value) {}

NwParameter::NwParameter(const char* name, int n, const int* data)
    : NwParameter(name, Value(n, ZtPrimType::INT, data)) {}

NwParameter::NwParameter(const char* name, int n, const float* data)
    : NwParameter(name, Value(n, ZtPrimType::FLOAT, data)) {}

NwParameter::NwParameter(const char* name, int n, const double* data)
    : NwParameter(name, Value(n, ZtPrimType::DOUBLE, data)) {}

NwParameter::NwParameter(const char* name, int n, ZtPrimType type, const void* data)
    : NwParameter(name, Value(n, type, data)) {}

NwParameter::NwParameter(const char* name, const char* text, int parseFlag)
    : NwParameter(name, Value::ofText(parseFlag != 0 ? nullptr : text)) {
    if (parseFlag != 0)
        parse(text);
}

NwParameter* NwParameter::create(const char* name, const char* text, int parseFlag) {
    return new NwParameter(name, text, parseFlag);
}

NwParameter::NwParameter(const NwParameter& other)
    : NwParamBase(other),
      dimension_(other.dimension_),
      type_(other.type_),
      values_(Value(other.dimension_, other.type_, other.values_).copy()) {}

NwParameter& NwParameter::operator=(const NwParameter& other) {
    const bool isDifferent = *this != other;
    const Value value(other.dimension_, other.type_, other.values_);
    std::unique_ptr<void, decltype(&ztfree)> copy(value.copy(), ztfree);
    NwParamBase::operator=(other);
    if (isDifferent) {
        touch();
        untouch();
    }
    replace(copy.release(), value);
    return *this;
}

NwParameter* NwParameter::duplicate() const {
    return new NwParameter(*this);
}

NwParameter::~NwParameter() {
    ztfree(values_);
}

int NwParameter::getNum(int index) const {
    if (values_ == nullptr)
        return 0;
    if (type_ == ZtPrimType::STRING)
        return numberAtStart(as<char>());
    if (index < 0 || index >= dimension_)
        return 0;
    switch (type_.getType()) {
        case ZtPrimType::BYTE:
            return as<unsigned char>()[index];
        case ZtPrimType::SHORT:
            return as<short>()[index];
        case ZtPrimType::USHORT:
            return as<unsigned short>()[index];
        case ZtPrimType::INT:
            return as<int>()[index];
        case ZtPrimType::FLOAT:
        case ZtPrimType::DOUBLE:
        case ZtPrimType::COMPLEX:
            return rounded(getReal(index));
        default:
            return 0;
    }
}

double NwParameter::getReal(int index) const {
    if (values_ == nullptr)
        return 0;
    if (type_ == ZtPrimType::STRING)
        return realAtStart(as<char>());
    if (index < 0 || index >= dimension_)
        return 0;
    switch (type_.getType()) {
        case ZtPrimType::FLOAT:
            return static_cast<double>(as<float>()[index]);
        case ZtPrimType::DOUBLE:
            return as<double>()[index];
        case ZtPrimType::COMPLEX:
            return static_cast<double>(as<float>()[2 * static_cast<std::ptrdiff_t>(index)]);
        default:
            return getNum(index);
    }
}

void NwParameter::getNum(int* out) const {
    for (int i = 0; i < dimension_; ++i)
        out[i] = getNum(i);
}

void NwParameter::getReal(double* out) const {
    for (int i = 0; i < dimension_; ++i)
        out[i] = getReal(i);
}

void NwParameter::take(const Value& value) {
    if (isEqual(value.n, value.type, value.data))
        return;
    hold(value);
    touch();
}

// The new value may be a part of the old one. A block of the right size is used again.
void NwParameter::hold(const Value& value) {
    if (value.type == type_ && value.n == dimension_ && value.type != ZtPrimType::STRING &&
        values_ != nullptr) {
        value.copyTo(values_);
        return;
    }
    replace(value.copy(), value);
}

void NwParameter::replace(void* block, const Value& value) {
    ztfree(values_);
    values_ = block;
    dimension_ = value.n;
    type_ = value.type;
}

void NwParameter::set(int value) {
    set(1, &value);
}

void NwParameter::set(double value) {
    set(1, &value);
}

void NwParameter::set(int n, const int* data) {
    take({n, ZtPrimType::INT, data});
}

void NwParameter::set(int n, const float* data) {
    take({n, ZtPrimType::FLOAT, data});
}

void NwParameter::set(int n, const double* data) {
    take({n, ZtPrimType::DOUBLE, data});
}

void NwParameter::set(const char* text, int parseFlag) {
    if (parseFlag != 0)
        parse(text);
    else
        take(Value::ofText(text));
}

bool NwParameter::operator==(const NwParameter& other) const {
    return std::strcmp(name(), other.name()) == 0 &&
           isEqual(other.dimension_, other.type_, other.values_) != 0;
}

int NwParameter::isEqual(int n, ZtPrimType type, const void* data) const {
    if (data == nullptr && n != 0)
        return 0;
    if (data == values_)
        return 1;
    if (n != dimension_)
        return 0;
    // The kind of the node, not the type of its elements: only bytes get further.
    if (static_cast<int>(type) != PARAMETER)
        return 0;
    return n == 0 ||
           (values_ != nullptr && std::memcmp(values_, data, static_cast<std::size_t>(n)) == 0);
}

void NwParameter::print(ZtString& text, bool append) const {
    if (!append)
        text.clear();
    TextOut out(text);
    if (type_ == ZtPrimType::STRING)
        parametertext::addWithoutQuotes(out, values_ == nullptr ? "" : as<char>());
    else
        parametertext::addNumbers(out, type_, dimension_, values_);
    out.finish();
}

// Whether the value may print as a text of `n` numbers of which the first is `first`: a quick look
// that only says no where the printed text would be another for certain.
bool NwParameter::mayPrintAs(int n, double first) const {
    constexpr double kLeastSure = 1e-30;  // above that, single precision is exact enough
    constexpr double kMostSure = 1e9;     // beyond that, integers are clamped
    constexpr double kTolerance = 1e-6;   // of 8 significant digits, generously
    if (type_ == ZtPrimType::STRING)
        return true;
    if (n != dimension_ * (type_ == ZtPrimType::COMPLEX ? 2LL : 1LL))
        return false;
    const double own = getReal();
    const double size = std::fabs(own);
    return (size > 0 && size < kLeastSure) || size > kMostSure ||
           std::fabs(own - first) <= kTolerance * size;
}

bool NwParameter::printsAs(const char* text) const {
    if (type_ == ZtPrimType::STRING)
        return parametertext::isWithoutQuotes(text, values_ == nullptr ? "" : as<char>());
    ZtString printed;
    print(printed);
    return std::strcmp(printed.getString(), text) == 0;
}

// Sets `n` numbers from a text of that many words.
template <class T>
void NwParameter::parseNumbers(const char* text, int n, ZtPrimType type,
                               void (*read)(const char*, T*)) {
    constexpr int kFew = 16;
    T few[kFew];
    ZtDArray<T> many(n > kFew ? n : 0);
    T* const numbers = n > kFew ? many.dataPtr() : few;
    read(text, numbers);
    if (mayPrintAs(n, static_cast<double>(numbers[0])) && printsAs(text))
        return;
    hold({n, type, numbers});
    touch();
}

int NwParameter::parse(const char* text) {
    if (text == nullptr)
        text = "";
    const parametertext::Words words = parametertext::classify(text);
    switch (words.type) {
        case parametertext::Class::kInteger:
            parseNumbers(text, words.count, ZtPrimType::INT, parametertext::readIntegers);
            break;
        case parametertext::Class::kReal:
            parseNumbers(text, words.count, ZtPrimType::FLOAT, parametertext::readReals);
            break;
        case parametertext::Class::kText:
            if (!printsAs(text)) {
                hold(Value::ofText(text));
                touch();
            }
            break;
    }
    return 1;
}

const char* NwParameter::getString() const {
    if (type_ == ZtPrimType::STRING)
        return values_ == nullptr ? "" : as<char>();
    constexpr int kTexts = 4;
    static ZtString* const texts = new ZtString[kTexts];
    static int next = 0;
    ZtString& text = texts[next];
    next = (next + 1) % kTexts;
    print(text);
    return text.getString();
}
