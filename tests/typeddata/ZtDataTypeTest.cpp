// Primitive types, data types and their registry, and the pointers that carry them.
#include <gtest/gtest.h>
#include <ztlib/ZtDataPointer.h>
#include <ztlib/ZtDataType.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtTypedPointer.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <tuple>

#include "core/AllocationWatch.h"

namespace {

std::string uri(const std::string& shortName) {
    return ZtDataType::namespaceUri() + ("/types#" + shortName);
}

struct TypeRow {
    int code;
    const char* name;
    const char* dataType;
    int size;
    bool isInteger, isSigned, isFloat;
    int asSigned, asUnsigned;
};

const TypeRow kTypes[] = {
    {ZtPrimType::BYTE, "byte", "uint8", 1, true, false, false, 9, 0},
    {ZtPrimType::SHORT, "short", "int16", 2, true, true, false, 1, 7},
    {ZtPrimType::INT, "int", "int32", 4, true, true, false, 2, 8},
    {ZtPrimType::FLOAT, "float", "float", 4, false, true, true, 3, 3},
    {ZtPrimType::DOUBLE, "double", "double", 8, false, true, true, 4, 4},
    {ZtPrimType::COMPLEX, "complex", "unknown", 8, false, true, true, 5, 5},
    {ZtPrimType::STRING, "string", "unknown", 4, false, false, false, 6, 6},
    {ZtPrimType::USHORT, "ushort", "uint16", 2, true, false, false, 1, 7},
    {ZtPrimType::UINT, "uint", "uint32", 4, true, false, false, 2, 8},
    {ZtPrimType::SBYTE, "sbyte", "int8", 1, true, true, false, 9, 0},
    {10, "unknown", "unknown", 0, false, false, false, 10, 10},
    {-1, "unknown", "unknown", 0, false, false, false, -1, -1},
};

TEST(DataTypes, EveryCodeHasItsPropertiesAndItsDataType) {
    int expectedCode = 0;
    for (const TypeRow& row : kTypes) {
        SCOPED_TRACE(row.code);
        EXPECT_TRUE(row.size == 0 || row.code == expectedCode++);
        const ZtPrimType type(row.code);
        EXPECT_STREQ(row.name, type.getName());
        EXPECT_EQ(std::tuple(row.code, row.size, row.isInteger, row.isSigned, row.isFloat),
                  std::tuple(type.getType(), type.size(), type.isInteger(), type.isSigned(),
                             type.isFloat()));
        EXPECT_EQ(std::pair(row.asSigned, row.asUnsigned),
                  std::pair(+ZtPrimType(type).makeSigned(), +ZtPrimType(type).makeUnsigned()));
        ZtPrimType found = ZtPrimType::COMPLEX;
        EXPECT_EQ(row.size > 0, ZtPrimType::nameToType(row.name, found));
        EXPECT_EQ(row.size > 0 ? row.code : ZtPrimType::COMPLEX, found);

        const std::string name = uri(row.dataType);
        const bool isKnown = name != uri("unknown");
        ZtDataType::registerType(name.c_str(), 99);
        const ZtDataType dataType = type;
        EXPECT_EQ(name, dataType.getName());
        EXPECT_STREQ(dataType.getName(), dataType.commonName());
        EXPECT_TRUE(dataType == ZtDataType(name.c_str()) && !(dataType != name.c_str()));
        EXPECT_TRUE(dataType.isBasedOn(name.c_str()));
        EXPECT_EQ(std::tuple(isKnown ? row.size : 0, isKnown ? row.code : ZtPrimType::BYTE, isKnown,
                             isKnown && row.isInteger, isKnown && row.isFloat),
                  std::tuple(dataType.memsize(), dataType.asMcPrimType().getType(),
                             dataType.isMcPrimType(), dataType.isInteger(), dataType.isFloat()));
        EXPECT_EQ(dataType.memsize(), dataType.size());
    }
    int code = 77;
    for (const char* name : {"UShort", "uint8", "byte ", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(ZtPrimType::nameToType(name, code));
    EXPECT_EQ(77, code);
    const ZtDataType unknown;
    EXPECT_TRUE(unknown == nullptr && unknown == ZtDataType(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(ZtDataType::isKnown(nullptr));
    ZtPrimType type;
    type = 8;
    EXPECT_TRUE(type != ZtPrimType::INT && type != 2 && type != ZtPrimType());
}

TEST(DataTypes, NamesBecomeKnownByUseAndRegisteredOnce) {
    const std::string name = "a type of three floats";
    const ZtDataType number = ZtPrimType(ZtPrimType::FLOAT);
    EXPECT_FALSE(ZtDataType::isKnown(name.c_str()));
    EXPECT_FALSE(number == name.c_str());
    EXPECT_FALSE(ZtDataType::isKnown(name.c_str())) << "comparing makes no name known";
    EXPECT_FALSE(number.isBasedOn(name.c_str()));
    EXPECT_TRUE(ZtDataType::isKnown(name.c_str()));
    ZtDataType early;
    early = name.c_str();
    EXPECT_EQ(0, early.memsize());
    EXPECT_FALSE(early.isBasedOn(early) || early.isMcPrimType());
    ZtDataType::registerType(name.c_str(), 12);
    ZtDataType::registerType(name.c_str(), 16);
    EXPECT_EQ(12, early.memsize());
    EXPECT_TRUE(early.isBasedOn(name.c_str()));
    EXPECT_FALSE(early.isBasedOn(number));
    EXPECT_EQ(static_cast<const void*>(early.getName()), ZtDataType(name.c_str()).getName());
}

TEST(DataTypes, TheTableGrowsAndSurvivesFailedAllocations) {
    const auto nameOf = [](int i) { return "grown #" + std::to_string(i); };
    for (int i = 0; i < 3000; ++i) {
        const std::string name = nameOf(i);
        for (int failing = 0; !ZtDataType::isKnown(name.c_str()); ++failing) {
            AllocationWatch watch;
            watch.failAfter(failing);
            try {
                ZtDataType::registerType(name.c_str(), i);
            } catch (const ZtMemoryException&) {
                ASSERT_FALSE(ZtDataType::isKnown(name.c_str()));
            }
        }
    }
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(i, ZtDataType(nameOf(i).c_str()).memsize());
    EXPECT_EQ(4, ZtDataType(uri("int32").c_str()).memsize());
}

template <class T>
void expectPointers(ZtPrimType::Type type, const char* name, const char* constName) {
    SCOPED_TRACE(name);
    T element{};
    const T* const fixed = &element;
    EXPECT_EQ(type, ZtTypedPointer(&element).primType());
    EXPECT_EQ(&element, static_cast<void*>(ZtTypedPointer(&element)));
    EXPECT_EQ(type, ZtPrimType(&element));
    EXPECT_TRUE(ZtDataType::ofPointer(&element) == uri(name).c_str());
    EXPECT_TRUE(ZtDataType::ofPointer(fixed) == uri(constName).c_str());
    const ZtDataPointer writable(&element, 3);
    const ZtDataPointer readable(fixed);
    EXPECT_TRUE(!writable.isConst() && readable.isConst());
    for (const ZtDataPointer& pointer : {writable, readable}) {
        EXPECT_EQ(&element, static_cast<void*>(pointer));
        EXPECT_TRUE(pointer.dataType() == uri(name).c_str());
        EXPECT_EQ(pointer.nComponents() * static_cast<int>(sizeof(T)), pointer.dataElemSize());
    }
}

TEST(DataTypes, PointersTakeTypeAccessAndComponentsOfTheirElements) {
    expectPointers<char>(ZtPrimType::SBYTE, "int8", "int8");
    expectPointers<unsigned char>(ZtPrimType::BYTE, "uint8", "uint8");
    expectPointers<short>(ZtPrimType::SHORT, "int16", "int16");
    expectPointers<unsigned short>(ZtPrimType::USHORT, "uint16", "uint16");
    expectPointers<int>(ZtPrimType::INT, "int32", "int32");
    expectPointers<unsigned int>(ZtPrimType::UINT, "uint32", "int32");
    expectPointers<float>(ZtPrimType::FLOAT, "float", "float");
    expectPointers<double>(ZtPrimType::DOUBLE, "double", "double");
    const ZtDataPointer empty;
    EXPECT_TRUE(empty.isConst() && !empty.pointer() && empty.nComponents() == 0);
    EXPECT_TRUE(empty.dataType() == ZtDataType());
    int item = 0;
    EXPECT_EQ(ZtPrimType::COMPLEX, ZtTypedPointer(&item, ZtPrimType::COMPLEX).primType());
    ZtDataPointer source(static_cast<const void*>(&item), ZtPrimType(2));
    // Casts change the copy only.
    EXPECT_FALSE(source.constCast(ZtDataPointer::READ_WRITE).isConst());
    EXPECT_TRUE(source.isConst());
    EXPECT_TRUE(source.constCast(ZtDataPointer::READ_ONLY).isConst());
    source.forceNonConst();
    EXPECT_FALSE(source.isConst());
    source.forceConst();
    EXPECT_TRUE(source.isConst());
}

TEST(DataTypes, PointersDuplicateOneItem) {
    const float items[6] = {1, 2, 3, 4, 5, 6};
    const double zero = 0;
    const auto check = [](const ZtDataPointer& source, const void* content, int bytes) {
        const ZtDataPointer copy = source.duplicateData();
        EXPECT_NE(source.pointer(), copy.pointer());
        EXPECT_TRUE(copy.isConst() == source.isConst() && copy.dataElemSize() == bytes);
        EXPECT_EQ(0,
                  std::memcmp(content, copy.pointer(), static_cast<unsigned>(std::max(bytes, 0))));
        ztfree(copy.pointer());
    };
    check(ZtDataPointer(items, 3), items, 12);
    check(ZtDataPointer(static_cast<double*>(nullptr)), &zero, 8);
    check(ZtDataPointer(items, -2), items, -8);
    ZtDataType::registerType("a huge type", INT_MAX);
    const ZtDataPointer huge(static_cast<void*>(nullptr), "a huge type", INT_MAX);
    EXPECT_EQ(INT_MAX, huge.dataElemSize());
    EXPECT_THROW(huge.duplicateData(), ZtMemoryException);
}

}  // namespace
