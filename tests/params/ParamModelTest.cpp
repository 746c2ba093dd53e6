// Random operations on trees of parameters against the model, with every node looked at after each.
#include <gtest/gtest.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtString.h>

#include <random>
#include <sstream>

#include "ParamModel.h"
#include "core/AllocationWatch.h"

namespace {

// A node of the tree and of the model.
struct Pair {
    NwParamBase* real;
    Model* model;

    NwParamBundle& bundle() const { return static_cast<NwParamBundle&>(*real); }
    NwParameter& parameter() const { return static_cast<NwParameter&>(*real); }
};

class ModelTest : public testing::Test {
protected:
    static constexpr const char* kNames[] = {
        "a",         "A",     "b",   "a b",         "A c",
        "1",         "_1",    "c_d", "cZ",          "name",
        "Name more", "x\xe4", "",    "BoundaryIds", "BoundaryConditions"};
    static constexpr const char* kTexts[] = {"",
                                             " \t",
                                             "12",
                                             "1 -2 +3",
                                             "1 2.5",
                                             "1 x",
                                             "e5",
                                             "-E3 7",
                                             "+.5e3",
                                             "5.",
                                             ".",
                                             "1e",
                                             "1.5.2",
                                             "0x10",
                                             "nan",
                                             "say \"hi\"",
                                             "\\\"",
                                             "end \\",
                                             "a b\tC\n1 _1 x\xe4",
                                             "99999999 3",
                                             "1e39 -1e-50",
                                             "0.1 1e10 123456789"};

    unsigned pick(unsigned n) { return static_cast<unsigned>(random_() % n); }
    template <std::size_t n>
    const char* pick(const char* const (&all)[n]) {
        return all[pick(n)];
    }
    void collectAll() {
        bundles_.clear();
        parameters_.clear();
        emptyParameters_ = 0;
        collect(&root_, &model_);
    }
    void collect(NwParamBase* real, Model* model) {
        (model->isBundle ? bundles_ : parameters_).push_back({real, model});
        if (!model->isBundle && model->type != ZtPrimType::STRING && model->numbers.empty())
            ++emptyParameters_;
        for (std::size_t i = 0; i < model->children.size(); ++i)
            collect((*static_cast<NwParamBundle*>(real))[static_cast<int>(i)],
                    model->children[i].get());
    }
    Pair anyBundle() { return bundles_[pick(static_cast<unsigned>(bundles_.size()))]; }
    Pair anyNode() {
        if (parameters_.empty() || pick(2) == 0)
            return anyBundle();
        return parameters_[pick(static_cast<unsigned>(parameters_.size()))];
    }

    void step(unsigned operation);
    void setSomething(const Pair& at);
    void expectSame();
    void expectSameFinds();
    /// Every name and every value is a block, as may be the list of every bundle.
    void expectOwnership() {
        const auto most = 2 * (bundles_.size() + parameters_.size());
        const auto least = most - bundles_.size() - emptyParameters_;
        EXPECT_LE(least, static_cast<std::size_t>(watch_.liveBlocks()));
        EXPECT_GE(most - emptyParameters_, static_cast<std::size_t>(watch_.liveBlocks()));
    }
    static std::string details(const NwParamBase& node, const NwParamBundle* owner);

