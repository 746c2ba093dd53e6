// Random operations on trees of parameters against a plain model, with every node looked at after
// each.
#include <gtest/gtest.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>

#include <algorithm>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string upper(std::string text) {
    for (char& c : text)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return text;
}

/// A stored name as it is compared: up to a blank, in upper case.
std::string compared(const std::string& name) {
    return upper(name.substr(0, name.find(' ')));
}

std::string mangled(const std::string& key) {
    return !key.empty() && key[0] >= '0' && key[0] <= '9' ? "_" + key : key;
}

struct Model;
using Node = std::unique_ptr<Model>;

/// A parameter or a bundle, by lists that are searched from the front, and recursion. The
/// operations do, word for word, what those of the library are documented to do.
struct Model {
    explicit Model(std::string n, bool b = true) : isBundle(b), name(std::move(n)) {}

    int nBundles() const {
        return static_cast<int>(std::count_if(children.begin(), children.end(),
                                              [](const Node& child) { return child->isBundle; }));
    }

    void touch(int bits) {
        marks |= bits | 16;
        for (Model* above = owner; above != nullptr; above = above->owner)
            above->marks |= (bits & ~3) | (bits & 1 ? 4 : 0) | (bits & 2 ? 8 : 0) | 16;
    }

    void setName(const std::string& newName) {
        name = newName;
        if (owner != nullptr)
            owner->isSorted = false;
    }

    bool liesIn(const Model& top) const {
        return this == &top || (owner != nullptr && owner->liesIn(top));
    }

    void assignParameter(const Model& other) {
        if (this != &other)
            touch(2);
        setName(std::string(other.name));
        flags = other.flags;
        marks = 0;
        value = std::string(other.value);
        isText = other.isText;
    }

    int indexOf(const Model* child) const {
        const auto at = std::find_if(children.begin(), children.end(),
                                     [=](const Node& node) { return node.get() == child; });
        return at == children.end() ? -1 : static_cast<int>(at - children.begin());
    }

    /// The first child of the kind, or of both kinds, with the name.
    Model* first(const std::string& key, bool amongBundles, bool amongParameters) const {
        for (const Node& child : children)
            if ((child->isBundle ? amongBundles : amongParameters) &&
                upper(key) == compared(child->name))
                return child.get();
        return nullptr;
    }

    /// Of equal names in a sorted list any is found: which, the bisection decides.
    Model* find(const std::string& key) const {
        if (!isSorted)
            return first(mangled(key), false, true);
        for (int low = nBundles(), high = static_cast<int>(children.size()) - 1; low <= high;) {
            const int middle = (low + high) / 2;
            Model* const child = children[static_cast<std::size_t>(middle)].get();
            const int order = upper(mangled(key)).compare(compared(child->name));
            if (order == 0)
                return child;
            (order < 0 ? high : low) = order < 0 ? middle - 1 : middle + 1;
        }
        return nullptr;
    }

    Model* bundle(const std::string& key) const {
        if (Model* const found = first(mangled(key), true, false))
            return found;
        for (const Node& child : children) {
            const Model* const names = child->isBundle ? child->find("Name") : nullptr;
            std::istringstream words(names != nullptr && names->isText ? names->value : "");
            std::string word;
            for (int i = 0; i < 16 && words >> word; ++i)
                if (upper(mangled(key)) == compared(word))
                    return child.get();
        }
        return nullptr;
    }

    Model* findBase(const std::string& key) const {
        Model* const found = first(mangled(key), true, true);
        return found != nullptr ? found : bundle(key);
    }

    Model* findSorted(const std::string& key) {
        if (!isSorted)
            sortParameters();
        return find(key);
    }

    void sortParameters() {
        std::stable_sort(
            children.begin() + nBundles(), children.end(),
            [](const Node& a, const Node& b) { return compared(a->name) < compared(b->name); });
        isSorted = true;
    }

    void set(const std::string& key, const std::string& newValue, bool newIsText = true) {
        Model* node = find(key);
        if (node != nullptr) {
            node->touch(2);
        } else {
            node = new Model(mangled(key), false);
            insert(Node(node), false);
        }
        node->value = newValue;
        node->isText = newIsText;
    }

    void insert(Node node, bool replace) {
        if (node->isBundle && node->name == "BoundaryIds")
            node->set("name", "BoundaryConditions");
        else if (node->isBundle && node->name == "BoundaryConditions")
            node->set("name", "BoundaryIds");
        isSorted = false;
        node->owner = this;
        Model* const old = replace ? first(node->name, node->isBundle, !node->isBundle) : nullptr;
        if (old != nullptr) {
            node->flags |= old->flags;
            children[static_cast<std::size_t>(indexOf(old))] = std::move(node);
        } else {
            children.insert(node->isBundle ? children.begin() + nBundles() : children.end(),
                            std::move(node));
        }
        touch(2);
    }

    Node takeOut(const Model* child) {
        const auto at = children.begin() + indexOf(child);
        Node node = std::move(*at);
        children.erase(at);
        node->owner = nullptr;
        touch(2);
        return node;
    }

