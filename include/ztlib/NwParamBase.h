// NwParamBase: what parameters and bundles have in common.
#pragma once

#include <ztlib/ZtExport.h>

class NwParamBundle;
class NwParamEditCheck;

/// A node of a tree of metadata: a parameter (`NwParameter`) or a bundle of nodes
/// (`NwParamBundle`). It has a name, flags, change marks, and the bundle that owns it.
///
/// A node in a bundle belongs to that bundle, which deletes it; one that is destroyed by other
/// hands leaves its bundle first. Names are never null. A tree is used by one thread at a time.
class ZTLIB_API NwParamBase {
public:
    /// What an element of the tree is.
    enum Type { PARAMETER = 0, BUNDLE = 1 };

    /// The flags that mean something here; all others are the caller's. Those from `kKeep` on are
    /// for editors (`NwParamEditCheck`).
    enum Flag {
        kNotInStreams = 1,  ///< left out when the tree is printed to a stream
        kNotCopied = 2,     ///< left out when its bundle is copied
        kKeep = 4,          ///< not to be deleted; its bundle refuses to remove it
        kNoNewBundles = 8,  ///< no bundles to be inserted
        kNoNewParams = 16,  ///< no parameters to be inserted
        kKeepName = 32,     ///< not to be renamed
        kKeepValue = 64     ///< its value not to be set
    };

    /// The change marks. What changes a node sets `kChanged`; `kChangedOther` is the caller's.
    enum Mark {
        kChangedOther = 1,
        kChanged = 2,
        kChangedOtherBelow = 4,  ///< a node below this one was marked with `kChangedOther`
        kChangedBelow = 8,       ///< a node below this one was marked with `kChanged`
        kTouched = 16            ///< any of these
    };

    /// Returns a copy on the heap, which is the caller's.
    virtual NwParamBase* duplicate() const = 0;
    virtual ~NwParamBase();

    /// 1 for a bundle, 0 for a parameter.
    int isBundle() const { return kind_ == BUNDLE; }

    /// Returns those flags of the mask that are set.
    int flag(int mask) const { return flags_ & mask; }
    void setFlag(int mask, int on);

    /// Returns those change marks of the mask that are set.
    int isNew(int mask = 255) const { return marks_ & mask; }
    /// Adds `bits` and `kTouched` to the marks of this node, and to those of all bundles above it
    /// `kTouched`, `kChangedOtherBelow` for the bit 1 and `kChangedBelow` for the bit 2; the higher
    /// bits go up as they are. Does nothing when `bits` is 0. O(depth).
    void touch(int bits = kChanged);
    /// Clears the marks of the mask, on this node only.
    void untouch(int mask = 255);

    /// The name, never null; it lives as long as the element has it.
    const char* name() const { return name_; }
    /// Sets the name (null is the empty text); does not touch.
    void setName(const char* name);

    /// The bundle that holds this node; null for a root.
    NwParamBundle* owner() const { return owner_; }

    /// Sets who is asked before the node is edited; null inherits. Not owned.
    void setEditCheck(NwParamEditCheck* check) { editCheck_ = check; }
    /// This node's edit check, else the nearest one above, else the default one. O(depth).
    NwParamEditCheck* editCheck() const;

protected:
    /// An element of that kind with a copy of the name.
    NwParamBase(Type kind, const char* name);
    /// Copies kind, marks, flags and name; the copy has no owner and no edit check.
    NwParamBase(const NwParamBase& other);
    /// Copies flags and name and clears the marks; the rest stays.
    NwParamBase& operator=(const NwParamBase& other);

private:
    friend class NwParamBundle;

    NwParamBundle* owner_ = nullptr;
    unsigned char kind_;
    unsigned char marks_ = 0;
    unsigned short flags_ = 0;
    char* name_;
    NwParamEditCheck* editCheck_ = nullptr;
};
