// The object model against what C++ has for the same: interfaces and types against dynamic_cast,
// handles against shared pointers, the registry of types against a map.
#include <ztlib/ZtHandle.h>
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtTypeInfo.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Compare.h"

namespace {

constexpr int kInterfaces = 8;

class Owner : public ZtInterfaceOwner {
public:
    ~Owner() override { notifyDelete(); }
};

template <int kNumber>
class Interface : public ZtInterface {
public:
    explicit Interface(Owner* owner) : ZtInterface(owner, ZtInterfaceOwner::MANAGE_MEMORY) {}
    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type =
            new ZtTypeInfo("BenchInterface", nullptr, ZtInterface::getClassTypeId());
        return type;
    }
};

struct Base {
    virtual ~Base() = default;
};

template <int kNumber>
struct Capability {
    virtual ~Capability() = default;
};

template <int... kNumbers>
struct Whole : Base, Capability<kNumbers>... {};

template <int... kNumbers>
void addInterfaces(std::integer_sequence<int, kNumbers...>) {
    auto owner = std::make_shared<Owner>();
    (new Interface<kNumbers>(owner.get()), ...);
    std::shared_ptr<Base> whole = std::make_shared<Whole<kNumbers...>>();
    const auto ours = [owner] {
        const Owner* asked = owner.get();
        benchmark::DoNotOptimize(asked);
        int found = 0;
        ((found += asked->getInterface(Interface<kNumbers>::getClassTypeId()) != nullptr), ...);
        return found;
    };
    const auto peer = [whole] {
        const Base* asked = whole.get();
        benchmark::DoNotOptimize(asked);
        int found = 0;
        ((found += dynamic_cast<const Capability<kNumbers>*>(asked) != nullptr), ...);
        return found;
    };
    bench::add({"getInterface of each of 8", "dynamic_cast to each of 8 bases", 1 / 1.5,
                [ours] { benchmark::DoNotOptimize(ours()); },
                [peer] { benchmark::DoNotOptimize(peer()); },
                [ours, peer] { return ours() == kInterfaces && peer() == kInterfaces; }});
}

// A class each of whose objects is of kLevel types more than those of the first.
template <int kLevel>
class Derived : public Derived<kLevel - 1> {
public:
    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type =
            new ZtTypeInfo("BenchType", nullptr, Derived<kLevel - 1>::getClassTypeId());
        return type;
    }
};

template <>
class Derived<-1> : public ZtTypedObject {};

void addTypes() {
    constexpr int kLevels = 6;
    std::shared_ptr<const ZtTypedObject> object = std::make_shared<Derived<kLevels>>();
    const auto ours = [object] {
        const ZtTypedObject* asked = object.get();
        benchmark::DoNotOptimize(asked);
        return asked->isOfType(Derived<0>::getClassTypeId());
    };
    const auto peer = [object] {
        const ZtTypedObject* asked = object.get();
        benchmark::DoNotOptimize(asked);
        return dynamic_cast<const Derived<0>*>(asked) != nullptr;
    };
    bench::add({"isOfType, 6 levels up", "dynamic_cast", 1 / 1.5,
                [ours] { benchmark::DoNotOptimize(ours()); },
                [peer] { benchmark::DoNotOptimize(peer()); },
                [ours, peer] { return ours() && peer(); }});
}

struct Counted : ZtHandable {};

// Copies a pointer through an array and drops the copies.
template <class Pointer>
int copyThrough(const Pointer& pointer) {
    constexpr int kCopies = 64;
    std::vector<Pointer> copies;
    copies.reserve(kCopies);
    for (int i = 0; i < kCopies; ++i)
        copies.push_back(pointer);
    return static_cast<int>(copies.size());
}

void addHandles() {
    const ZtHandle<Counted> handle(new Counted);
    const auto shared = std::make_shared<int>();
    bench::add({"64 handles copied and dropped",
                "std::shared_ptr beside another thread",
                3,
                [handle] { benchmark::DoNotOptimize(copyThrough(handle)); },
                [shared] { benchmark::DoNotOptimize(copyThrough(shared)); },
                {}});
}

void addRegistry() {
    constexpr int kTypes = 10000;
    std::vector<std::string> names;
    for (int i = 0; i < kTypes; ++i)
        names.push_back("PackageType" + std::to_string(i));
    std::mt19937 random(5);
    std::shuffle(names.begin(), names.end(), random);
    std::vector<int> order(kTypes);
    for (int i = 0; i < kTypes; ++i)
        order[static_cast<std::size_t>(i)] = i;
    std::shuffle(order.begin(), order.end(), random);

    const auto found = std::make_shared<std::pair<int, int>>();
    bench::add(
        {"10,000 types registered, found and removed in random order", "std::map of texts", 0,
         [names, order, found] {
             std::vector<std::unique_ptr<ZtTypeInfo>> types;
             for (const std::string& name : names)
                 types.push_back(std::make_unique<ZtTypeInfo>(name.c_str()));
             found->first = 0;
             for (const int i : order)
                 found->first += ZtTypeInfo::fromName(names[static_cast<std::size_t>(i)].c_str()) ==
                                 types[static_cast<std::size_t>(i)].get();
             for (const int i : order)
                 types[static_cast<std::size_t>(i)].reset();
         },
         [names, order, found] {
             std::map<std::string, int> types;
             for (int i = 0; i < kTypes; ++i)
                 types.emplace(names[static_cast<std::size_t>(i)], i);
             found->second = 0;
             for (const int i : order)
                 found->second += types.find(names[static_cast<std::size_t>(i)])->second == i;
             for (const int i : order)
                 types.erase(names[static_cast<std::size_t>(i)]);
         },
         [found] { return found->first == kTypes && found->second == kTypes; }});
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    addInterfaces(std::make_integer_sequence<int, kInterfaces>());
    addTypes();
    addHandles();
    addRegistry();
    // A shared pointer counts with locked instructions as soon as there is another thread.
    std::atomic<bool> isOver = false;
    std::thread another([&isOver] { isOver.wait(false); });
    benchmark::RunSpecifiedBenchmarks();
    isOver = true;
    isOver.notify_one();
    another.join();
}
