// Bundles: values by name, well-known bundles, deep trees, ownership, exhausted memory.
#include <gtest/gtest.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParamEditCheck.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtColor.h>
#include <ztlib/ZtString.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "FailEveryAllocation.h"

namespace {

std::string printed(const NwParamBundle& bundle) {
    ZtString text;
    bundle.print(text);
    return text.getString();
}

TEST(ParamBundle, FindsByTypeAndDimension) {
    // For each type the bits of the mask that accept it.
    const int accepting[] = {0x5f, 0x5e, 0x5c, 0x58, 0x50, 0, 0x40, 0x5e, 0, 0};
    for (int type = 0; type < ZtPrimType::kCount; ++type) {
        NwParamBundle bundle("b");
        bundle.insert(new NwParameter("p", 1, type, "\0\0\0\0\0\0\0\0"));
        for (int bit = 0; bit < 8; ++bit)
            EXPECT_EQ((accepting[type] >> bit & 1) != 0, bundle.find("P", 0, 1 << bit) != nullptr)
                << type << ", bit " << bit;
        EXPECT_EQ(nullptr, bundle.find("p", 2));
        EXPECT_EQ(nullptr, bundle.find(nullptr));
    }
}

TEST(ParamBundle, ReadsNumbersFromWhatItFinds) {
    NwParamBundle bundle("b");
    const double real[] = {1.5, -2.5, 3};
    bundle.set("real", 3, real);
    const int whole[] = {1, -2, 3};
    bundle.setAsString("text", 3, whole);
    bundle.set("point", "1.5");
    bundle.set("blank", " 7 8");
    bundle.set("dash", "12-5");
    bundle.set("3d", 4);

    struct Row {
        const char* name;
        int n;
        std::vector<int> values;  // empty: not found
    };
    const Row rows[] = {{"real", 3, {2, -2, 3}}, {"real", 2, {}},   {"text", 3, {1, -2, 3}},
                        {"text", 2, {1, -2}},    {"text", 4, {}},   {"point", 3, {1, 0, 0}},
                        {"blank", 2, {7, 7}},    {"dash", 1, {12}}, {"dash", 2, {}},
                        {"3D", 1, {4}},          {"_3d", 1, {4}},   {"none", 0, {}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name + std::to_string(row.n));
        int values[4] = {};
        EXPECT_EQ(!row.values.empty(), bundle.findNum(row.name, row.n, values) != 0);
        for (std::size_t i = 0; i < row.values.size(); ++i)
            EXPECT_EQ(row.values[i], values[i]);
    }
    EXPECT_EQ(1, bundle.findNum("text", 0, nullptr));
    EXPECT_EQ(0, bundle.findNum("real", 0, nullptr));
    EXPECT_EQ(0, bundle.findNum("none", 0, nullptr));
    float floats[3];
    EXPECT_EQ(1, bundle.findReal("real", 3, floats));
    EXPECT_EQ(-2.5f, floats[1]);
    double number = 0;
    EXPECT_EQ(0, bundle.findReal("real", number));
    EXPECT_EQ(1, bundle.findReal("real", 0, &number));
    EXPECT_EQ(1, bundle.findReal("point", number));
    EXPECT_EQ(1.5, number);
    const char* text = nullptr;
    EXPECT_EQ(1, bundle.findString("3d", text));
    EXPECT_STREQ("4", text);
    EXPECT_EQ(0, bundle.findString("real", text));
}

TEST(ParamBundle, ReadsColours) {
    const std::pair<const char*, ZtColor> colors[] = {
        {"0.25 0.5 1", {0.25f, 0.5f, 1}}, {" 1\t1 1 ", {1, 1, 1}},
        {"0 1 255", {0, 1 / 255.f, 1}},   {"#0001fF ", {0, 1 / 255.f, 1}},
        {"#f08", {1, 0, 136 / 255.f}},    {" Orange", {1, 165 / 255.f, 0}}};
    for (const auto& [text, expected] : colors) {
        ZtColor color;
        EXPECT_TRUE(color.setValue(text)) << text;
        EXPECT_EQ(expected, color) << text;
    }
    for (const char* text : {"2 0.5 0", "1 2 256", "1 -1 0", "1.5 0 0", "1 1", "1 1 1 1", "nan 0 0",
                             "#12345", "#gggggg", "#", "re", "reddish", "", "99999999999 0 0"}) {
        ZtColor color(9, 9, 9);
        EXPECT_FALSE(color.setValue(text)) << text;
        EXPECT_EQ(ZtColor(9, 9, 9), color) << text;
    }
    NwParamBundle bundle("b");
    float rgb[3] = {0.1f, 0.2f, 0.3f};
    EXPECT_EQ(0, bundle.findColor(rgb));
    bundle.setColor(rgb);
    float found[3];
    EXPECT_EQ(1, bundle.findColor(found));
    EXPECT_EQ(rgb[2], found[2]);
    bundle.set("other", "no colour");
    EXPECT_EQ(0, bundle.findColor("other", found));
    EXPECT_FALSE(ZtColor().setValue(nullptr));
}

TEST(ParamBundle, KnowsTheBundlesOfEveryApplication) {
    NwParamBundle root("root");
    EXPECT_EQ(nullptr, root.materials());
    NwParamBundle& materials = *root.materials(1);
    NwParamBundle* const bone = materials.bundle("Bone", 1);
    EXPECT_EQ(4 | 16 | 32, materials.flag(255));
    EXPECT_EQ(0, bone->flag(255));
    EXPECT_EQ(&materials, root.materials());
    materials.remove(bone);
    materials.remove(bone, 1);
    root.remove("Materials");
    EXPECT_EQ(&materials, bone->owner());

    EXPECT_EQ(nullptr, root.boundaryIds());
    NwParamBundle* const ids = root.boundaryIds(1);
    EXPECT_STREQ("BoundaryIds", ids->name());
    EXPECT_EQ(4 | 32, ids->flag(255));
    EXPECT_EQ(ids, root.boundaryIds(1));
    EXPECT_EQ(ids, root.bundle("boundaryconditions"));
    const char* other = nullptr;
    EXPECT_EQ(1, ids->findString("name", other));
    EXPECT_STREQ("BoundaryConditions", other);

    EXPECT_EQ(nullptr, root.dicomAll());
    root.dicomAllCreate().set("G0010-0010", "Doe^Jane");
    EXPECT_EQ(root.dicomAll(), root.bundle("dicom")->bundle("all"));
    EXPECT_EQ(root.dicomAll(), &root.dicomAllCreate());
}

TEST(ParamBundle, PrintsToStreamsWithCommasAndWithoutWhatIsHidden) {
    NwParamBundle bundle("b");
    bundle.set("one", 1);
    bundle.set("two", "a\"b\\");
    bundle.set("hidden", 3);
    bundle.find("hidden")->setFlag(NwParamBase::kNotInStreams, 1);
    std::ostringstream plain;
    bundle.print(plain);
    EXPECT_EQ("b {\n    one 1,\n    two \"a\\\"b\\ \"\n}\n", plain.str());
    bundle.bundle("sub", 1);
    std::ostringstream stream;
    bundle.print(stream, 1, "other");
    const std::string expected =
        "    other {\n        sub {\n        }\n        one 1,\n        two \"a\\\"b\\ \",\n    "
        "}\n";
    EXPECT_EQ(expected, stream.str());
    EXPECT_EQ("b {\n    sub {\n    }\n    one 1\n    two \"a\\\"b\\ \"\n    hidden 3\n}\n",
              printed(bundle));

    std::FILE* const file = std::tmpfile();
    ASSERT_NE(nullptr, file);
    bundle.print(file, 1, "other");
    std::rewind(file);
    std::string read(1000, '\0');
    read.resize(std::fread(read.data(), 1, read.size(), file));
    std::fclose(file);
    EXPECT_EQ(expected, read);

    ZtString text("name");
    for (int i = 0; i < 3; ++i)
        NwParamBundle("b").print(text, 0, text.getString());
    EXPECT_STREQ(
        "namename {\n}\nnamename {\n}\n {\n}\nnamename {\n}\nnamename {\n}\n {\n}\n {\n}\n",
        text.getString());
}

TEST(ParamBundle, DepthIsNoLimit) {
    const auto chain = [](int depth) {
        auto top = std::make_unique<NwParamBundle>("n");
        top->set("p", 1);
        while (--depth > 0) {
            auto above = std::make_unique<NwParamBundle>("n");
            above->insert(top.release());
            above->set("p", depth);
            top = std::move(above);
        }
        return top;
    };
    {
        const auto deep = chain(30000);
        NwParamBundle copy(*deep);
        copy = *deep;
        copy.untouchAll();
    }
    const int depth = 10000;
    const auto deep = chain(depth);
    NwParamBundle all("n");
    all.copyAll(*deep);
    ZtString text;
    all.print(text, -depth);  // without the blanks, which would take most of the memory
    ZtString same;
    deep->print(same, -depth);
    EXPECT_TRUE(text == same);
    EXPECT_STREQ("n {\nn {\n", text.substr(0, 7).getString());
    NwParamBundle* inner = deep.get();
    while (inner->nBundles() > 0)
        inner = inner->bundle(0);
    inner->move(*deep);
    inner->insert(deep.get());
    *inner = *deep;
    EXPECT_EQ(depth + depth - 2, [&] {
        int n = 0;
        for (const NwParamBundle* at = deep.get(); (at = at->bundle(0)) != nullptr;)
            ++n;
        return n;
    }());
}

// A node of a class of its own that counts how many live.
template <class Base>
struct Counted : Base {
    explicit Counted(const char* name) : Base(name, "x") { ++alive; }
    Counted(const Counted& other) : Base(other) { ++alive; }
    ~Counted() override { --alive; }
    Counted* duplicate() const override { return new Counted(*this); }
    static inline int alive = 0;
};
struct NamedBundle : NwParamBundle {
    NamedBundle(const char* name, const char*) : NwParamBundle(name) {}
};
using CountedParameter = Counted<NwParameter>;
using CountedBundle = Counted<NamedBundle>;

TEST(ParamBundle, OwnsNodesOfEveryClass) {
    NwParamEditCheck check;
    {
        NwParamBundle root("root");
        auto* const bundle = new CountedBundle("bundle");
        auto* const parameter = new CountedParameter("p");
        root.insert(bundle);
        bundle->insert(parameter);
        parameter->setFlag(NwParamBase::kNotCopied, 1);
        parameter->setEditCheck(&check);
        root.copy(bundle);
        EXPECT_EQ(1, CountedParameter::alive);
        NwParamBundle copy(root);
        EXPECT_EQ(2, CountedBundle::alive);
        EXPECT_EQ(1, CountedParameter::alive);
        copy.copyAll(root);
        EXPECT_EQ(2, CountedBundle::alive);
        EXPECT_EQ(2, CountedParameter::alive);
        EXPECT_EQ(&check, copy.bundle(0)->find("p")->editCheck());
        NwParamBundle third("third");
        third.copyAll(&root);
        EXPECT_EQ(3, CountedBundle::alive);
        EXPECT_EQ(&check, third.bundle(0)->find("p")->editCheck());

        delete parameter;  // leaves its bundle
        EXPECT_EQ(0, bundle->size());
        for (const char* name : {"a", "b", "c", "d", "e"})
            root.insert(new CountedParameter(name));
        for (int i = 0; i < root.size(); ++i)
            root.remove(root[i]);
        EXPECT_EQ("root {\n    a \"x\"\n    c \"x\"\n    e \"x\"\n}\n", printed(root));
        {
            CountedParameter onStack("on stack");
            root.insert(&onStack);
        }
        EXPECT_EQ(3, root.size());
        const std::unique_ptr<NwParamBase> kept(root[1]);
        root.remove(kept.get(), 1);
        EXPECT_EQ(nullptr, kept->owner());
        EXPECT_EQ(5, CountedParameter::alive);
    }
    EXPECT_EQ(0, CountedBundle::alive);
    EXPECT_EQ(0, CountedParameter::alive);
}

TEST(ParamBundle, SurvivesExhaustedMemory) {
    const auto fill = [](NwParamBundle& bundle) {
        bundle.set("a", 1);
        bundle.bundle("BoundaryIds", 1)->bundle("BoundaryConditions more", 1)->set("b", "text");
        bundle.bundle(0)->bundle(0)->setName("BoundaryConditions");
    };
    NwParamBundle other("other");
    fill(other);
    NwParamBundle same("bundle");
    fill(same);
    const std::string before = printed(same);
    const auto make = [&] {
        auto bundle = std::make_unique<NwParamBundle>("bundle");
        fill(*bundle);
        return bundle;
    };
    struct Row {
        const char* what;
        std::function<void(NwParamBundle&)> operate;
        bool isAllOrNothing;
    };
    const Row rows[] = {
        {"set", [](NwParamBundle& b) { b.set("1 longer name than fits", 1); }, true},
        {"bundle", [](NwParamBundle& b) { b.bundle("BoundaryConditions x", 1); }, true},
        {"setAsString",
         [](NwParamBundle& b) {
             int n = 5;
             b.setAsString("a", 1, &n);
         },
         true},
        {"insert", [](NwParamBundle& b) { b.insert(b.bundle(0)->bundle(0)); }, true},
        {"copy", [&](NwParamBundle& b) { b.copy(other); }, false},
        {"copyAll", [&](NwParamBundle& b) { b.copyAll(other); }, false},
        {"copy of itself", [&](NwParamBundle& b) { b.copy(b); }, false},
        {"assignment", [&](NwParamBundle& b) { b = other; }, false},
        {"duplicate", [](NwParamBundle& b) { delete b.duplicate(); }, true},
        {"print", [](NwParamBundle& b) { printed(b); }, true},
        {"stream",
         [](NwParamBundle& b) {
             std::ostringstream stream;
             b.print(stream);
         },
         true},
        {"move",
         [](NwParamBundle& b) {
             NwParamBundle from(*b.bundle(0));
             from.set("c", 1);
             b.move(from);
         },
         true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        failEveryAllocation(
            make, [&](auto& bundle) { row.operate(*bundle); },
            [&](auto& bundle) {
                if (row.isAllOrNothing) {
                    EXPECT_EQ(before, printed(*bundle));
                    EXPECT_EQ(bundle->bundle(0), bundle->bundle(0)->bundle(0)->owner());
                } else {
                    EXPECT_EQ(bundle.get(),
                              bundle->size() > 0 ? (*bundle)[0]->owner() : bundle.get());
                }
            });
    }
}

}  // namespace
