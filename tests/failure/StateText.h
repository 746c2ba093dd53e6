// What an object holds, as a text to be compared.
#pragma once

#include <gtest/gtest.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtDMatrix.h>
#include <ztlib/ZtResult.h>
#include <ztlib/ZtString.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

template <class T, class = std::enable_if_t<std::is_arithmetic_v<T>>>
std::string stateOf(const T& value) {
    return std::to_string(value);
}

inline std::string stateOf(const std::string& text) {
    return text;
}

inline std::string stateOf(const char* text) {
    return text ? text : "none";
}

inline std::string stateOf(const ZtString& text) {
    EXPECT_TRUE(text.isConsistent());
    return {text.getString(), static_cast<std::size_t>(text.length())};
}

inline std::string stateOf(const ZtBitfield& bits) {
    ZtString text;
    bits.print(text);
    return stateOf(text);
}

inline std::string stateOf(const ZtResult& result) {
    return std::to_string(result.code()) + " " + result.text() + " " + result.data();
}

inline std::string stateOf(const NwParameter& parameter) {
    ZtString text;
    parameter.print(text);
    return parameter.name() + stateOf(text) + (parameter.isNew() ? " is new" : "");
}

/// With the owners of all that lies in it, which must be the bundles that hold it.
inline std::string stateOf(const NwParamBundle& bundle) {
    ZtString text;
    bundle.print(text);
    std::string state = stateOf(text);
    for (int i = 0; i < bundle.size(); ++i) {
        EXPECT_EQ(&bundle, bundle[i]->owner());
        EXPECT_EQ(i < bundle.nBundles(), bundle[i]->isBundle() != 0);
        if (bundle[i]->isBundle())
            state += stateOf(static_cast<const NwParamBundle&>(*bundle[i]));
    }
    return state;
}

template <class T>
std::string stateOf(const ZtDMatrix<T>& matrix) {
    std::string state = std::to_string(matrix.nRows()) + " rows";
    for (int i = 0; i < matrix.nRows() * matrix.nCols(); ++i)
        state += " " + stateOf(matrix.dataPtr()[i]);
    return state;
}

template <class T>
std::string stateOf(const std::unique_ptr<T>& object) {
    return object ? stateOf(*object) : "none";
}

template <class T>
std::string stateOf(const ZtDArray<T>& array) {
    EXPECT_TRUE(array.isConsistent());
    std::string state;
    for (const T& element : array)
        state += stateOf(element) + ";";
    return state;
}

template <class T>
std::string stateOf(const std::vector<T>& elements) {
    std::string state;
    for (const T& element : elements)
        state += stateOf(element) + ";";
    return state;
}
