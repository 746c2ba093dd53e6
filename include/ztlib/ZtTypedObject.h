// The base of objects that know their type at run time.
#pragma once

#include <ztlib/ZtExport.h>

class ZtTypeInfo;

/// An object with a run-time type. A derived class overrides `getTypeId`, and has static functions
/// of its own: `getClassTypeId`, which makes the class's `ZtTypeInfo` on the first call, with the
/// `getClassTypeId` of its one or two bases as parents, and `initClass`, which calls it and is
/// called when the class's package is loaded, so that the type is found by its name before the
/// first object exists.
class ZTLIB_API ZtTypedObject {
public:
    /// Returns the type of the object's most derived class.
    virtual const ZtTypeInfo* getTypeId() const;

    virtual ~ZtTypedObject();

    /// The class's type, made on the first call; `initClass` makes it, too.
    static ZtTypeInfo* getClassTypeId();
    static void initClass();

    /// Whether the object's type is `type` or derives from it.
    bool isOfType(const ZtTypeInfo* type) const;

protected:
    ZtTypedObject() = default;
    ZtTypedObject(const ZtTypedObject&) = default;
    ZtTypedObject& operator=(const ZtTypedObject&) = default;
};
