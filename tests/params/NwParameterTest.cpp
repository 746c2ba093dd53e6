// Parameters: conversion, text, change detection, own texts as arguments, exhausted memory.
#include <gtest/gtest.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParamEditCheck.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtString.h>

#include <climits>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>

namespace {

std::string printed(const NwParameter& parameter) {
    ZtString text("old");
    parameter.print(text);
    return text.getString();
}

TEST(Parameter, ReadsAndPrintsEveryType) {
    const unsigned char bytes[] = {0, 255};
    const short shorts[] = {-5, 7};
    const unsigned short ushorts[] = {65535, 1};
    const int ints[] = {INT_MIN, 3};
    const float floats[] = {0.1f, 1e20f};
    const double doubles[] = {0.1, -1e-10};
    const float complexes[] = {1.5f, -2, 3, 4};
    const struct {
        ZtPrimType type;
        const void* data;
        const char* text;
        int second;  // as an integer
    } rows[] = {{ZtPrimType::BYTE, bytes, "0 255", 255},
                {ZtPrimType::SHORT, shorts, "-5 7", 7},
                {ZtPrimType::USHORT, ushorts, "65535 1", 1},
                {ZtPrimType::INT, ints, "-2147483648 3", 3},
                {ZtPrimType::FLOAT, floats, "0.1 1e+20", INT_MIN},
                {ZtPrimType::DOUBLE, doubles, "0.1 -1e-10", 0},
                {ZtPrimType::COMPLEX, complexes, "1.5 -2 3 4", 3},
                {ZtPrimType::UINT, ints, " ", 0},
                {ZtPrimType::INT, nullptr, "0 0", 0},
                {77, ints, " ", 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text + std::string(row.type.getName()));
        const NwParameter parameter("p", 2, row.type, row.data);
        EXPECT_EQ(row.text, printed(*std::unique_ptr<NwParameter>(parameter.duplicate())));
        EXPECT_STREQ(row.text, parameter.getString());
        int numbers[2];
        parameter.getNum(numbers);
        EXPECT_EQ(row.second, numbers[1]);
        EXPECT_EQ(0, parameter.getNum(2));
        EXPECT_EQ(0, parameter.getReal(-1));
    }
    NwParameter noText("p", 5, ZtPrimType::STRING, nullptr);
    noText = NwParameter(noText);
    noText.parse("");
    EXPECT_EQ(1, noText.dimension());
    EXPECT_EQ(0, noText.isNew() + noText.getNum());
    EXPECT_EQ("", printed(noText) + noText.getString());

    std::mt19937 random(1);
    for (int i = 0; i < 200; ++i) {
        const double value = std::ldexp(static_cast<double>(random()), i - 100);
        const auto single = static_cast<float>(value);
        char text[64];
        std::snprintf(text, sizeof text, "%.12g %.8g", value, static_cast<double>(single));
        EXPECT_EQ(text, printed({"p", value}) + " " + printed({"p", 1, &single}));
    }
}

TEST(Parameter, ParsesIntegersRealsAndTexts) {
    const ZtPrimType::Type kInt = ZtPrimType::INT, kReal = ZtPrimType::FLOAT;
    const ZtPrimType::Type kText = ZtPrimType::STRING;
    const struct {
        const char* text;
        ZtPrimType::Type type;
        const char* printed;
    } rows[] = {
        {"12 -2\t+3\n", kInt, "12 -2 3"},
        {"99999999999 1", kInt, "2147483647 1"},
        {"e5", kReal, "0"},
        {"7 E3", kReal, "7 0"},
        {"+.5e3", kReal, "500"},
        {"1e39", kReal, "inf"},
        {"1.e2", kReal, "100"},
        {"0.1 123456789", kReal, "0.1 1.2345679e+08"},
        {"", kText, ""},
        {"1 x", kText, "1 x"},
        {".e5", kText, ".e5"},
        {"1e", kText, "1e"},
        {"1.5.2", kText, "1.5.2"},
        {"nan", kText, "nan"},
        {"a \"b\"", kText, "a b"},
    };
    for (const auto& row : rows) {
        const NwParameter parameter("p", row.text, 1);
        EXPECT_EQ(row.type, parameter.primType()) << row.text;
        EXPECT_EQ(row.printed, printed(parameter));
        EXPECT_EQ(row.text[0] == '\0' ? 0 : 18, parameter.isNew()) << row.text;
    }
    EXPECT_EQ(kText, NwParameter("p", nullptr, 1).primType());
    EXPECT_EQ(0, NwParameter("p", "1 2 3").isNew());
}

TEST(Parameter, RoundsToIntegers) {
    const std::pair<double, int> rows[] = {{2.5, 3},
                                           {-2.7, -2},
                                           {-1.5, -1},
                                           {-0.6, 0},
                                           {2147483646.6, INT_MAX},
                                           {-2147483649.4, INT_MIN},
                                           {1e10, INT_MIN},
                                           {-1e10, INT_MIN},
                                           {std::nan(""), INT_MIN}};
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(expected, NwParameter("p", value).getNum()) << value;
    const float almostHalf = 0.49999997f;  // single precision would make it 1 by adding 0.5
    EXPECT_EQ(0, NwParameter("p", 1, &almostHalf).getNum());
    EXPECT_EQ(12, NwParameter("p", "12 abc").getNum(7));
    EXPECT_EQ(INT_MAX, NwParameter("p", "99999999999").getNum());
    EXPECT_EQ(-7.5, NwParameter("p", " -7.5e0x").getReal(7));
}

TEST(Parameter, IsUnchangedByItsOwnTextAndMarksWhatItLiesIn) {
    NwParamBundle outer("outer");
    NwParamBundle& inner = *outer.bundle("inner", 1);
    inner.set("p", 3);
    NwParameter& p = *inner.find("p");
    outer.untouchAll();
    p.parse("3");
    EXPECT_EQ(0, outer.isNew());
    p.set(3);
    EXPECT_EQ(2 | 16, p.isNew());
    EXPECT_EQ(8 | 16, outer.isNew());
    p.parse("3 4");
    EXPECT_EQ("3 4", printed(p));
    NwParameter text("p", "a \"b\"");
    text.parse("a b");
    EXPECT_STREQ("a \"b\"", text.getString()) << "it prints as that already";
    EXPECT_EQ(0, text.isNew());
    for (double value : {0.0, -0.0, 123456789012.0, 4e9, -1e300, 1e-300, 1e-45, 0.1, 1e39}) {
        const auto single = static_cast<float>(value);
        for (NwParameter same : {NwParameter("p", value), NwParameter("p", 1, &single)}) {
            same.parse(std::string(same.getString()).c_str());
            EXPECT_EQ(0, same.isNew()) << same.getString();
        }
    }
}

struct Open : NwParameter {
    using NwParameter::isEqual;
    using NwParameter::NwParameter;
    using NwParameter::values;
};

TEST(Parameter, OnlyBytesCanBeUnchanged) {
    const int ints[] = {1, 2};
    const unsigned char bytes[] = {1, 0};
    const Open p("p", 2, ints), empty("p", 0, ints), b("b", 2, ZtPrimType::BYTE, bytes);
    EXPECT_TRUE(p.isEqual(7, ZtPrimType::FLOAT, p.values())) << "its own buffer";
    EXPECT_FALSE(p.isEqual(2, ZtPrimType::INT, ints));
    EXPECT_TRUE(p.isEqual(2, ZtPrimType::BYTE, bytes)) << "bytes of a buffer of another type";
    EXPECT_FALSE(p.isEqual(1, ZtPrimType::BYTE, bytes));
    EXPECT_TRUE(empty.isEqual(0, ZtPrimType::INT, nullptr));
    EXPECT_FALSE(Open("p", 1, ZtPrimType::STRING, nullptr).isEqual(1, ZtPrimType::BYTE, bytes));
    EXPECT_TRUE(p == p && p != Open("p", 2, ints));
}

TEST(Parameter, TakesItsOwnTexts) {
    NwParameter p("name", "a\"bcd");
    p.set(p.getString() + 1);
    p.parse(p.getString());
    EXPECT_STREQ("\"bcd", p.getString());
    p.set("1 2\" 3");
    p.parse(p.getString() + 5);
    EXPECT_EQ("3", printed(p));
    p.setName(p.name() + 2);
    EXPECT_STREQ("me", p.name());
    p.setName(nullptr);
    EXPECT_STREQ("", p.name());
}

TEST(Parameter, TooManyValuesAreExhaustedMemory) {
    if constexpr (sizeof(void*) == 4) {
        EXPECT_THROW(NwParameter("p", INT_MAX, ZtPrimType::INT, nullptr), ZtMemoryException);
    }
}

TEST(ParamEditCheck, GoesByTheFlagsOfTheNode) {
    NwParamBundle bundle("b");
    bundle.set("p", 1);
    NwParameter& p = *bundle.find("p");
    NwParamEditCheck& check = *p.editCheck();
    EXPECT_EQ(NwParamEditCheck::defaultEditCheck(), &check);
    for (int flags = 0; flags < 128; flags += 4) {
        bundle.setFlag(0xffff, 0);
        bundle.setFlag(flags, 1);
        p.setFlag(flags, 1);
        p.setFlag(~flags, 0);
        EXPECT_EQ(!(flags & 4), check.checkDelete(&p) != 0);
        EXPECT_EQ(!(flags & 8), check.checkInsertBundle(&bundle, "x") != 0);
        EXPECT_EQ(!(flags & 16), check.checkInsertParam(&bundle, "x") != 0);
        EXPECT_EQ(!(flags & 32), check.checkRename(&bundle, "x") != 0);
        EXPECT_EQ(!(flags & 64), check.checkSetValue(&p, "x") != 0);
    }
    NwParamEditCheck own;
    bundle.setEditCheck(&own);
    EXPECT_EQ(&own, p.editCheck());
    p.setEditCheck(&check);
    EXPECT_EQ(&check, p.editCheck());
}

}  // namespace
