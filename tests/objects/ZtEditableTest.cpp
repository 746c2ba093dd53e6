// Edits: the flags, and what listeners hear and may do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtEditable.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

std::vector<std::string> heard;

struct Listener : ZtEditingListener {
    explicit Listener(const char* itsName) : name(itsName) {}
    void editingStarted(ZtEditable* object) override { hear("started", object); }
    void editingFinished(ZtEditable* object) override { hear("finished", object); }

    void hear(const char* event, ZtEditable* object) {
        heard.push_back(name + " " + event + " " + std::to_string(object->getEditingFlags()));
        if (whenTold)
            whenTold(object);
    }

    std::string name;
    std::function<void(ZtEditable*)> whenTold;
};

std::vector<std::string> edit(ZtEditable& object, int flags) {
    heard.clear();
    object.startEditing(flags);
    object.finishEditing();
    EXPECT_EQ(0, object.getEditingFlags());
    return heard;
}

TEST(ZtEditable, TellsItsListenersWithTheFlagsOfTheEdit) {
    ZtEditable object;
    Listener a("a"), b("b");
    for (ZtEditingListener* listener : {&a, &b, &a})
        object.addEditingListener(listener);
    object.addEditingListener(nullptr);
    EXPECT_THAT(edit(object, 5), ElementsAre("a started 5", "b started 5", "a started 5",
                                             "a finished 5", "b finished 5", "a finished 5"));
    object.removeEditingListener(&a);
    ZtEditable copy(object);
    object.removeEditingListener(&b);
    EXPECT_THAT(edit(object, 1), ElementsAre("a started 1", "a finished 1"));
    EXPECT_THAT(edit(copy, 2),
                ElementsAre("b started 2", "a started 2", "b finished 2", "a finished 2"));

    object.startEditing(1);
    object.startEditing(6);
    EXPECT_EQ(6, object.getEditingFlags());
    EXPECT_TRUE(object.isEdited(3) && object.isAllEdited(6) && object.isAllEdited(0));
    EXPECT_FALSE(object.isEdited(1) || object.isAllEdited(7) || object.isEdited(0));
    copy = object;
    EXPECT_EQ(6, copy.getEditingFlags());
}

TEST(ZtEditable, ListenersMayChangeTheList) {
    ZtEditable object;
    Listener a("a"), b("b"), c("c");
    a.whenTold = [&](ZtEditable* o) { o->removeEditingListener(&a); };
    b.whenTold = [&](ZtEditable*) {};
    c.whenTold = [&](ZtEditable* o) {
        if (heard.size() < 4)
            o->addEditingListener(&b);
    };
    for (ZtEditingListener* listener : {&a, &b, &c})
        object.addEditingListener(listener);
    heard.clear();
    object.startEditing(1);  // a hides b; c adds b, which is told in the same round
    EXPECT_THAT(heard, ElementsAre("a started 1", "c started 1", "b started 1"));
}

}  // namespace
