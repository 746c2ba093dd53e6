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

namespace {

std::string printed(const NwParamBundle& bundle) {
    ZtString text;
    bundle.print(text);
    return text.getString();
}

std::string streamed(const NwParamBundle& bundle, int level = 0, const char* name = nullptr) {
    std::ostringstream stream;
    bundle.print(stream, level, name);
    return stream.str();
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
    const float single[] = {0.25f, 2};
    const int whole[] = {1, -2, 3};
    for (const char* replaced : {"real", "single", "whole"})
        bundle.set(replaced, "text");
    bundle.set("real", 3, real);
    bundle.set("single", 2, single);
    bundle.set("whole", 3, whole);
    bundle.setAsString("text", 3, whole);
    bundle.set("point", "1.5");
    bundle.set("blank", " 7 8");
    bundle.set("dash", "12-5");
    bundle.set("3d", 4);
    bundle.set("parsed", "5 6", 1);
    const struct {
        const char* name;
        int n;
        std::vector<int> values;  // empty: not found
    } rows[] = {{"real", 3, {2, -2, 3}}, {"real", 2, {}},       {"whole", 3, {1, -2, 3}},
                {"text", 2, {1, -2}},    {"text", 4, {}},       {"single", 2, {0, 2}},
                {"point", 3, {1, 0, 0}}, {"blank", 2, {7, 7}},  {"dash", 2, {}},
                {"_3d", 1, {4}},         {"parsed", 2, {5, 6}}, {"none", 0, {}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name + std::to_string(row.n));
        std::vector<int> values(4);
        EXPECT_EQ(!row.values.empty(), bundle.findNum(row.name, row.n, values.data()) != 0);
        EXPECT_TRUE(std::equal(row.values.begin(), row.values.end(), values.begin()));
    }
    EXPECT_EQ(1, bundle.findNum("text", 0, nullptr));
    EXPECT_EQ(0, bundle.findNum("real", 0, nullptr));
    int one = 0;
    EXPECT_TRUE(bundle.findNum("3d", one) == 1 && one == 4);
    float floats[3], first = 0;
    EXPECT_TRUE(bundle.findReal("real", 3, floats) == 1 && floats[1] == -2.5f);
    EXPECT_TRUE(bundle.findReal("point", first) == 1 && first == 1.5f);
    double number = 0;
    EXPECT_EQ(0, bundle.findReal("real", number));
    EXPECT_EQ(1, bundle.findReal("real", 0, &number));
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
    EXPECT_FALSE(ZtColor().setValue(nullptr));
    NwParamBundle bundle("b");
    const float rgb[3] = {0.1f, 0.2f, 0.3f};
    float found[3];
    EXPECT_EQ(0, bundle.findColor(found));
    bundle.setColor(rgb);
    bundle.set("other", "no colour");
    EXPECT_TRUE(bundle.findColor(found) == 1 && std::equal(rgb, rgb + 3, found));
    EXPECT_EQ(0, bundle.findColor("other", found));
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
    EXPECT_EQ(ids, root.bundle("boundaryconditions"));

    EXPECT_EQ(nullptr, root.dicomAll());
    root.dicomAllCreate().set("G0010-0010", "Doe^Jane");
    EXPECT_EQ(root.dicomAll(), root.bundle("dicom")->bundle("all"));
}

TEST(ParamBundle, PrintsToStreamsWithCommasAndWithoutWhatIsHidden) {
    NwParamBundle bundle("b");
    bundle.set("one", 1);
    bundle.set("hidden", 3);
    bundle.set("two", "a\"b\\");
    bundle.set("last", "\\\"\"");
    for (const char* name : {"hidden", "last"})
        bundle.find(name)->setFlag(NwParamBase::kNotInStreams, 1);
    bundle.bundle("secret", 1)->setFlag(NwParamBase::kNotInStreams, 1);
    EXPECT_EQ("b {\n    one 1,\n    two \"a\\\"b\\ \"\n}\n", streamed(bundle));
    bundle.bundle("sub", 1);
    const std::string expected =
        "    other {\n        sub {\n        }\n        one 1,\n        two \"a\\\"b\\ \",\n    "
        "}\n";
    EXPECT_EQ(expected, streamed(bundle, 1, "other"));
    EXPECT_EQ(
        "b {\n    secret {\n    }\n    sub {\n    }\n    one 1\n    hidden 3\n"
        "    two \"a\\\"b\\ \"\n    last \"\\\"\\\"\"\n}\n",
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
    for (int i = 0; i < 2; ++i)
        NwParamBundle("b").print(text, 0, text.getString());
    EXPECT_STREQ("namename {\n}\nnamename {\n}\n {\n}\n", text.getString());
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
    ZtString text, same;
    all.print(text, -depth);  // without the blanks, which would take most of the memory
    deep->print(same, -depth);
    EXPECT_TRUE(text == same);
    EXPECT_STREQ("n {\nn {\n", text.substr(0, 7).getString());
    NwParamBundle* inner = deep.get();
    while (inner->nBundles() > 0)
        inner = inner->bundle(0);
    inner->move(*deep);
    inner->insert(deep.get());
    *inner = *deep;
    int levels = 0;
    for (const NwParamBundle* at = deep.get(); (at = at->bundle(0)) != nullptr;)
        ++levels;
    EXPECT_EQ(depth + depth - 2, levels);
}

struct OwnClass : NwParameter {
    using NwParameter::NwParameter;
    OwnClass* duplicate() const override { return new OwnClass(*this); }
};

TEST(ParamBundle, OwnsNodesOfEveryClass) {
    NwParamEditCheck check;
    NwParamBundle root("root");
    NwParamBundle& bundle = *root.bundle("bundle", 1);
    auto* const parameter = new OwnClass("p", "x");
    bundle.insert(parameter);
    parameter->setFlag(NwParamBase::kNotCopied, 1);
    parameter->setEditCheck(&check);
    NwParamBundle copy(root);
    EXPECT_EQ(0, copy.bundle(0)->size());
    copy.copy(parameter);
    EXPECT_EQ(1, copy.size());
    copy.copyAll(&root);
    const NwParameter* const copied = copy.bundle(0)->find("p");
    ASSERT_NE(nullptr, dynamic_cast<const OwnClass*>(copied));
    EXPECT_EQ(&check, copied->editCheck());

    delete parameter;  // leaves its bundle
    EXPECT_EQ(0, bundle.size());
    {
        OwnClass onStack("on stack", "x");
        root.insert(&onStack);
    }
    EXPECT_EQ(1, root.size());
    const std::unique_ptr<NwParamBase> kept(&bundle);
    root.remove(&bundle, 1);
    EXPECT_EQ(nullptr, kept->owner());
}

}  // namespace
