// NwParamBundle: a bundle of named parameters and further bundles, the metadata of a data object.
#pragma once

#include <ztlib/NwParamBase.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>

#include <cstdio>
#include <iosfwd>

class NameIndex;
class NwParameter;
class TextOut;
class ZtString;

/// A node that owns an ordered list of children: first bundles, then parameters. Together they are
/// a tree of metadata in which values are read, set, merged, copied and printed by name.
///
/// Names. Case does not count. A blank ends the name of a child, so that "Slice Distance" is found
/// as "slice", while a key with a blank in it finds nothing. A key that begins with a digit stands
/// for one with "_" before it. A bundle goes by further names, too: those in its text parameter
/// "Name" (up to 16 words). Where several children bear the name, the first is meant.
///
/// Cost. Looking up takes a linear search, or a binary one while the parameters are sorted, which
/// `findSorted` sees to and each insertion ends. Inserting takes such a search in replace mode;
/// appending does not. What works on whole trees goes without recursion, so depth is no limit.
///
/// Children belong to the bundle from `insert` on and are deleted by it. No operation lets a bundle
/// get into itself; a source may lie anywhere in the same tree. Children may come and go while a
/// caller goes through them by index. Exhausted memory throws `ZtMemoryException`; what takes a
/// whole tree may then have been done in part. One thread at a time: that also holds for all
/// printing to streams in the process.
class ZTLIB_API NwParamBundle : public NwParamBase {
public:
    /// An empty bundle with a copy of the name; `create` makes one on the heap.
    explicit NwParamBundle(const char* name);
    static NwParamBundle* create(const char* name);
    /// Copies what `copy` does: nothing but name, flags and marks of a bundle that has flag 2 set.
    NwParamBundle(const NwParamBundle& other);
    /// Becomes such a copy; owner and edit check stay. Does nothing on itself.
    NwParamBundle& operator=(const NwParamBundle& other);
    ~NwParamBundle() override;
    NwParamBundle* duplicate() const override;

    /// Deletes all children, those of a bundle before the bundle itself; does not touch.
    void removeAll();

    /// The child at an index; expects 0 <= i < size().
    NwParamBase* operator[](int i) const { return children_[i]; }
    int size() const { return children_.size(); }
    /// How many of the children are bundles; they come first.
    int nBundles() const { return static_cast<int>(nBundles_); }

    /// The bundle at an index, or null when it is out of range.
    NwParamBundle* bundle(int index) const;
    // Or bundle(0) might mean a null name.
    NwParamBundle* bundle(int index) {
        return static_cast<const NwParamBundle*>(this)->bundle(index);
    }
    /// The bundle of that name or further name. Else, when `create` is not 0, a new one; else null.
    NwParamBundle* bundle(const char* name, int create = 0);
    const NwParamBundle* bundle(const char* name) const;
    /// The index of a child, -1 for null and what is none. O(size).
    int index(const NwParamBase* node) const;
    /// The first child of that name, bundles before parameters, else the bundle of that further
    /// name, else null.
    NwParamBase* findBase(const char* name) const;

    /// The parameter of that name, or null. It is also null when `dimension` is above 0 and not
    /// that of the parameter, and when no bit of the mask accepts its type: 1 byte; 2 also short
    /// and ushort; 4 also int; 8 also float; 16 also double; 64 also string. Other types are never
    /// found.
    NwParameter* find(const char* name, int dimension = 0, int typeMask = 255) const;
    /// The parameter of that name, or null, by binary search; sorts the parameters first if they
    /// are not sorted.
    NwParameter* findSorted(const char* name);
    /// Sorts the parameters by name; those with equal names keep their order.
    void sortParameters();

    // Reads, of any type that `find` finds. They return 0 when there is no such value.

    /// Reads one integer.
    int findNum(const char* name, int& value) const;
    /// Reads `n` integers, which is the dimension expected. A text holds the integers at its start,
    /// with blanks between them; when it holds fewer, 0 is returned and those are stored.
    int findNum(const char* name, int n, int* values) const;
    int findReal(const char* name, float& value) const;
    int findReal(const char* name, double& value) const;
    /// Read `n` numbers, which is the dimension expected; for `n` < 1 any will do.
    int findReal(const char* name, int n, float* values) const;
    int findReal(const char* name, int n, double* values) const;
    /// The value of dimension 1 as text, which stays valid as that of `NwParameter::getString`.
    int findString(const char* name, const char*& text) const;
    /// The value as `ZtColor` reads it; `rgb` stays as it is when it does not.
    int findColor(const char* name, float rgb[3]) const;
    /// The parameter "Color".
    int findColor(float rgb[3]) const;

