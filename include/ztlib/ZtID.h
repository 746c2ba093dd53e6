// ZtID: numeric identifiers that the compiler can tell apart.
#pragma once

/// A number of type `T` that names something; the value `N` says "nothing". Derive a class from it
/// for each kind of thing. Holds the number alone and is copied as such; two threads may read one.
template <class T, T N>
class ZtID {
public:
    /// The empty identifier.
    ZtID() = default;
    explicit ZtID(const T& value) : value_(value) {}

    /// Read and write the number.
    const T& value() const { return value_; }
    void valueSet(const T& value) { value_ = value; }

    /// Whether the number is `N`, or another; `makeEmpty` makes it `N`.
    bool isEmpty() const { return value_ == N; }
    bool isNotEmpty() const { return value_ != N; }
    void makeEmpty() { value_ = N; }

    /// Compare by the values as signed numbers; the empty one takes part with its own.
    bool operator==(const ZtID& other) const { return value_ == other.value_; }
    bool operator!=(const ZtID& other) const { return value_ != other.value_; }
    bool operator<(const ZtID& other) const { return value_ < other.value_; }
    bool operator>(const ZtID& other) const { return value_ > other.value_; }
    bool operator<=(const ZtID& other) const { return value_ <= other.value_; }
    bool operator>=(const ZtID& other) const { return value_ >= other.value_; }

private:
    T value_ = N;
};
