// Primitive types and the pointers that carry them.
#include <gtest/gtest.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtTypedPointer.h>

#include <climits>
#include <string>

namespace {

struct TypeRow {
    int code;
    ZtPrimType::Type type;
    const char* name;
    int size;
    bool isInteger, isSigned, isFloat;
    int asSigned, asUnsigned;
};

const TypeRow kTypes[] = {
    {0, ZtPrimType::BYTE, "byte", 1, true, false, false, 9, 0},
    {1, ZtPrimType::SHORT, "short", 2, true, true, false, 1, 7},
    {2, ZtPrimType::INT, "int", 4, true, true, false, 2, 8},
    {3, ZtPrimType::FLOAT, "float", 4, false, true, true, 3, 3},
    {4, ZtPrimType::DOUBLE, "double", 8, false, true, true, 4, 4},
    {5, ZtPrimType::COMPLEX, "complex", 8, false, true, true, 5, 5},
    {6, ZtPrimType::STRING, "string", 4, false, false, false, 6, 6},
    {7, ZtPrimType::USHORT, "ushort", 2, true, false, false, 1, 7},
    {8, ZtPrimType::UINT, "uint", 4, true, false, false, 2, 8},
    {9, ZtPrimType::SBYTE, "sbyte", 1, true, true, false, 9, 0},
    {10, static_cast<ZtPrimType::Type>(10), "unknown", 0, false, false, false, 10, 10},
    {-1, static_cast<ZtPrimType::Type>(-1), "unknown", 0, false, false, false, -1, -1},
    {INT_MAX, static_cast<ZtPrimType::Type>(INT_MAX), "unknown", 0, false, false, false, INT_MAX,
     INT_MAX},
};

TEST(PrimType, EveryCodeHasItsProperties) {
    for (const TypeRow& row : kTypes) {
        SCOPED_TRACE(row.code);
        const ZtPrimType type(row.code);
        EXPECT_EQ(row.type, type.getType());
        EXPECT_STREQ(row.name, type.getName());
        EXPECT_EQ(row.size, type.size());
        EXPECT_EQ(row.isInteger, type.isInteger());
        EXPECT_EQ(row.isSigned, type.isSigned());
        EXPECT_EQ(row.isFloat, type.isFloat());
        EXPECT_EQ(row.asSigned, ZtPrimType(type).makeSigned());
        EXPECT_EQ(row.asUnsigned, ZtPrimType(type).makeUnsigned());
        ZtPrimType found = ZtPrimType::COMPLEX;
        EXPECT_EQ(row.size > 0, ZtPrimType::nameToType(row.name, found));
        EXPECT_EQ(row.size > 0 ? row.code : ZtPrimType::COMPLEX, found);
    }
    int code = 77;
    for (const char* name : {"UShort", "uint8", "byte ", ""})
        EXPECT_FALSE(ZtPrimType::nameToType(name, code)) << name;
    EXPECT_FALSE(ZtPrimType::nameToType(nullptr, code));
    EXPECT_EQ(77, code);
}

TEST(PrimType, ComparesAndAssignsCodesAndEnumerators) {
    ZtPrimType type;
    EXPECT_TRUE(type == ZtPrimType::BYTE && type == 0 && 0 == type && type == ZtPrimType(0));
    type = ZtPrimType::UINT;
    EXPECT_TRUE(type != ZtPrimType::INT && type != 2 && type != ZtPrimType());
    type = 4;
    switch (type) {
        case ZtPrimType::DOUBLE:
            break;
        default:
            FAIL() << type;
    }
    static_assert(sizeof(ZtPrimType) == sizeof(int));
}

TEST(TypedPointer, TakesTheTypeOfItsElements) {
    const auto typeOf = [](auto element) {
        const ZtTypedPointer pointer = &element;
        EXPECT_EQ(&element, static_cast<void*>(pointer));
        EXPECT_EQ(ZtPrimType(static_cast<decltype(element)*>(nullptr)), pointer.primType());
        return pointer.primType().getType();
    };
    EXPECT_EQ(ZtPrimType::SBYTE, typeOf('a'));
    EXPECT_EQ(ZtPrimType::SBYTE, typeOf(static_cast<signed char>(0)));
    EXPECT_EQ(ZtPrimType::BYTE, typeOf(static_cast<unsigned char>(0)));
    EXPECT_EQ(ZtPrimType::SHORT, typeOf(static_cast<short>(0)));
    EXPECT_EQ(ZtPrimType::USHORT, typeOf(static_cast<unsigned short>(0)));
    EXPECT_EQ(ZtPrimType::INT, typeOf(0));
    EXPECT_EQ(ZtPrimType::UINT, typeOf(0u));
    EXPECT_EQ(ZtPrimType::FLOAT, typeOf(0.f));
    EXPECT_EQ(ZtPrimType::DOUBLE, typeOf(0.));
    float numbers[2] = {};
    ZtTypedPointer pointer(numbers, ZtPrimType::COMPLEX);
    EXPECT_EQ(ZtPrimType::COMPLEX, pointer.primType());
    pointer = ZtTypedPointer(nullptr, 3);
    EXPECT_EQ(nullptr, static_cast<void*>(pointer));
}

}  // namespace