    std::mt19937 random_;
    const AllocationWatch watch_;
    NwParamBundle root_{"root"};
    Model model_{"root"};
    std::vector<Pair> bundles_;
    std::vector<Pair> parameters_;
    std::size_t emptyParameters_ = 0;
};

void ModelTest::setSomething(const Pair& at) {
    const char* const name = pick(kNames);
    const int n = static_cast<int>(pick(4));
    const int integers[] = {static_cast<int>(random_()), -7, 0};
    const float floats[] = {0.1f, static_cast<float>(random_()) * 1e-7f, -3e20f};
    const double doubles[] = {1.0 / 3, static_cast<double>(random_()) * 100, 1e-300};
    const auto values = [n](const auto* from) { return std::vector<double>(from, from + n); };
    const char* const text = pick(kTexts);
    Node value = Model::string("", text);
    switch (pick(6)) {
        case 0:
            at.bundle().set(name, integers[0]);
            value = Model::number("", ZtPrimType::INT, {static_cast<double>(integers[0])});
            break;
        case 1:
            at.bundle().set(name, n, integers);
            value = Model::number("", ZtPrimType::INT, values(integers));
            break;
        case 2:
            at.bundle().set(name, n, floats);
            value = Model::number("", ZtPrimType::FLOAT, values(floats));
            break;
        case 3:
            at.bundle().set(name, n, doubles);
            value = Model::number("", ZtPrimType::DOUBLE, values(doubles));
            break;
        default:
            at.bundle().set(name, text);
    }
    at.model->setByName(name, *value);
}

void ModelTest::step(unsigned operation) {
    collectAll();
    const Pair at = anyBundle();
    const Pair other = anyBundle();
    const Pair node = anyNode();
    const char* const name = pick(kNames);
    const char* const text = pick(kTexts);
    const bool flag = pick(2) == 0;
    switch (operation) {
        case 0:
            at.bundle().insert(new NwParamBundle(name), flag);
            return at.model->insert(std::make_unique<Model>(name), flag);
        case 1:
            at.bundle().insert(NwParameter::create(name, text), flag);
            return at.model->insert(Model::string(name, text), flag);
        case 2:  // a node from elsewhere, or one that cannot be taken in
            at.bundle().insert(node.real, flag);
            if (node.model->owner != nullptr && node.model->owner != at.model &&
                !at.model->liesIn(*node.model)) {
                node.model->owner->touch(2);
                Node taken = node.model->owner->takeOut(node.model);
                at.model->insert(std::move(taken), flag);
            }
            return;
        case 3: {
            NwParamBase* const kept = flag ? at.bundle().findBase(name) : nullptr;
            at.bundle().remove(name, flag);
            if (kept != nullptr && kept->owner() == nullptr)
                delete kept;
            Model* const found = at.model->findBase(name);
            at.model->remove(found);
            return;
        }
        case 4:
            at.bundle().remove(node.real);
            return at.model->remove(at.model->indexOf(node.model) < 0 ? nullptr : node.model);
        case 5:
            if (pick(8) != 0)
                return;
            at.bundle().removeAll();
            return at.model->removeAll();
        case 6:
            at.bundle().move(other.bundle());
            return at.model->move(*other.model);
        case 7:
            if (bundles_.size() + parameters_.size() > 150)  // copies of copies grow fast
                return;
            at.bundle().copy(node.real);
            return at.model->copy(*node.model);
        case 8:
            if (bundles_.size() + parameters_.size() > 150)
                return;
            at.bundle().copyAll(*node.real);
            return at.model->copyAll(*node.model);
        case 9:
            if (bundles_.size() + parameters_.size() > 150)
                return;
            at.bundle() = other.bundle();
            return at.model->assignBundle(*other.model);
        case 10:
            at.bundle().sortParameters();
            return at.model->sortParameters();
        case 11:
            ASSERT_EQ(at.model->bundleOrNew(name)->name,
                      std::string(at.bundle().bundle(name, 1)->name()));
            return;
        case 12:
            node.real->setName(name);
            return node.model->setName(name);
        case 13: {
            const int mask = 1 << pick(7);
            node.real->setFlag(mask, flag);
            node.model->flags = flag ? node.model->flags | mask : node.model->flags & ~mask;
            return;
        }
        case 14: {
            const auto bits = static_cast<int>(pick(32));
            if (flag) {
                node.real->touch(bits);
                if (bits != 0)
                    node.model->touch(bits);
            } else if (pick(2) == 0) {
                node.real->untouch(bits);
                node.model->marks &= ~bits;
            } else {
                at.bundle().untouchAll(bits);
                at.model->untouchAll(bits);
            }
            return;
        }
        case 15: {
            if (parameters_.empty())
                return;
            const Pair a = parameters_[pick(static_cast<unsigned>(parameters_.size()))];
            const Pair b =
                pick(3) == 0 ? a : parameters_[pick(static_cast<unsigned>(parameters_.size()))];
            if (flag) {
                a.parameter() = b.parameter();
                return a.model->assignParameter(*b.model);
            }
            const std::string printed = b.model->printed();
            const std::string& parsed = pick(2) == 0 ? printed : text;
            a.parameter().parse(parsed.c_str());
            return a.model->parse(parsed);
        }
        default:
            return setSomething(at);
    }
}

std::string ModelTest::details(const NwParamBase& node, const NwParamBundle* owner) {
    EXPECT_EQ(owner, node.owner());
    std::string result = "(" + std::string(node.name()) + " " + std::to_string(node.flag(0xffff)) +
                         " " + std::to_string(node.isNew());
    if (node.isBundle()) {
        const auto& bundle = static_cast<const NwParamBundle&>(node);
        for (int i = 0; i < bundle.size(); ++i)
            result += details(*bundle[i], &bundle);
    }
    return result + ")";
}

void ModelTest::expectSame() {
    ASSERT_EQ(model_.details(), details(root_, nullptr));
    ZtString text("before ");
    root_.print(text);
    ASSERT_EQ("before " + model_.print(false), text.getString());
    std::ostringstream stream;
    root_.print(stream);
    ASSERT_EQ(model_.print(true), stream.str());
}

void ModelTest::expectSameFinds() {
    collectAll();
    const Pair at = anyBundle();
    const NwParamBundle& bundle = at.bundle();
    ASSERT_EQ(at.model->nBundles(), bundle.nBundles());
    for (const char* name : kNames) {
        SCOPED_TRACE(name);
        EXPECT_EQ(at.model->indexOf(at.model->find(name)), bundle.index(bundle.find(name)));
        EXPECT_EQ(at.model->indexOf(at.model->bundle(name)), bundle.index(bundle.bundle(name)));
        EXPECT_EQ(at.model->indexOf(at.model->findBase(name)), bundle.index(bundle.findBase(name)));
    }
    for (const char* name : kNames) {
        SCOPED_TRACE(name);
        if (pick(40) != 0)
            continue;
        EXPECT_EQ(at.model->indexOf(at.model->findSorted(name)),
                  bundle.index(at.bundle().findSorted(name)));
    }
}

TEST_F(ModelTest, RandomOperationsAgreeWithTheModel) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        random_.seed(seed);
        for (int i = 0; i < 120; ++i) {
            const unsigned operation = pick(22);
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(i) +
                         ", operation " + std::to_string(operation));
            step(operation);
            expectSame();
            expectSameFinds();
            expectOwnership();
            if (HasFailure())
                return;
        }
        root_ = NwParamBundle("root");
        model_.assignBundle(Model("root"));
    }
}

}  // namespace
