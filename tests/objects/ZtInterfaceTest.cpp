// Owners and their interfaces: what is found, who deletes what, and who may go first.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtInterfaceOwnerDefaultImpl.h>
#include <ztlib/ZtTypeInfo.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "FailEveryAllocation.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> events;

struct Counted : ZtHandable {
    ~Counted() override { events.emplace_back("handled"); }
};

class Owner : public ZtInterfaceOwner {
public:
    ~Owner() override {
        if (!hasLeft)
            notifyDelete();
    }
    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type =
            new ZtTypeInfo("TestOwner", nullptr, ZtInterfaceOwner::getClassTypeId());
        return type;
    }
    using ZtInterfaceOwner::notifyDelete;
    using ZtInterfaceOwner::registerAttachInterfacesOnceCB;

    bool hasLeft = false;
};

/// An interface of one of three types: A, B derived from A, and C.
template <char kType>
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
        events.push_back(std::string(1, kType));
        ZtDArray<ZtTypedObject*> others;
        getAllInterfaces(others);
        getInterface(ZtInterfaceOwner::getClassTypeId());
    }
    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type = [] {
            static const char name[] = {'T', 'e', 's', 't', kType, '\0'};
            return new ZtTypeInfo(
                name, nullptr,
                kType == 'B' ? Capability<'A'>::getClassTypeId() : ZtInterface::getClassTypeId());
        }();
        return type;
    }

    inline static int alive = 0;
};

using A = Capability<'A'>;
using B = Capability<'B'>;
using C = Capability<'C'>;

TEST(ZtInterfaceOwner, FindsTheLastInterfaceOfAType) {
    Owner owner;
    A first(&owner), second(&owner);
    B derived(&owner);
    owner.registerInterfaceStaticMemory(nullptr);
    EXPECT_EQ(&derived, owner.getInterface(A::getClassTypeId()));
    EXPECT_EQ(&derived, first.getInterface(B::getClassTypeId()));
    EXPECT_EQ(nullptr, first.getInterface(C::getClassTypeId()));
    EXPECT_EQ(nullptr, owner.getInterface(nullptr));
    EXPECT_EQ(&owner, owner.getInterface(Owner::getClassTypeId()));
    EXPECT_EQ(&derived, owner.getInterface(ZtTypedObject::getClassTypeId()));
    ZtDArray<ZtTypedObject*> all;
    all.push(&owner);
    owner.getAllInterfaces(all);
    ASSERT_EQ(4, all.size());
    EXPECT_EQ(&first, all[0]);
    EXPECT_EQ(ZtTypeInfo::fromName("ZtInterface"), ZtInterface::getClassTypeId());
    EXPECT_EQ(ZtTypeInfo::fromName("ZtInterfaceOwner"), ZtInterfaceOwner::getClassTypeId());
}

TEST(ZtInterfaceOwner, MakesItsInterfacesOnTheFirstQuery) {
    struct Lazy : Owner {
        int calls = 0;
    } owner;
    owner.registerAttachInterfacesOnceCB(
        [](void* data) {
            auto& self = *static_cast<Lazy*>(data);
            ++self.calls;
            EXPECT_EQ(nullptr, self.getInterface(A::getClassTypeId()));
            new A(&self, Owner::MANAGE_MEMORY);
            new C(&self, Owner::MANAGE_MEMORY);
        },
        &owner);
    EXPECT_EQ(nullptr, owner.getInterface(nullptr));
    EXPECT_EQ(1, owner.calls);
    EXPECT_NE(nullptr, owner.getInterface(A::getClassTypeId()));
    EXPECT_NE(nullptr, owner.getInterface(C::getClassTypeId()));
    EXPECT_EQ(1, owner.calls);
}

