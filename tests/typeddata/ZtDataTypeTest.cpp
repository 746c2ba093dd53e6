// Data types, their registry, and data pointers.
#include <gtest/gtest.h>
#include <ztlib/ZtDataPointer.h>
#include <ztlib/ZtDataType.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>

#include <climits>
#include <cstring>
#include <string>

#include "core/AllocationWatch.h"

namespace {

std::string uri(const std::string& shortName) {
    return ZtDataType::namespaceUri() + ("/types#" + shortName);
}

TEST(DataType, BuiltInTypesMatchThePrimitiveOnes) {
    struct Row {
        const char* name;
        int size;
        ZtPrimType::Type type;
        bool isInteger, isFloat;
    };
    for (const Row& row : {Row{"int8", 1, ZtPrimType::SBYTE, true, false},
                           Row{"uint8", 1, ZtPrimType::BYTE, true, false},
                           Row{"int16", 2, ZtPrimType::SHORT, true, false},
                           Row{"uint16", 2, ZtPrimType::USHORT, true, false},
                           Row{"int32", 4, ZtPrimType::INT, true, false},
                           Row{"uint32", 4, ZtPrimType::UINT, true, false},
                           Row{"float", 4, ZtPrimType::FLOAT, false, true},
                           Row{"double", 8, ZtPrimType::DOUBLE, false, true}}) {
        SCOPED_TRACE(row.name);
        const ZtDataType type(uri(row.name).c_str());
        EXPECT_EQ(uri(row.name), type.getName());
        EXPECT_STREQ(type.getName(), type.commonName());
        EXPECT_EQ(row.size, type.memsize());
        EXPECT_EQ(row.size, type.size());
        EXPECT_EQ(row.isInteger, type.isInteger());
        EXPECT_EQ(row.isFloat, type.isFloat());
        EXPECT_TRUE(type.isMcPrimType());
        EXPECT_EQ(row.type, type.asMcPrimType());
        EXPECT_TRUE(type == ZtPrimType(row.type));
        EXPECT_TRUE(type.isBasedOn(uri(row.name).c_str()));
        EXPECT_FALSE(type != uri(row.name).c_str());
        ZtDataType::registerType(uri(row.name).c_str(), 99);
        EXPECT_EQ(row.size, type.memsize());
    }
}

TEST(DataType, UnknownStandsForNoNameAndForCodesWithoutOne) {
    const ZtDataType unknown;
    EXPECT_EQ(uri("unknown"), unknown.getName());
    EXPECT_TRUE(unknown.isBasedOn(unknown));
    EXPECT_TRUE(unknown == nullptr);
    EXPECT_TRUE(ZtDataType::isKnown(nullptr));
    const ZtDataType others[] = {ZtDataType(static_cast<const char*>(nullptr)),
                                 ZtPrimType(ZtPrimType::COMPLEX), ZtPrimType(ZtPrimType::STRING),
                                 ZtPrimType(-1), ZtPrimType(77)};
    for (const ZtDataType& type : others) {
        EXPECT_TRUE(type == unknown);
        EXPECT_EQ(0, type.memsize());
        EXPECT_FALSE(type.isMcPrimType() || type.isInteger() || type.isFloat());
        EXPECT_EQ(ZtPrimType::BYTE, type.asMcPrimType());
    }
}

TEST(DataType, NamesBecomeKnownByUseAndRegisteredOnce) {
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

TEST(DataType, TheTableGrowsAndSurvivesFailedAllocations) {
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

TEST(DataType, OfPointerNamesTheElementType) {
    const auto check = [](auto element, const char* name, const char* constName) {
        const auto* fixed = &element;
        EXPECT_TRUE(ZtDataType::ofPointer(&element) == uri(name).c_str()) << name;
        EXPECT_TRUE(ZtDataType::ofPointer(fixed) == uri(constName).c_str()) << name;
    };
    check('a', "int8", "int8");
    check(static_cast<signed char>(0), "int8", "int8");
    check(static_cast<unsigned char>(0), "uint8", "uint8");
    check(static_cast<short>(0), "int16", "int16");
    check(static_cast<unsigned short>(0), "uint16", "uint16");
    check(0, "int32", "int32");
    check(0u, "uint32", "int32");
    check(0.0f, "float", "float");
    check(0.0, "double", "double");
}

template <class T>
void expectPointer(const char* name) {
    T element{};
    const ZtDataPointer writable(&element, 3);
    const ZtDataPointer readable(static_cast<const T*>(&element));
    SCOPED_TRACE(name);
    EXPECT_FALSE(writable.isConst());
    EXPECT_TRUE(readable.isConst());
    for (const ZtDataPointer& pointer : {writable, readable}) {
        EXPECT_EQ(&element, static_cast<void*>(pointer));
        EXPECT_TRUE(pointer.dataType() == uri(name).c_str());
        EXPECT_EQ(pointer.nComponents() * static_cast<int>(sizeof(T)), pointer.dataElemSize());
    }
    EXPECT_EQ(3, writable.nComponents());
    EXPECT_EQ(1, readable.nComponents());
}

TEST(DataPointer, TakesTypeAccessAndComponentsOfItsElements) {
    expectPointer<char>("int8");
    expectPointer<unsigned char>("uint8");
    expectPointer<short>("int16");
    expectPointer<unsigned short>("uint16");
    expectPointer<int>("int32");
    expectPointer<unsigned int>("uint32");
    expectPointer<float>("float");
    expectPointer<double>("double");
    const ZtDataPointer empty;
    EXPECT_TRUE(empty.isConst());
    EXPECT_EQ(nullptr, empty.pointer());
    EXPECT_EQ(0, empty.nComponents());
    EXPECT_TRUE(empty.dataType() == ZtDataType());
    int item = 0;
    EXPECT_FALSE(ZtDataPointer(static_cast<void*>(&item), ZtPrimType(2), 1).isConst());
    EXPECT_TRUE(ZtDataPointer(static_cast<const void*>(&item), ZtPrimType(2)).isConst());
}

TEST(DataPointer, CastsChangeTheCopyOnly) {
    const float items[3] = {};
    ZtDataPointer source(items, 3);
    EXPECT_FALSE(source.constCast(ZtDataPointer::READ_WRITE).isConst());
    EXPECT_TRUE(source.isConst());
    EXPECT_TRUE(source.constCast(ZtDataPointer::READ_ONLY).isConst());
    source.forceNonConst();
    EXPECT_FALSE(source.isConst());
    source.forceConst();
    EXPECT_TRUE(source.isConst());
}

TEST(DataPointer, DuplicatesOneItem) {
    const float items[6] = {1, 2, 3, 4, 5, 6};
    const ZtDataPointer source(items, 3);
    const ZtDataPointer copy = source.duplicateData();
    EXPECT_NE(source.pointer(), copy.pointer());
    EXPECT_EQ(0, std::memcmp(items, copy.pointer(), 12));
    EXPECT_TRUE(copy.isConst() && copy.nComponents() == 3 && copy.dataElemSize() == 12);
    ztfree(copy.pointer());

    const double zero = 0;
    const ZtDataPointer ofNothing = ZtDataPointer(static_cast<double*>(nullptr)).duplicateData();
    EXPECT_EQ(0, std::memcmp(&zero, ofNothing.pointer(), sizeof zero));
    ztfree(ofNothing.pointer());

    for (int n : {0, -2}) {
        const ZtDataPointer none = ZtDataPointer(items, n).duplicateData();
        EXPECT_EQ(4 * n, none.dataElemSize());
        ztfree(none.pointer());
    }
    ZtDataType::registerType("a huge type", INT_MAX);
    const ZtDataPointer huge(static_cast<void*>(nullptr), "a huge type", INT_MAX);
    EXPECT_EQ(INT_MAX, huge.dataElemSize());
    EXPECT_THROW(huge.duplicateData(), ZtMemoryException);
}

}  // namespace
