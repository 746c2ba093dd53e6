// Reference counts, the way out of a counted object, and handles.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtHandable.h>
#include <ztlib/ZtHandle.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"

namespace {

using testing::ElementsAre;

/// Writes down what happens to it, with both flags: "+" set, "-" not.
class Witness : public ZtHandable {
public:
    explicit Witness(std::vector<std::string>* events = nullptr) : events_(events) { ++alive; }
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
            events_->push_back(std::string(event) + (isDestructionInProgress() ? " +" : " -") +
                               (isDestructorCalled() ? "+" : "-"));
    }

    std::vector<std::string>* events_;
};

TEST(ZtHandable, GoesWithTheLastReference) {
    std::vector<std::string> events;
    const Witness* const object = new Witness(&events);
    object->ref();
    object->ref();
    object->unref();
    object->unrefNoDelete();
    object->ref();
    EXPECT_TRUE(events.empty());
    object->unref();
    EXPECT_THAT(events, ElementsAre("notify +-", "destructor ++"));
    (new Witness)->unref();  // one that nobody ever took
    EXPECT_EQ(0, Witness::alive);
}

TEST(ZtHandable, ReferencesAreNotCopied) {
    Witness* const first = new Witness;
    first->ref();
    first->ref();
    Witness* const second = new Witness(*first);
    second->ref();
    *first = *second;
    *second = *first;
    second->unref();
    EXPECT_EQ(1, Witness::alive);
    first->unref();
    EXPECT_EQ(1, Witness::alive);
    first->unref();
    EXPECT_EQ(0, Witness::alive);
}

// Handles in an array, assigned, copied, moved and dropped at random: an object lives exactly as
// long as a handle points to it.
TEST(ZtHandle, KeepsItsObjectAlive) {
    typedef ZtHandle<Witness> Handle;
    std::mt19937 random(3);
    ZtDArray<Handle> handles;
    for (int i = 0; i < 8; ++i)
        handles.push(Handle());
    for (int step = 0; step < 5000; ++step) {
        Handle& a = handles[random() % 8];
        Handle& b = handles[random() % 8];
        switch (random() % 7) {
            case 0:
                a = new Witness;
                break;
            case 1:
                a = b;
                break;
            case 2:
                a = b.getPtr();
                break;
            case 3:
                a = std::move(b);
                break;
            case 4:
                a = nullptr;
                break;
            case 5:
                handles.push(Handle(b));
                handles.insert(2, handles.last());
                handles.removeLast(2);
                break;
            default: {
                Handle moved(std::move(a));
                a = moved;
            }
        }
        std::vector<Witness*> objects;
        for (const Handle& handle : handles)
            if (handle && std::find(objects.begin(), objects.end(), handle) == objects.end())
                objects.push_back(handle);
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
