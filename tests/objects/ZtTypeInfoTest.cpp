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
    EXPECT_TRUE(leaf.isOfType(&root));  // by the second parent only
    EXPECT_TRUE(leaf.isOfType(&leaf) && leaf.isOfType(&side));
    EXPECT_FALSE(root.isOfType(&leaf) || middle.isOfType(&side) || leaf.isOfType(nullptr));
    EXPECT_EQ(1, middle.getNumParents());
    EXPECT_EQ(2, leaf.getNumParents());
    EXPECT_EQ(&middle, leaf.getParent(1));
    for (const int index : {-1, 2})
        EXPECT_EQ(nullptr, leaf.getParent(index));
}

// As a package does it: register when loaded, create by name, ask for the type.
TEST(ZtTypedObject, IsCreatedByItsTypesName) {
    struct Shape : ZtTypedObject {};
    ZtTypedObject::initClass();
    const ZtTypeInfo shape(
        "ZtShape", []() -> ZtTypedObject* { return new Shape; }, ZtTypedObject::getClassTypeId());
    const ZtTypeInfo* const type = ZtTypeInfo::fromName("ZtShape");
    ASSERT_EQ(&shape, type);
    EXPECT_EQ(1, type->canCreateInstance());
    const std::unique_ptr<ZtTypedObject> object(type->createInstance());
    EXPECT_TRUE(object->isOfType(ZtTypeInfo::fromName("ZtTypedObject")));
    EXPECT_FALSE(object->isOfType(type));
    EXPECT_EQ(0, ZtTypedObject::getClassTypeId()->canCreateInstance());
    EXPECT_EQ(nullptr, ZtTypedObject::getClassTypeId()->createInstance());
}

}  // namespace