    void remove(const Model* child) {
        if (child != nullptr && (child->flags & 4) == 0)
            takeOut(child);
    }

    void removeAll() {
        children.clear();
        isSorted = false;
    }

    void move(Model& other) {
        if (liesIn(other))
            return;
        std::vector<Node> moved;
        moved.swap(other.children);
        const bool wasSorted = std::exchange(other.isSorted, false);
        if (children.empty()) {
            children.swap(moved);
            isSorted = wasSorted;
            for (Node& child : children)
                child->owner = this;
        }
        for (Node& child : moved)
            insert(std::move(child), true);
    }

    Node bare() const {
        auto node = std::make_unique<Model>(name, isBundle);
        node->flags = flags;
        node->marks = marks;
        node->value = value;
        node->isText = isText;
        return node;
    }

    Node duplicate() const {
        Node node = bare();
        if (isBundle)
            node->copy(*this);
        return node;
    }

    void copy(const Model& source) {
        if ((source.flags & 2) == 0)
            merge(source, false);
    }

    void merge(const Model& source, bool all) {
        const bool wasEmpty = children.empty();
        if (!source.isBundle)
            return insert(source.duplicate(), all || !wasEmpty);
        if (source.liesIn(*this) || liesIn(source)) {
            const Node snapshot = source.bare();
            snapshot->merge(source, all);
            return merge(*snapshot, all);
        }
        for (const Node& child : source.children) {
            if (!all && (child->flags & 2) != 0)
                continue;
            Model* same = child->isBundle && (all || !wasEmpty) ? bundle(child->name) : nullptr;
            if (same == nullptr) {
                Node made = child->isBundle && all ? child->bare() : child->duplicate();
                same = child->isBundle && all ? made.get() : nullptr;
                insert(std::move(made), all || !wasEmpty);
            }
            if (same != nullptr)
                same->merge(*child, all);
        }
    }

    void assignBundle(const Model& other) {
        if (this == &other)
            return;
        const bool wasSorted = other.isSorted;
        if (liesIn(other) || other.liesIn(*this)) {
            assignBundle(*other.duplicate());
        } else {
            setName(other.name);
            flags = other.flags;
            marks = 0;
            removeAll();
            copy(other);
        }
        isSorted = wasSorted;
    }

    void untouchAll(int mask) {
        marks &= ~mask;
        for (Node& child : children)
            child->untouchAll(mask);
    }

    bool isBundle;
    std::string name;
    int flags = 0;
    int marks = 0;
    Model* owner = nullptr;
    std::string value;
    bool isText = true;
    std::vector<Node> children;
    bool isSorted = false;
};

std::string details(const Model& node) {
    std::string result = "(" + node.name + " " + std::to_string(node.flags) + " " +
                         std::to_string(node.marks) + " " + node.value;
    for (const Node& child : node.children)
        result += details(*child);
    return result + ")";
}

std::string details(const NwParamBase& node, const NwParamBundle* owner) {
    EXPECT_EQ(owner, node.owner());
    std::string result = "(" + std::string(node.name()) + " " + std::to_string(node.flag(0xffff)) +
                         " " + std::to_string(node.isNew()) + " ";
    if (!node.isBundle())
        return result + static_cast<const NwParameter&>(node).getString() + ")";
    const auto& bundle = static_cast<const NwParamBundle&>(node);
    for (int i = 0; i < bundle.size(); ++i)
        result += details(*bundle[i], &bundle);
    return result + ")";
}

class ModelTest : public testing::Test {
protected:
    // A node of the tree and of the model.
    struct Pair {
        NwParamBase* real;
        Model* model;

        NwParamBundle& bundle() const { return static_cast<NwParamBundle&>(*real); }
        NwParameter& parameter() const { return static_cast<NwParameter&>(*real); }
    };

    static constexpr const char* kNames[] = {
        "a",         "A",     "b",   "a b",         "A c",
        "1",         "_1",    "c_d", "cZ",          "name",
        "Name more", "x\xe4", "",    "BoundaryIds", "BoundaryConditions"};
    static constexpr const char* kTexts[] = {"", "say \"hi\"", "a b\tC\n1 _1 x\xe4", "cZ name"};

    int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
    template <class T>
    auto anyOf(const T& all) {
        return all[static_cast<std::size_t>(below(static_cast<int>(std::size(all))))];
    }

    void collect(NwParamBase* real, Model* model) {
        (model->isBundle ? bundles_ : parameters_).push_back({real, model});
        for (std::size_t i = 0; i < model->children.size(); ++i)
            collect((*static_cast<NwParamBundle*>(real))[static_cast<int>(i)],
                    model->children[i].get());
    }
    void collectAll() {
        bundles_.clear();
        parameters_.clear();
        collect(&root_, &model_);
    }

    void step(int operation);
    void expectSameFinds();

    std::mt19937 random_;
    NwParamBundle root_{"root"};
    Model model_{"root"};
    std::vector<Pair> bundles_, parameters_;
};

