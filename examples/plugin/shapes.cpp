// A package with two types, one of which has two parents, and an interface for drawings of the
// host.
#include <ztlib/ZtPackage.h>

#include "Drawing.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

class Disk : public Figure {
public:
    double area() const override { return kPi * radius_ * radius_; }
    void enlarge(double factor) override { radius_ *= factor; }

    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type = new ZtTypeInfo(
            "Disk", []() -> ZtTypedObject* { return new Disk; }, Figure::getClassTypeId());
        return type;
    }

private:
    double radius_ = 1;
};

// A disk with a hole that takes a quarter of it.
class Ring : public Disk, public Hollow {
public:
    double area() const override { return Disk::area() - hole(); }
    double hole() const override { return Disk::area() / 4; }

    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type = new ZtTypeInfo(
            "Ring", []() -> ZtTypedObject* { return new Ring; }, Disk::getClassTypeId(),
            Hollow::getClassTypeId());
        return type;
    }
};

// Adds up the areas; the drawing deletes it.
class TotalArea : public Summary {
public:
    explicit TotalArea(Drawing* drawing)
        : Summary(drawing, ZtInterfaceOwner::MANAGE_MEMORY), drawing_(drawing) {}

    ZtString text() const override {
        double total = 0;
        for (const Figure* figure : drawing_->figures)
            total += figure->area();
        return ZtString(0, "%d figures cover %.2f", drawing_->figures.size(), total);
    }

private:
    const Drawing* drawing_;
};

}  // namespace

extern "C" ZT_PACKAGE_API int ostrelpackage_shapes_init() {
    Disk::getClassTypeId();
    Ring::getClassTypeId();
    return 0;
}

// The host calls this by its name for each of its drawings.
extern "C" ZT_PACKAGE_API void attachTo(Drawing* drawing) {
    new TotalArea(drawing);
}
