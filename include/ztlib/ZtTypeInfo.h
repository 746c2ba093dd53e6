// The record of a run-time type, and the registry that finds it by name.
#pragma once

#include <ztlib/ZtExport.h>

class ZtTypedObject;

/// A named type with up to two direct base types and, unless it is abstract, a factory. Every one
/// is in a process-wide registry as long as it lives, so that a plug-in's objects can be made from
/// the name of their type. The registry is not locked: register types before threads start.
class ZTLIB_API ZtTypeInfo {
public:
    /// Makes a new object of a type.
    typedef ZtTypedObject* (*Factory)();

    /// Registers the type. `name` is kept as a pointer and must outlive the object; a null one is
    /// taken as empty. A second type of the same name stands beside the first, and which one is
    /// found by the name is open.
    ZtTypeInfo(const char* name, Factory factory = nullptr, const ZtTypeInfo* parent1 = nullptr,
               const ZtTypeInfo* parent2 = nullptr);

    /// Takes the type out of the registry.
    ~ZtTypeInfo();

    ZtTypeInfo(const ZtTypeInfo&) = delete;
    ZtTypeInfo& operator=(const ZtTypeInfo&) = delete;

    /// The type's name, never null.
    const char* getName() const { return name_; }

    /// Whether there is a factory: 1 or 0.
    int canCreateInstance() const { return factory_ ? 1 : 0; }

    /// Returns a new object from the factory, which is the caller's; null without a factory.
    ZtTypedObject* createInstance() const { return factory_ ? factory_() : nullptr; }

    /// Returns the number of direct base types.
    int getNumParents() const { return (parent1_ ? 1 : 0) + (parent2_ ? 1 : 0); }

    /// Returns direct base type 0 or 1; null when there is none, and for any other index. The
    /// second may be there without the first.
    ZtTypeInfo* getParent(int index) const;

    /// Whether this is `other` or derives from it. O(number of base types).
    bool isOfType(const ZtTypeInfo* other) const {
        for (const ZtTypeInfo* type = this; type; type = type->parent1_)
            if (type == other || (type->parent2_ && type->parent2_->isOfType(other)))
                return true;
        return false;
    }

    /// Returns the registered type of that name, case included; null if there is none.
    /// O(log types).
    static ZtTypeInfo* fromName(const char* name);

    /// Takes a type of that name out of the registry, if there is one, and leaves it alive.
    static void removeType(const char* name);

private:
    const char* name_;
    Factory factory_;
    const ZtTypeInfo* parent1_;
    const ZtTypeInfo* parent2_;
};
