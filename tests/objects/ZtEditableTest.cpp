// Edits: the flags, and what listeners hear and may do.
#include <gtest/gtest.h>
#include <ztlib/ZtEditable.h>

#include <functional>
#include <string>

namespace {

std::string heard;  // "a+5 a-5 ": listener a heard of the start and of the end, the flags being 5

struct Listener : ZtEditingListener {
    explicit Listener(const char* itsName) : name(itsName) {}
    void editingStarted(ZtEditable* object) override { hear("+", object); }
    void editingFinished(ZtEditable* object) override { hear("-", object); }

    void hear(const char* event, ZtEditable* object) {
        heard += name + event + std::to_string(object->getEditingFlags()) + " ";
        if (whenTold)
            whenTold(object);
    }

    std::string name;
    std::function<void(ZtEditable*)> whenTold;
};

std::string edit(ZtEditable& object, int flags) {
    heard.clear();
    object.startEditing(flags);
    object.finishEditing();
    EXPECT_EQ(0, object.getEditingFlags());
    return heard;
}

TEST(ZtEditable, TellsItsListenersWithTheFlagsOfTheEdit) {
    ZtEditable object;
    Listener a("a"), b("b");
    for (ZtEditingListener* listener : {&a, &b, &a, static_cast<Listener*>(nullptr)})
        object.addEditingListener(listener);
    EXPECT_EQ("a+5 b+5 a+5 a-5 b-5 a-5 ", edit(object, 5));
    object.removeEditingListener(&a);
    ZtEditable copy(object);
    object.removeEditingListener(&b);
    EXPECT_EQ("a+1 a-1 ", edit(object, 1));
    EXPECT_EQ("b+2 a+2 b-2 a-2 ", edit(copy, 2));

    object.startEditing(1);
    object.startEditing(6);
    EXPECT_TRUE(object.isEdited(3) && object.isAllEdited(6) && object.isAllEdited(0));
    EXPECT_FALSE(object.isEdited(1) || object.isAllEdited(7) || object.isEdited(0));
    copy = object;
    EXPECT_EQ(6, copy.getEditingFlags());
}

TEST(ZtEditable, ListenersMayChangeTheList) {
    ZtEditable object;
    Listener a("a"), b("b"), c("c");
    a.whenTold = [&](ZtEditable* o) { o->removeEditingListener(&a); };
    c.whenTold = [&](ZtEditable* o) { o->addEditingListener(&b); };
    for (ZtEditingListener* listener : {&a, &b, &c})
        object.addEditingListener(listener);
    heard.clear();
    object.startEditing(1);  // a hides b; c adds b, which is told in the same round
    EXPECT_EQ("a+1 c+1 b+1 ", heard);
}

}  // namespace
