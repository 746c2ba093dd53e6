// Bundles: the list of children, how it is searched, and how nodes come and go.
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtPrimType.h>

#include "params/NameIndex.h"
#include "params/ParamNames.h"
#include "params/ParamTree.h"

#include <algorithm>
#include <cstring>
#include <optional>

using paramnames::Key;

namespace {

constexpr char kBoundaryIds[] = "BoundaryIds";
constexpr char kBoundaryConditions[] = "BoundaryConditions";
constexpr int kString = 64;
constexpr unsigned kMostBundles = 0x7fffffffu;

// The types that a bit of a mask accepts, turned round: for each type the bits that accept it.
constexpr int kAcceptedBy[ZtPrimType::kCount] = {
    1 | 2 | 4 | 8 | 16 | 64,  // byte
    2 | 4 | 8 | 16 | 64,      // short
    4 | 8 | 16 | 64,          // int
    8 | 16 | 64,              // float
    16 | 64,                  // double
    0,                        // complex
    64,                       // string
    2 | 4 | 8 | 16 | 64,      // ushort
    0,                        // uint
    0,                        // sbyte
};

bool isAccepted(const NwParameter& parameter, int dimension, int typeMask) {
    const int type = parameter.primType();
    return (dimension <= 0 || dimension == parameter.dimension()) && type >= 0 &&
           type < ZtPrimType::kCount && (kAcceptedBy[type] & typeMask) != 0;
}

bool isNamed(const NwParamBase& node, const char* name) {
    return std::strcmp(node.name(), name) == 0;
}

// The index in [first, last) of the first child that the key matches, else -1.
int searchIn(const ZtDArray<NwParamBase*>& children, int first, int last, Key key) {
    if (key.text == nullptr)
        return -1;
    const unsigned char initial = paramnames::initialOf(key);
    for (int i = first; i < last; ++i) {
        const char* const name = children[i]->name();
        if (paramnames::storedAt(name) == initial && paramnames::compare(key, name) == 0)
            return i;
    }
    return -1;
}

NwParamBundle* bundleOfFurtherName(const NwParamBundle& in, Key key) {
    for (int i = 0; i < in.nBundles(); ++i) {
        const NwParameter* const names = in.bundle(i)->find("Name", 0, kString);
        if (names != nullptr && names->primType() == ZtPrimType::STRING &&
            paramnames::isOneOfWords(key, names->getString()))
            return in.bundle(i);
    }
    return nullptr;
}

// The two names of boundaries are names of the same.
void nameBoundaries(NwParamBase& node) {
    if (!node.isBundle())
        return;
    auto& bundle = static_cast<NwParamBundle&>(node);
    if (isNamed(bundle, kBoundaryIds))
        bundle.set("name", kBoundaryConditions);
    else if (isNamed(bundle, kBoundaryConditions))
        bundle.set("name", kBoundaryIds);
}

}  // namespace

NwParamBundle::NwParamBundle(const char* name)
    : NwParamBase(BUNDLE, name), nBundles_(0), isSorted_(0) {}

NwParamBundle::NwParamBundle(BaseOnly, const NwParamBundle& other)
    : NwParamBase(other), nBundles_(0), isSorted_(0) {}

NwParamBundle* NwParamBundle::create(const char* name) {
    return new NwParamBundle(name);
}

NwParamBundle* NwParamBundle::duplicate() const {
    return new NwParamBundle(*this);
}

NwParamBundle::~NwParamBundle() {
    removeAll();
}

// From the deepest to this one along the owners, so that neither depth nor memory is a limit.
void NwParamBundle::removeAll() {
    NwParamBundle* bundle = this;
    for (;;) {
        if (bundle->children_.isEmptyArray()) {
            if (bundle == this)
                break;
            bundle = bundle->owner_;
        } else if (NwParamBase* const last = bundle->children_.last();
                   last->isBundle() && static_cast<NwParamBundle*>(last)->size() > 0) {
            bundle = static_cast<NwParamBundle*>(last);
        } else {
            bundle->takeOut(bundle->size() - 1);
            delete last;
        }
    }
    isSorted_ = 0;
}

