// The smallest package: one type, which is registered when the package is loaded.
#include <ztlib/ZtPackage.h>

#include "Drawing.h"

namespace {

class Dot : public Figure {
public:
    double area() const override { return width_ * width_; }
    void enlarge(double factor) override { width_ *= factor; }

    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type = new ZtTypeInfo(
            "Dot", []() -> ZtTypedObject* { return new Dot; }, Figure::getClassTypeId());
        return type;
    }

private:
    double width_ = 1;
};

}  // namespace

extern "C" ZT_PACKAGE_API int ostrelpackage_dots_init() {
    Dot::getClassTypeId();
    return 0;
}
