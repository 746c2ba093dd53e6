// Owners and their interfaces: what is found, who deletes what, and who may go first.
#include <gtest/gtest.h>
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtInterfaceOwnerDefaultImpl.h>
#include <ztlib/ZtTypeInfo.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Random.h"

namespace {

std::string events;  // the names of what was deleted, in order

struct Counted : ZtHandable {
    ~Counted() override { events += "handled "; }
};

struct Plain : ZtTypedObject {
    ~Plain() override { events += "plain "; }
};

struct Owner : ZtInterfaceOwner {
    ~Owner() override {
        if (!hasLeft)
            notifyDelete();
    }
    using ZtInterfaceOwner::notifyDelete;
    using ZtInterfaceOwner::registerAttachInterfacesOnceCB;

    bool hasLeft = false;
};

int alive = 0;

/// An interface of one of three types: A, B derived from A, and C.
template <char kName, class Base>
class Capability : public ZtInterface {
public:
    explicit Capability(ZtInterfaceOwner* owner = nullptr, int policy = 0)
        : ZtInterface(owner, policy) {
        ++alive;
    }
    Capability(const Capability& other) : ZtInterface(other) { ++alive; }
    Capability& operator=(const Capability&) = default;
    ~Capability() override {
        --alive;
        events += {kName, ' '};
        ZtDArray<ZtTypedObject*> others;
        getAllInterfaces(others);
        getInterface(ZtInterfaceOwner::getClassTypeId());
    }
    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static constexpr char name[] = {'T', kName, '\0'};
        static auto* const type = new ZtTypeInfo(name, nullptr, Base::getClassTypeId());
        return type;
    }
};

using A = Capability<'A', ZtInterface>;
using B = Capability<'B', A>;
using C = Capability<'C', ZtInterface>;

TEST(ZtInterfaceOwner, FindsTheLastInterfaceOfAType) {
    Owner owner;
    A first(&owner), second(&owner);
    B derived(&owner);
    owner.registerInterfaceStaticMemory(nullptr);
    EXPECT_EQ(&derived, owner.getInterface(A::getClassTypeId()));
    EXPECT_EQ(&derived, first.getInterface(B::getClassTypeId()));
    EXPECT_EQ(&derived, A(first).getInterface(A::getClassTypeId()));  // a copy is not registered
    EXPECT_EQ(nullptr, first.getInterface(C::getClassTypeId()));
    EXPECT_EQ(nullptr, owner.getInterface(nullptr));
    EXPECT_EQ(&owner, owner.getInterface(ZtInterfaceOwner::getClassTypeId()));
    Owner other;
    second = A(&other);  // leaves the owner
    ZtDArray<ZtTypedObject*> all;
    all.push(&owner);
    owner.getAllInterfaces(all);
    ASSERT_EQ(3, all.size());
    EXPECT_EQ(&first, all[0]);
}

TEST(ZtInterfaceOwner, MakesItsInterfacesOnTheFirstQuery) {
    Owner owner;
    owner.registerAttachInterfacesOnceCB(
        [](void* data) {
            auto& self = *static_cast<Owner*>(data);
            EXPECT_EQ(nullptr, self.getInterface(A::getClassTypeId()));
            new A(&self, Owner::MANAGE_MEMORY);
        },
        &owner);
    EXPECT_NE(nullptr, owner.getInterface(A::getClassTypeId()));
    EXPECT_NE(nullptr, owner.getInterface(A::getClassTypeId()));
    EXPECT_EQ(1, alive);
}

TEST(ZtInterfaceOwner, DeletesWhatItManagesLastFirst) {
    events.clear();
    Owner owner;
    C unmanaged(&owner);
    owner.handleObject(new Counted);
    owner.handleObject(nullptr);
    new A(&owner, Owner::MANAGE_MEMORY);
    owner.registerInterfaceManageMemory(new B(&owner, Owner::MANAGE_MEMORY));
    owner.manageMemory(nullptr);
    owner.registerInterfaceManageMemory(new Plain);
    owner.manageMemory(owner.getInterface(ZtTypedObject::getClassTypeId()));
    owner.notifyDelete();
    owner.hasLeft = true;
    EXPECT_EQ("plain B A handled ", events);
    EXPECT_EQ(1, alive);
    EXPECT_EQ(nullptr, unmanaged.getInterface(A::getClassTypeId()));
    unmanaged.handleObject(nullptr);
    unmanaged.manageMemory(nullptr);
}

TEST(ZtInterface, WithoutAnOwnerHasOneOfItsOwn) {
    events.clear();
    {
        A onStack;
        EXPECT_EQ(&onStack, onStack.getInterface(A::getClassTypeId()));
        EXPECT_NE(nullptr, onStack.getInterface(ZtInterfaceOwner::getClassTypeId()));
        onStack.handleObject(new Counted);
        onStack.manageMemory(new C(nullptr));
    }
    EXPECT_EQ("A C handled ", events);

    A outliving;  // its owner, which the unref deletes
    outliving.ref();
    outliving.unref();
    EXPECT_EQ(nullptr, outliving.getInterface(A::getClassTypeId()));
}

TEST(ZtInterface, OwnersAndInterfacesGoInAnyOrder) {
    Random random(1);
    std::vector<std::unique_ptr<Owner>> owners;
    std::vector<std::unique_ptr<ZtInterface>> interfaces;
    const auto drop = [&](auto& list) {
        std::swap(random.of(list), list.back());
        list.pop_back();
    };
    for (int step = 0; step < 12000; ++step) {
        const int kind = random.below(5);
        if (kind == 0 || owners.empty())
            owners.push_back(std::make_unique<Owner>());
        else if (kind == 1)
            drop(owners);
        else if (kind == 2)
            new B(random.of(owners).get(), Owner::MANAGE_MEMORY);
        else if (kind == 3 || interfaces.empty())
            interfaces.push_back(std::make_unique<C>(random.of(owners).get()));
        else
            drop(interfaces);
        for (const auto& owner : owners)
            owner->getInterface(A::getClassTypeId());
        for (const auto& interface : interfaces)
            interface->getInterface(C::getClassTypeId());
    }
    owners.clear();
    interfaces.clear();
    EXPECT_EQ(0, alive);
}

}  // namespace
