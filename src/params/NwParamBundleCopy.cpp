// Copies of whole trees and how they are merged into others.
#include <ztlib/NwParamBase.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParamEditCheck.h>
#include <ztlib/ZtDArray.h>

#include "params/NameIndex.h"
#include "params/ParamTree.h"

#include <memory>
#include <optional>
#include <typeinfo>

namespace {

// A bundle whose children are being merged into another one.
struct Merge {
    const NwParamBundle* source;
    NwParamBundle* target;
    int next;         // index of the source's bundle whose turn it is
    bool wasEmpty;    // the target, before
    bool isDetached;  // the target is to be inserted when it is complete
};

// The merges that are under way, each for a child of the one before.
class Merges {
public:
    Merges() = default;
    ~Merges() {
        for (const Merge& merge : merges_)
            if (merge.isDetached)
                delete merge.target;
    }
    Merges(const Merges&) = delete;
    Merges& operator=(const Merges&) = delete;

    bool isEmpty() const { return merges_.isEmptyArray(); }
    Merge& last() { return merges_.last(); }
    void begin(const NwParamBundle& source, NwParamBundle& target) {
        merges_.push({&source, &target, 0, target.size() == 0, false});
    }
    void beginDetached(const NwParamBundle& source, std::unique_ptr<NwParamBundle> target) {
        merges_.push({&source, target.get(), 0, true, true});
        static_cast<void>(target.release());
    }
    Merge end() {
        const Merge done = merges_.last();
        merges_.pop_back();
        return done;
    }

private:
    ZtDArray<Merge> merges_;
};

}  // namespace

// The delegating constructor makes the destructor run when copying fails.
NwParamBundle::NwParamBundle(const NwParamBundle& other) : NwParamBundle(BaseOnly(), other) {
    copy(other);
}

NwParamBundle& NwParamBundle::operator=(const NwParamBundle& other) {
    if (this == &other)
        return *this;
    const unsigned isSorted = other.isSorted_;
    if (paramtree::areRelated(*this, other)) {
        *this = NwParamBundle(other);
    } else {
        NwParamBase::operator=(other);
        removeAll();
        copy(other);
    }
    isSorted_ = isSorted & 1u;
    return *this;
}

void NwParamBundle::copy(const NwParamBase& source) {
    merge(source, false);
}

void NwParamBundle::copy(const NwParamBase* source) {
    if (source != nullptr)
        merge(*source, false);
}

void NwParamBundle::copyAll(const NwParamBase& source) {
    merge(source, true);
}

void NwParamBundle::copyAll(const NwParamBase* source) {
    if (source != nullptr)
        merge(*source, true);
}

void NwParamBundle::merge(const NwParamBase& source, bool all) {
    if (!all && source.flag(kNotCopied) != 0)
        return;
    if (!source.isBundle())
        return insertCopy(source, all, all || size() > 0, nullptr);
    const auto& bundle = static_cast<const NwParamBundle&>(source);
    if (!paramtree::areRelated(*this, source))
        return mergeBundle(bundle, all);
    // What is inserted here would be met again, or delete what is still to be copied.
    NwParamBundle snapshot(BaseOnly(), bundle);
    snapshot.mergeBundle(bundle, all);
    mergeBundle(snapshot, all);
}

// Inserts a copy of a parameter.
void NwParamBundle::insertCopy(const NwParamBase& source, bool all, bool replace,
                               NameIndex* index) {
    NwParamEditCheck* const check = source.editCheck_;  // the source may be replaced by its copy
    NwParamBase* const copy = source.duplicate();
    adopt(copy, replace, index);
    if (all)
        copy->setEditCheck(check);
}

void NwParamBundle::mergeParameters(const NwParamBundle& source, bool all, bool replace) {
    constexpr int kFew = 8;  // for which searching is as quick
    const int count = source.size() - source.nBundles();
    std::optional<NameIndex> index;
    if (replace && count > kFew)
        index.emplace(*this, count);
    for (int i = source.nBundles(); i < source.size(); ++i)
        if (all || source[i]->flag(kNotCopied) == 0)
            insertCopy(*source[i], all, replace, index ? &*index : nullptr);
}

void NwParamBundle::mergeBundle(const NwParamBundle& source, bool all) {
    Merges merges;
    merges.begin(source, *this);
    while (!merges.isEmpty()) {
        Merge& merge = merges.last();
        NwParamBundle& target = *merge.target;
        const bool replace = all || !merge.wasEmpty;
        if (merge.next >= merge.source->nBundles()) {
            target.mergeParameters(*merge.source, all, replace);
            const Merge done = merges.end();
            if (done.isDetached)
                merges.last().target->adopt(done.target, !merges.last().wasEmpty);
            continue;
        }
        const NwParamBundle& child = *merge.source->bundle(merge.next++);
        if (!all && child.flag(kNotCopied) != 0)
            continue;
        // Classes that derive from the bundle copy themselves.
        const bool isPlain = typeid(child) == typeid(NwParamBundle);
        if (NwParamBundle* const same = replace ? target.bundle(child.name()) : nullptr) {
            merges.begin(child, *same);
        } else if (all) {
            auto* const made = isPlain ? new NwParamBundle(BaseOnly(), child) : child.duplicate();
            target.adopt(made, true);
            made->setEditCheck(child.editCheck_);
            merges.begin(child, *made);
        } else if (isPlain) {
            merges.beginDetached(
                child, std::unique_ptr<NwParamBundle>(new NwParamBundle(BaseOnly(), child)));
        } else {
            target.adopt(child.duplicate(), replace);
        }
    }
}