    // Writes: set the parameter of that name, or append a new one, without looking at flags.

    /// The value takes the place of the old one, type and dimension included; arrays are copied.
    void set(const char* name, int value);
    void set(const char* name, double value);
    void set(const char* name, int n, const int* values);
    void set(const char* name, int n, const float* values);
    void set(const char* name, int n, const double* values);
    void set(const char* name, const char* text, int parseFlag = 0);
    /// Sets a text of the numbers, with blanks between them.
    void setAsString(const char* name, int n, const int* values);
    /// Sets the parameter "Color".
    void setColor(const float rgb[3]);

    /// Takes a node in, at the end of the bundles or of the parameters. When `replace` is not 0 and
    /// there is one of that name (the node's name is the key), that one is deleted, and the node
    /// takes its place and adds its flags to its own. A node in another bundle is taken out of it.
    /// Null, a child, this bundle and what it lies in are left where they are.
    ///
    /// "BoundaryIds" and "BoundaryConditions" are names for the same: a bundle of the one name gets
    /// the other as its further name.
    void insert(NwParamBase* node, int replace = 1);
    /// Removes a child and deletes it, unless `keep` is not 0: then it is the caller's. Does
    /// nothing when the child has flag 4 set, for null and for what is no child.
    void remove(NwParamBase* node, int keep = 0);
    /// Removes what `findBase` finds.
    void remove(const char* name, int keep = 0);

    /// Takes over all children of another bundle, in replace mode, and leaves it empty; an empty
    /// bundle takes the list as it is and is not touched. Does nothing when `other` is this bundle,
    /// or one that this lies in.
    void move(NwParamBundle& other);
    void move(NwParamBundle* other);
    /// Merges a copy of a node in. A parameter is inserted; of a bundle, the children are: where
    /// there is a bundle of the name of a child, these two are merged, and everything else is
    /// inserted, replacing what bears its name. Nodes with flag 2 set are left out, also as the
    /// source itself.
    void copy(const NwParamBase& source);
    void copy(const NwParamBase* source);
    /// The same without regard to flag 2 and with the edit checks of the nodes that are inserted.
    void copyAll(const NwParamBase& source);
    void copyAll(const NwParamBase* source);
    /// Clears the change marks of the mask on this bundle and all below it.
    void untouchAll(int mask = 255);

    /// Appends the tree as text: a line for each parameter, with texts in double quotes, and braces
    /// around each bundle; `level` indents by four blanks each, `name` stands for the bundle's own.
    void print(ZtString& text, int level = 0, const char* name = nullptr) const;
    /// Write the tree to a stream; expect it to be open. Unlike in the other form, nodes with flag
    /// 1 set are left out, and commas stand after the parameters: after all of them where the
    /// bundle has bundles, else between them.
    void print(std::FILE* stream, int level = 0, const char* name = nullptr) const;
    void print(std::ostream& stream, int level = 0, const char* name = nullptr) const;

    // Bundles that every application knows; null when there is none and `create` is 0.

    /// "Materials", which then has the flags 4, 16 and 32 set, and each of its children flag 4.
    NwParamBundle* materials(int create = 0);
    /// "BoundaryConditions", else "BoundaryIds", which then has the flags 4 and 32 set.
    NwParamBundle* boundaryIds(int create = 0);
    /// The bundle "All" in the bundle "DICOM".
    const NwParamBundle* dicomAll() const;
    NwParamBundle& dicomAllCreate();

private:
    friend class NwParamBase;
    struct BaseOnly {};

    NwParamBundle(BaseOnly, const NwParamBundle& other);
    int indexSorted(const char* name) const;
    void insertBy(NameIndex* index, NwParamBase* node, bool replace);
    void adopt(NwParamBase* node, bool replace, NameIndex* index = nullptr);
    void reserve(int more);
    void link(NwParamBase* node, bool replace, NameIndex* index);
    void countBundles(int more);
    void takeOut(int at);
    void detach(NwParamBase* node);
    void merge(const NwParamBase& source, bool all);
    void mergeBundle(const NwParamBundle& source, bool all);
    void mergeParameters(const NwParamBundle& source, bool all, bool replace);
    void insertCopy(const NwParamBase& source, bool all, bool replace, NameIndex* index);
    void printTo(TextOut& out, int level, const char* name) const;
    ZtString streamText(int level, const char* name) const;
    template <class... Value>
    void setValue(const char* name, const Value&... value);
    template <class T>
    int readReals(const char* name, int n, T* values) const;

    ZtDArray<NwParamBase*> children_;
    unsigned nBundles_ : 31;
    unsigned isSorted_ : 1;
};
