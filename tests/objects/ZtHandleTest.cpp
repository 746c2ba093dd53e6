// Reference counts, the way out of a counted object, and handles.
#include <gtest/gtest.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtHandable.h>
#include <ztlib/ZtHandle.h>

#include <functional>
#include <set>
#include <string>
#include <utility>

#include "ContractCapture.h"
#include "Random.h"

namespace {

/// Writes down what happens to it, with both flags: "+" set, "-" not.
class Witness : public ZtHandable {
public:
    explicit Witness(std::string* events = nullptr) : events_(events) { ++alive; }

    Witness(const Witness& other) : ZtHandable(other), events_(other.events_) { ++alive; }
    Witness& operator=(const Witness&) = default;

    inline static int alive = 0;

protected:
    ~Witness() override {
        note("destructor");
        --alive;
    }
    void notifyDelete() override {
        note("notify");
        ref();
        unref();
        unref();
        unrefNoDelete();
    }

private:
    void note(const char* event) {
        if (events_)
            *events_ += event + std::string(isDestructionInProgress() ? "+" : "-") +
                        (isDestructorCalled() ? "+ " : "- ");
    }

    std::string* events_;
};

TEST(ZtHandable, GoesWithTheLastReference) {
    std::string events;
    const Witness* const object = new Witness(&events);
    object->ref();
    object->ref();
    Witness* const copy = new Witness(*object);  // without the references
    *copy = *object;
    copy->ref();
    copy->unref();
    EXPECT_EQ(1, Witness::alive);
    events.clear();
    object->unref();
    object->unrefNoDelete();
    object->ref();
    EXPECT_EQ("", events);
    object->unref();
    EXPECT_EQ("notify+- destructor++ ", events);
}

// Handles in an array, assigned, copied, moved and dropped at random: an object lives exactly as
// long as a handle points to it.
TEST(ZtHandle, KeepsItsObjectAlive) {
    typedef ZtHandle<Witness> Handle;
    ZtDArray<Handle> handles;
    handles.resize(8);
    const std::function<void(Handle&, Handle&)> operations[] = {
        [](Handle& a, Handle&) { a = new Witness; },
        [](Handle& a, Handle& b) { a = b; },
        [](Handle& a, Handle& b) { a = std::move(b); },
        [](Handle& a, Handle&) { a = nullptr; },
        [](Handle& a, Handle&) { a = Handle(Handle(std::move(a))); },
        [&](Handle&, Handle& b) {
            handles.push(Handle(b));
            handles.insert(2, handles.last());
            handles.removeLast(2);
        }};
    Random random(3);
    for (int step = 0; step < 5000; ++step) {
        random.of(operations)(random.of(handles), random.of(handles));
        std::set<Witness*> objects(handles.begin(), handles.end());
        objects.erase(nullptr);
        ASSERT_EQ(static_cast<int>(objects.size()), Witness::alive) << step;
    }
    handles.clear();
    EXPECT_EQ(0, Witness::alive);
}

/// A list that each node holds on to by a handle.
class Node : public Witness {
public:
    ZtHandle<Node> next;
};

TEST(ZtHandle, TakesTheNewObjectBeforeItDropsTheOld) {
    ZtHandle<Node> head(new Node);
    head->next = new Node;
    head = head->next;
    head = head.getPtr();
    EXPECT_EQ(1, Witness::alive);
    const ZtHandle<Witness> base(head);
    head = nullptr;
    EXPECT_TRUE(base != nullptr && base == base.getPtr() && !head && head == nullptr);
    EXPECT_FALSE((*base).isDestructionInProgress());
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(head->ref(), BrokenContract);
    }
}

}  // namespace