NwParamBundle* NwParamBundle::bundle(int index) const {
    return index >= 0 && index < nBundles() ? static_cast<NwParamBundle*>(children_[index])
                                            : nullptr;
}

NwParamBundle* NwParamBundle::bundle(const char* name, int create) {
    const NwParamBundle* const found = static_cast<const NwParamBundle*>(this)->bundle(name);
    if (found != nullptr || create == 0)
        return const_cast<NwParamBundle*>(found);
    const paramnames::StoredName stored(Key::of(name));
    auto* const made = new NwParamBundle(stored.text());
    adopt(made, true);
    return made;
}

const NwParamBundle* NwParamBundle::bundle(const char* name) const {
    const Key key = Key::of(name);
    const int at = searchIn(children_, 0, nBundles(), key);
    return at >= 0 ? bundle(at) : bundleOfFurtherName(*this, key);
}

int NwParamBundle::index(const NwParamBase* node) const {
    if (node == nullptr || node->owner_ != this)
        return -1;
    if (node->isBundle()) {
        int i = 0;
        while (children_[i] != node)
            ++i;
        return i;
    }
    int i = size() - 1;
    while (children_[i] != node)
        --i;
    return i;
}

NwParamBase* NwParamBundle::findBase(const char* name) const {
    const Key key = Key::of(name);
    const int at = searchIn(children_, 0, size(), key);
    return at >= 0 ? children_[at] : bundleOfFurtherName(*this, key);
}

int NwParamBundle::indexSorted(const char* name) const {
    const Key key = Key::of(name);
    int low = nBundles();
    int high = size() - 1;
    while (low <= high) {
        const int middle = low + (high - low) / 2;
        const int order = paramnames::compare(key, children_[middle]->name());
        if (order == 0)
            return middle;
        if (order < 0)
            high = middle - 1;
        else
            low = middle + 1;
    }
    return -1;
}

NwParameter* NwParamBundle::find(const char* name, int dimension, int typeMask) const {
    const int at =
        isSorted_ != 0 ? indexSorted(name) : searchIn(children_, nBundles(), size(), Key::of(name));
    if (at < 0)
        return nullptr;
    auto* const found = static_cast<NwParameter*>(children_[at]);
    return isAccepted(*found, dimension, typeMask) ? found : nullptr;
}

NwParameter* NwParamBundle::findSorted(const char* name) {
    if (isSorted_ == 0)
        sortParameters();
    const int at = indexSorted(name);
    return at >= 0 ? static_cast<NwParameter*>(children_[at]) : nullptr;
}

void NwParamBundle::sortParameters() {
    std::stable_sort(children_.begin() + nBundles(), children_.end(),
                     [](const NwParamBase* a, const NwParamBase* b) {
                         return paramnames::compareStored(a->name(), b->name()) < 0;
                     });
    isSorted_ = 1;
}

void NwParamBundle::insert(NwParamBase* node, int replace) {
    insertBy(nullptr, node, replace != 0);
}

// Searches by the index where there is one.
void NwParamBundle::insertBy(NameIndex* index, NwParamBase* node, bool replace) {
    if (node == nullptr || node->owner_ == this || paramtree::contains(*node, *this))
        return;
    NwParamBundle* const from = node->owner_;
    node->owner_ = nullptr;
    try {
        reserve(1);
        nameBoundaries(*node);  // last: it changes the node
    } catch (...) {
        node->owner_ = from;
        throw;
    }
    node->owner_ = from;
    if (from != nullptr)
        from->detach(node);
    link(node, replace, index);
}

// Inserts a node that is nobody's yet.
void NwParamBundle::adopt(NwParamBase* node, bool replace, NameIndex* index) {
    try {
        insertBy(index, node, replace);
    } catch (...) {
        delete node;
        throw;
    }
}

void NwParamBundle::reserve(int more) {
    const int n = size();
    children_.appendSpace(more);
    children_.resize(n);
}

