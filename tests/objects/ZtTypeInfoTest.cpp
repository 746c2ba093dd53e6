// Run-time types and their registry.
#include <gtest/gtest.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtTypeInfo.h>
#include <ztlib/ZtTypedObject.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Random.h"
#include "core/AllocationWatch.h"

namespace {

// Types come and go at random, several of one name among them; a name finds one of its types, as
// long as there is one.
TEST(ZtTypeInfo, RegistryAgreesWithItsModel) {
    Random random(4);
    const std::string names[] = {"", "A", "a", "aa", "ab", "B", "\xC4rger", "Zt", "ZtTypedObjecu"};
    std::map<std::string, std::set<const ZtTypeInfo*>> model;
    std::vector<std::unique_ptr<ZtTypeInfo>> types;
    for (int step = 0; step < 4000; ++step) {
        const std::string& name = random.of(names);
        const int kind = random.below(8);
        if (kind < 3 || types.empty()) {
            types.push_back(std::make_unique<ZtTypeInfo>(name.c_str()));
            model[name].insert(types.back().get());
        } else if (kind < 6) {
            std::swap(random.of(types), types.back());
            model[types.back()->getName()].erase(types.back().get());
            types.pop_back();
        } else if (kind == 6) {
            ZtTypeInfo* const found = ZtTypeInfo::fromName(name.c_str());
            ZtTypeInfo::removeType(name.c_str());
            ASSERT_EQ(found != nullptr, model[name].erase(found) == 1);
        }
        for (const std::string& looked : names) {
            ZtTypeInfo* const found = ZtTypeInfo::fromName(looked.c_str());
            const auto& candidates = model[looked];
            ASSERT_EQ(candidates.empty(), found == nullptr) << step << ' ' << looked;
            ASSERT_TRUE(!found || candidates.count(found)) << step << ' ' << looked;
        }
    }
    EXPECT_EQ(nullptr, ZtTypeInfo::fromName(nullptr));
    ZtTypeInfo::removeType(nullptr);
    ZtTypeInfo::removeType("never there");
}

TEST(ZtTypeInfo, ThousandsComeAndGoInAnyOrder) {
    constexpr int kTypes = 10000;
    Random random(6);
    std::vector<std::string> names;
    for (int i = 0; i < kTypes; ++i)
        names.push_back("type" + std::to_string(i));
    std::vector<std::unique_ptr<ZtTypeInfo>> types(kTypes);
    for (int step = 0; step < 3 * kTypes; ++step) {
        const auto i = static_cast<std::size_t>(random.below(kTypes));
        ASSERT_EQ(types[i].get(), ZtTypeInfo::fromName(names[i].c_str()));
        types[i] = types[i] ? nullptr : std::make_unique<ZtTypeInfo>(names[i].c_str());
    }
}

TEST(ZtTypeInfo, AFailedRegistrationLeavesTheRegistryAsItWas) {
    std::vector<std::unique_ptr<ZtTypeInfo>> types;
    for (int failures = 0; failures < 3;) {
        AllocationWatch watch;
        watch.failAfter(0);
        try {
            types.push_back(std::make_unique<ZtTypeInfo>("many"));
        } catch (const ZtMemoryException&) {
            ++failures;
            watch.stopFailing();
            types.push_back(std::make_unique<ZtTypeInfo>("many"));
        }
    }
    types.clear();
    EXPECT_EQ(nullptr, ZtTypeInfo::fromName("many"));
}

TEST(ZtTypeInfo, KnowsItsParents) {
    const ZtTypeInfo root("root"), side("side");
    const ZtTypeInfo middle("middle", nullptr, &root);
    const ZtTypeInfo leaf("leaf", nullptr, &side, &middle);
    const ZtTypeInfo secondOnly("second only", nullptr, nullptr, &middle);
    EXPECT_TRUE(leaf.isOfType(&root));  // by the second parent only
    EXPECT_TRUE(leaf.isOfType(&leaf) && leaf.isOfType(&side) && secondOnly.isOfType(&root));
    EXPECT_FALSE(root.isOfType(&leaf) || middle.isOfType(&side) || leaf.isOfType(nullptr));
    EXPECT_EQ(0, root.getNumParents());
    EXPECT_EQ(2, leaf.getNumParents());
    EXPECT_EQ(1, secondOnly.getNumParents());
    EXPECT_EQ(nullptr, secondOnly.getParent(0));
    EXPECT_EQ(&middle, secondOnly.getParent(1));
    for (const int index : {-1, 2, 1000})
        EXPECT_EQ(nullptr, leaf.getParent(index));
}

class Shape : public ZtTypedObject {
public:
    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo type(
            "ZtShape", []() -> ZtTypedObject* { return new Shape; },
            ZtTypedObject::getClassTypeId());
        return &type;
    }
    static void initClass() { getClassTypeId(); }
};

// As a package does it: register when loaded, create by name, ask for the type.
TEST(ZtTypedObject, IsCreatedByItsTypesName) {
    EXPECT_EQ(nullptr, ZtTypeInfo::fromName("ZtShape"));
    ZtTypedObject::initClass();
    Shape::initClass();
    Shape::initClass();
    const ZtTypeInfo* const type = ZtTypeInfo::fromName("ZtShape");
    ASSERT_NE(nullptr, type);
    EXPECT_EQ(1, type->canCreateInstance());
    const std::unique_ptr<ZtTypedObject> object(type->createInstance());
    EXPECT_EQ(type, object->getTypeId());
    EXPECT_TRUE(object->isOfType(ZtTypeInfo::fromName("ZtTypedObject")));
    EXPECT_EQ(nullptr, ZtTypeInfo::fromName("ztshape"));
    EXPECT_EQ(0, ZtTypedObject::getClassTypeId()->canCreateInstance());
    EXPECT_EQ(nullptr, ZtTypedObject::getClassTypeId()->createInstance());
}

}  // namespace