TEST(ZtInterfaceOwner, DeletesWhatItManagesLastFirst) {
    events.clear();
    {
        Owner owner;
        C unmanaged(&owner);
        owner.handleObject(new Counted);
        owner.handleObject(nullptr);
        new A(&owner, Owner::MANAGE_MEMORY);
        auto* const twice = new B(&owner, Owner::MANAGE_MEMORY);
        owner.registerInterfaceManageMemory(twice);
        owner.manageMemory(nullptr);
        owner.notifyDelete();
        EXPECT_THAT(events, ElementsAre("B", "A", "handled"));
        EXPECT_EQ(nullptr, unmanaged.getInterface(A::getClassTypeId()));
        unmanaged.handleObject(nullptr);
        unmanaged.manageMemory(nullptr);
        owner.hasLeft = true;
    }
    EXPECT_EQ(0, A::alive + B::alive + C::alive);
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
    EXPECT_THAT(events, ElementsAre("A", "C", "handled"));

    events.clear();
    auto* const managed = new A(nullptr, ZtInterfaceOwner::MANAGE_MEMORY);
    managed->ref();
    managed->ref();
    managed->unref();
    EXPECT_EQ(1, A::alive);
    managed->unref();
    EXPECT_EQ(0, A::alive);

    // The interface outlives its owner.
    A outliving;
    outliving.ref();
    outliving.unref();
    EXPECT_EQ(nullptr, outliving.getInterface(A::getClassTypeId()));
    outliving.ref();
    ZtDArray<ZtTypedObject*> all;
    all.push(nullptr);
    outliving.getAllInterfaces(all);
    EXPECT_EQ(0, all.size());
}

TEST(ZtInterface, CopiesShareTheOwnerWhichDoesNotKnowThem) {
    Owner owner, other;
    A first(&owner);
    A copy(first);
    C third(&other);
    EXPECT_EQ(&first, copy.getInterface(A::getClassTypeId()));
    copy = copy;
    copy = A(&other);  // leaves with the temporary
    EXPECT_EQ(&third, copy.getInterface(C::getClassTypeId()));
    first = copy;
    EXPECT_EQ(nullptr, owner.getInterface(A::getClassTypeId()));
}

TEST(ZtInterface, OwnersAndInterfacesGoInAnyOrder) {
    std::mt19937 engine(1);
    const auto below = [&](std::size_t n) { return engine() % n; };
    for (int round = 0; round < 300; ++round) {
        std::vector<std::unique_ptr<Owner>> owners;
        std::vector<std::unique_ptr<ZtInterface>> interfaces;
        for (int step = 0; step < 40; ++step) {
            switch (below(6)) {
                case 0:
                    owners.push_back(std::make_unique<Owner>());
                    break;
                case 1:
                    if (!owners.empty())
                        owners.erase(owners.begin() + static_cast<long>(below(owners.size())));
                    break;
                case 2:
                    if (!owners.empty())
                        new B(owners[below(owners.size())].get(), Owner::MANAGE_MEMORY);
                    break;
                case 3:
                    interfaces.push_back(std::make_unique<A>());
                    break;
                case 4:
                    if (!owners.empty())
                        interfaces.push_back(
                            std::make_unique<C>(owners[below(owners.size())].get()));
                    break;
                default:
                    if (!interfaces.empty())
                        interfaces.erase(interfaces.begin() +
                                         static_cast<long>(below(interfaces.size())));
            }
            for (const auto& owner : owners)
                owner->getInterface(A::getClassTypeId());
            for (const auto& interface : interfaces)
                interface->getInterface(C::getClassTypeId());
        }
    }
    EXPECT_EQ(0, A::alive + B::alive + C::alive);
}

TEST(ZtInterface, FailedAllocationsLoseNothing) {
    struct Plain : ZtInterface {
        explicit Plain(ZtInterfaceOwner* owner = nullptr) : ZtInterface(owner) {}
    };
    Owner::getClassTypeId();  // registered for good
    failEveryAllocation([] { return std::make_unique<Owner>(); },
                        [](std::unique_ptr<Owner>& owner) {
                            Plain interface(owner.get()), alone;
                            alone.handleObject(nullptr);
                            owner->registerInterfaceManageMemory(nullptr);
                        },
                        [](std::unique_ptr<Owner>& owner) {
                            EXPECT_EQ(owner.get(),
                                      owner->getInterface(ZtTypedObject::getClassTypeId()));
                        });
}

}  // namespace
