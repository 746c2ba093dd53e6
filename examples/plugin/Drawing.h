// What the host and its packages agree on: drawings, the figures in them, what can be asked of
// both.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtEditable.h>
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtTypeInfo.h>

// The host and each package have their own copy of what is inline here. A type has to be one and
// the same for all of them, so whoever comes first makes it and the others find it by its name.
inline ZtTypeInfo* sharedType(const char* name, const ZtTypeInfo* parent = nullptr) {
    ZtTypeInfo* const type = ZtTypeInfo::fromName(name);
    return type ? type : new ZtTypeInfo(name, nullptr, parent);
}

// What packages make and the host draws.
class Figure : public ZtTypedObject, public ZtEditable {
public:
    enum Aspect { SIZE = 1 };

    virtual double area() const = 0;
    virtual void enlarge(double factor) = 0;

    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type = sharedType("Figure", ZtTypedObject::getClassTypeId());
        return type;
    }
};

// What some figures have.
class Hollow {
public:
    virtual double hole() const = 0;

    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type = sharedType("Hollow");
        return type;
    }

protected:
    ~Hollow() = default;
};

// The host's object, to which packages attach their interfaces.
class Drawing : public ZtInterfaceOwner {
public:
    ~Drawing() override { notifyDelete(); }

    // Takes the figure over.
    void add(Figure* figure) {
        figures.push(figure);
        manageMemory(figure);
    }

    ZtDArray<Figure*> figures;
};

// An interface that tells something about a drawing.
class Summary : public ZtInterface {
public:
    virtual ZtString text() const = 0;

    const ZtTypeInfo* getTypeId() const override { return getClassTypeId(); }
    static ZtTypeInfo* getClassTypeId() {
        static ZtTypeInfo* const type = sharedType("Summary", ZtInterface::getClassTypeId());
        return type;
    }

protected:
    using ZtInterface::ZtInterface;
};