void ModelTest::step(int operation) {
    collectAll();
    const Pair at = anyOf(bundles_), other = anyOf(bundles_);
    const Pair parameter = parameters_.empty() ? at : anyOf(parameters_);
    const Pair node = below(2) == 0 || parameters_.empty() ? other : anyOf(parameters_);
    const char* const name = anyOf(kNames);
    const char* const text = anyOf(kTexts);
    const bool flag = below(2) == 0;
    const int bits = below(128), number = static_cast<int>(random_());
    if (operation >= 7 && operation <= 9 && bundles_.size() + parameters_.size() > 150)
        return;  // copies of copies grow fast
    switch (operation) {
        case 0:
            at.bundle().insert(new NwParamBundle(name), flag);
            return at.model->insert(std::make_unique<Model>(name), flag);
        case 1:
            at.bundle().insert(NwParameter::create(name, ""), flag);
            return at.model->insert(std::make_unique<Model>(name, false), flag);
        case 2:  // a node from elsewhere, or one that cannot be taken in
            at.bundle().insert(node.real, flag);
            if (node.model->owner != nullptr && node.model->owner != at.model &&
                !at.model->liesIn(*node.model))
                at.model->insert(node.model->owner->takeOut(node.model), flag);
            return;
        case 3: {
            NwParamBase* const kept = flag ? at.bundle().findBase(name) : nullptr;
            at.bundle().remove(name, flag);
            if (kept != nullptr && kept->owner() == nullptr)
                delete kept;
            return at.model->remove(at.model->findBase(name));
        }
        case 4:
            at.bundle().remove(node.real);
            return at.model->remove(at.model->indexOf(node.model) < 0 ? nullptr : node.model);
        case 5:
            if (bits % 8 != 0)
                return;
            at.bundle().removeAll();
            return at.model->removeAll();
        case 6:
            at.bundle().move(other.bundle());
            return at.model->move(*other.model);
        case 7:
            at.bundle().copy(node.real);
            return at.model->copy(*node.model);
        case 8:
            at.bundle().copyAll(*node.real);
            return at.model->merge(*node.model, true);
        case 9:
            at.bundle() = other.bundle();
            return at.model->assignBundle(*other.model);
        case 10:
            at.bundle().sortParameters();
            return at.model->sortParameters();
        case 11: {
            const Model* const found = at.model->bundle(name);
            EXPECT_EQ(found != nullptr ? found->name : mangled(name),
                      at.bundle().bundle(name, 1)->name());
            if (found == nullptr)
                at.model->insert(std::make_unique<Model>(mangled(name)), true);
            return;
        }
        case 12:
            node.real->setName(name);
            return node.model->setName(name);
        case 13:
            node.real->setFlag(bits & -bits, flag);
            node.model->flags = (node.model->flags | (bits & -bits)) & ~(flag ? 0 : bits & -bits);
            return;
        case 14:
            node.real->touch(bits % 32);
            if (bits % 32 != 0)
                node.model->touch(bits % 32);
            return;
        case 15:
            flag ? node.real->untouch(bits % 32) : at.bundle().untouchAll(bits % 32);
            flag ? void(node.model->marks &= ~(bits % 32)) : at.model->untouchAll(bits % 32);
            return;
        case 16:
            if (node.model->isBundle)
                return;
            node.parameter() = parameter.parameter();
            return node.model->assignParameter(*parameter.model);
        case 17:
            at.bundle().set(name, number);
            return at.model->set(name, std::to_string(number), false);
        default:
            at.bundle().set(name, text);
            return at.model->set(name, text);
    }
}

void ModelTest::expectSameFinds() {
    collectAll();
    const Pair at = anyOf(bundles_);
    const NwParamBundle& bundle = at.bundle();
    const Model& model = *at.model;
    ASSERT_EQ(model.nBundles(), bundle.nBundles());
    for (const char* name : kNames) {
        SCOPED_TRACE(name);
        EXPECT_EQ(model.indexOf(model.find(name)), bundle.index(bundle.find(name)));
        EXPECT_EQ(model.indexOf(model.bundle(name)), bundle.index(bundle.bundle(name)));
        EXPECT_EQ(model.indexOf(model.findBase(name)), bundle.index(bundle.findBase(name)));
    }
    if (const char* const name = anyOf(kNames); below(4) == 0) {
        EXPECT_EQ(model.indexOf(at.model->findSorted(name)),
                  bundle.index(at.bundle().findSorted(name)))
            << name;
    }
}

TEST_F(ModelTest, RandomOperationsAgreeWithTheModel) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        random_.seed(seed);
        for (int i = 0; i < 120 && !HasFailure(); ++i) {
            const int operation = below(24);
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(i) +
                         ", operation " + std::to_string(operation));
            step(operation);
            ASSERT_EQ(details(model_), details(root_, nullptr));
            expectSameFinds();
        }
        root_ = NwParamBundle("root");
        model_.assignBundle(Model("root"));
    }
}

}  // namespace
