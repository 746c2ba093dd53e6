// NwParameter: a named value of a bundle: numbers of one type, or a text.
#pragma once

#include <ztlib/NwParamBase.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtPrimType.h>

class ZtString;

/// A name with a value: `dimension()` numbers of one element type, or one text (of dimension 1).
/// Values are read with conversion to what the caller wants, set with a change mark, printed as
/// text and parsed from it. It owns its value; for arrays it takes one block of memory.
///
/// Setting a value marks the parameter as changed even where the new value equals the old one.
/// Values may be set from the parameter's own texts. Operations that cannot get memory throw
/// `ZtMemoryException` and leave the parameter as it was. Numbers are printed and read alike in
/// every locale.
class ZTLIB_API NwParameter : public NwParamBase {
public:
    /// A parameter of one number.
    NwParameter(const char* name, int value);
    NwParameter(const char* name, double value);
    /// `n` values (a negative `n` is 0); zeros when `data` is null.
    NwParameter(const char* name, int n, const int* data);
    NwParameter(const char* name, int n, const float* data);
    NwParameter(const char* name, int n, const double* data);
    /// `n` elements of any type from `data`; zeros when that is null, and no value when the type is
    /// none of the known ones. For `STRING`, `data` is a zero-terminated text, or null for no
    /// value, and `n` is not used.
    NwParameter(const char* name, int n, ZtPrimType type, const void* data);
    /// A text; when `parseFlag` is not 0, what `parse` makes of it.
    NwParameter(const char* name, const char* text, int parseFlag = 0);
    /// The same on the heap; the caller's.
    static NwParameter* create(const char* name, const char* text, int parseFlag = 0);

    NwParameter(const NwParameter& other);
    /// Touches, when the two differ by `==`, and takes over flags, name and value. This node's own
    /// change marks are clear afterwards; those of the bundles above it tell of the change.
    NwParameter& operator=(const NwParameter& other);
    NwParameter* duplicate() const override;
    ~NwParameter() override;

    /// The type of the values.
    ZtPrimType primType() const { return type_; }
    /// The number of values.
    int dimension() const { return dimension_; }
    int dim() const { return dimension_; }

    /// The element as an integer: floating-point values plus 0.5, cut towards 0 (2.5 gives 3, -2.7
    /// gives -2), and the smallest integer where that does not fit; of complex values the real
    /// part; of a text the number at its start, clamped, whatever the index. 0 for other types,
    /// missing values and an index out of range.
    int getNum(int index = 0) const;
    /// The element as a floating-point number, likewise.
    double getReal(int index = 0) const;
    /// Fill `dimension()` elements.
    void getNum(int* out) const;
    void getReal(double* out) const;

    /// Set the value, and with it dimension and type. Counts and null are taken as in the
    /// constructors; a null text is empty.
    void set(int value);
    void set(double value);
    void set(int n, const int* data);
    void set(int n, const float* data);
    void set(int n, const double* data);
    void set(const char* text, int parseFlag = 0);

    /// Whether the names are equal and the value of `other` counts as unchanged by `isEqual`: with
    /// few exceptions only a parameter and itself, or two of type byte, are equal.
    bool operator==(const NwParameter& other) const;
    bool operator!=(const NwParameter& other) const { return !(*this == other); }

    /// Replaces the text by the value, or appends it: numbers with blanks between them, floats with
    /// 8 and doubles with 12 significant digits; complex numbers as real and imaginary part; a text
    /// without its double quotes.
    void print(ZtString& text, bool append = false) const;

    /// Sets the value from text and returns 1. Where all words (white space separates them) are
    /// integers, it becomes that many ints; where all are numbers, floats; else the whole text, as
    /// it is. "e5" counts as a number, which is 0. Text that `print` gives already changes nothing
    /// and does not touch.
    int parse(const char* text);

    /// The text of a parameter that holds one, as long as that is not set; else what `print` gives,
    /// which stays valid until four further calls, for any parameters.
    const char* getString() const;

protected:
    /// Whether setting such a value counts as no change. That is so for the buffer that the
    /// parameter holds (whatever `n` is), and for elements of type byte of the same number and
    /// bytes. A value of any other type always counts as changed: `type` is compared with the kind
    /// of the node, which for every parameter is the code of byte, and callers rely on it.
    int isEqual(int n, ZtPrimType type, const void* data) const;

    /// The elements, packed, or the text; null when there is no value.
    const void* values() const { return values_; }

private:
    friend class NwParamBundle;  // prints values
    struct Value;

    NwParameter(const char* name, const Value& value);
    void take(const Value& value);
    void hold(const Value& value);
    void replace(void* block, const Value& value);
    bool mayPrintAs(int n, double first) const;
    bool printsAs(const char* text) const;
    template <class T>
    void parseNumbers(const char* text, int n, ZtPrimType type, void (*read)(const char*, T*));
    template <class T>
    const T* as() const {
        return static_cast<const T*>(values_);
    }

    int dimension_ = 0;
    ZtPrimType type_;
    void* values_ = nullptr;
};
