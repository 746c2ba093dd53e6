// A program whose figures come from packages: it knows none of their types when it is compiled.
#include <ztlib/ZtDSO.h>

#include <cstdio>
#include <cstring>

#include "Drawing.h"

namespace {

// Tells of edits, as a view would that draws a figure again when its edit is over.
class View : public ZtEditingListener {
public:
    void editingStarted(ZtEditable*) override { std::printf(" starts to change,"); }
    void editingFinished(ZtEditable* object) override {
        std::printf(" now has an area of %.2f\n", static_cast<Figure*>(object)->area());
    }
};

// Makes a figure of the type that a package brings; null, and a message, when there is none.
Figure* makeFigure(const char* typeName) {
    const ZtTypeInfo* const type = ZtTypeInfo::fromName(typeName);
    if (!type || !type->isOfType(Figure::getClassTypeId()) || !type->canCreateInstance()) {
        std::printf("there is no figure of the type %s\n", typeName);
        return nullptr;
    }
    return static_cast<Figure*>(type->createInstance());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::printf("usage: %s FOLDER PACKAGE/TYPE...\n", argv[0]);
        return 2;
    }
    ZtDSO::dsoSearchPath.push(argv[1]);
    View view;
    Drawing drawing;
    for (int i = 2; i < argc; ++i) {
        const char* const slash = std::strchr(argv[i], '/');
        if (!slash) {
            std::printf("%s names no package\n", argv[i]);
            return 2;
        }
        ZtDSO package;
        if (package.open(ZtString(argv[i], 0, static_cast<int>(slash - argv[i]))) != 0)
            return 1;  // it has been told why
        if (!drawing.getInterface(Summary::getClassTypeId()))
            package.execute("attachTo", &drawing);

        Figure* const figure = makeFigure(slash + 1);
        if (!figure)
            return 1;
        drawing.add(figure);
        std::printf("%s", figure->getTypeId()->getName());
        if (figure->isOfType(Hollow::getClassTypeId()))
            std::printf(", hollow by %.2f,", dynamic_cast<const Hollow*>(figure)->hole());
        figure->addEditingListener(&view);
        figure->startEditing(Figure::SIZE);
        figure->enlarge(2);
        figure->finishEditing();
    }
    if (auto* const summary = drawing.getInterface(Summary::getClassTypeId()))
        std::printf("%s\n", static_cast<Summary*>(summary)->text().getString());
    return 0;
}