// Expects room for one more and a node without owner that this bundle does not
// lie in.
void NwParamBundle::link(NwParamBase* node, bool replace, NameIndex* index) {
    const bool isBundle = node->isBundle() != 0;
    const int first = isBundle ? 0 : nBundles();
    const int last = isBundle ? nBundles() : size();
    const bool isIndexed = index != nullptr && !isBundle;
    const Key key = Key::exactly(node->name());
    int at = -1;
    if (replace && isIndexed)
        at = index->find(key) < 0 ? -1 : first + index->find(key);
    else if (replace)
        at = searchIn(children_, first, last, key);
    node->owner_ = this;
    isSorted_ = 0;
    if (at >= 0) {
        NwParamBase* const old = children_[at];
        node->flags_ = static_cast<unsigned short>(node->flags_ | old->flags_);
        children_[at] = node;
        old->owner_ = nullptr;
        delete old;
    } else {
        children_.insert(last, node);
        countBundles(isBundle ? 1 : 0);
        if (isIndexed)
            index->add(last - first);
    }
    touch();
}

void NwParamBundle::countBundles(int more) {
    nBundles_ = static_cast<unsigned>(nBundles() + more) & kMostBundles;
}

void NwParamBundle::takeOut(int at) {
    NwParamBase* const child = children_[at];
    child->owner_ = nullptr;
    children_.remove(at);
    countBundles(child->isBundle() ? -1 : 0);
}

// Takes a child out that goes elsewhere or is destroyed.
void NwParamBundle::detach(NwParamBase* node) {
    takeOut(index(node));
    touch();
}

void NwParamBundle::remove(NwParamBase* node, int keep) {
    if (node == nullptr || node->owner_ != this || node->flag(kKeep) != 0)
        return;
    takeOut(index(node));
    if (keep == 0)
        delete node;
    touch();
}

void NwParamBundle::remove(const char* name, int keep) {
    remove(findBase(name), keep);
}

void NwParamBundle::move(NwParamBundle& other) {
    if (paramtree::contains(other, *this))
        return;
    const bool wasEmpty = children_.isEmptyArray();
    std::optional<NameIndex> index;
    if (!wasEmpty) {
        // What may fail comes before anything has changed places.
        for (NwParamBase* child : other.children_)
            nameBoundaries(*child);
        reserve(other.size());
        index.emplace(*this, other.size());
    }
    ZtDArray<NwParamBase*> moved;
    moved.swapWith(other.children_);
    const int movedBundles = other.nBundles();
    const unsigned movedSorted = other.isSorted_;
    other.nBundles_ = 0;
    other.isSorted_ = 0;
    for (NwParamBase* child : moved)
        child->owner_ = wasEmpty ? this : nullptr;
    if (wasEmpty) {
        children_.swapWith(moved);
        countBundles(movedBundles);
        isSorted_ = movedSorted & 1u;
        return;
    }
    // A bundle that is replaced may hold the other one.
    for (NwParamBase* child : moved)
        link(child, true, &*index);
}

void NwParamBundle::move(NwParamBundle* other) {
    if (other != nullptr)
        move(*other);
}

void NwParamBundle::untouchAll(int mask) {
    ZtDArray<NwParamBundle*> open;
    open.push(this);
    for (NwParamBundle* bundle = nullptr; open.pop(bundle) != 0;) {
        bundle->untouch(mask);
        for (int i = 0; i < bundle->size(); ++i)
            if (i < bundle->nBundles())
                open.push(bundle->bundle(i));
            else
                (*bundle)[i]->untouch(mask);
    }
}

NwParamBundle* NwParamBundle::materials(int create) {
    NwParamBundle* const found = bundle("Materials", create);
    if (found == nullptr)
        return nullptr;
    found->setFlag(kKeep | kNoNewParams | kKeepName, 1);
    for (NwParamBase* child : found->children_)
        child->setFlag(kKeep, 1);
    return found;
}

NwParamBundle* NwParamBundle::boundaryIds(int create) {
    NwParamBundle* found = bundle(kBoundaryConditions);
    if (found == nullptr)
        found = bundle(kBoundaryIds, create);
    if (found != nullptr)
        found->setFlag(kKeep | kKeepName, 1);
    return found;
}

const NwParamBundle* NwParamBundle::dicomAll() const {
    const NwParamBundle* const dicom = bundle("DICOM");
    return dicom == nullptr ? nullptr : dicom->bundle("All");
}

NwParamBundle& NwParamBundle::dicomAllCreate() {
    return *bundle("DICOM", 1)->bundle("All", 1);
}
