// Packages: how they are named and found, what is told when they cannot be loaded, calls into them.
#include <gtest/gtest.h>
#include <ztlib/ZtDSO.h>
#include <ztlib/ZtPackage.h>
#include <ztlib/ZtTypeInfo.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>

#include "ScratchFolder.h"
#include "objects/PackageNames.h"

namespace {

using platform::LibraryNaming;

const std::string kPackages = ZTLIB_TEST_PACKAGES;
constexpr bool kIsUnix = kNamesAreBytes;
const std::string kPrefix = kIsUnix ? "lib" : "";
const std::string kEnding = kIsUnix ? ".so" : ".dll";

std::string missing(const std::string& path) {
    return "Couldn't open " + path + ":\nFile does not exist.\n";
}

std::string broken(const std::string& path) {
    return "Couldn't open " + path +
           ":\nProbably there are undefined symbols or a dependent DLL is missing.";
}

std::string printedBy(const std::function<void()>& work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}

class ZtDSOTest : public testing::Test {
protected:
    ZtDSOTest() { ZtDSO::dsoSearchPath.push(kPackages.c_str()); }
    ~ZtDSOTest() override {
        ZtDSO::dsoSearchPath.clear();
        ZtDSO::verbose = 0;
    }
    static int number(ZtDSO package) { return *static_cast<int*>(package.getSymbol("number")); }
};

TEST(ZtDSO, NamesFilesAsTheSystemDoes) {
    constexpr auto kWindows = LibraryNaming::kWindows;
    constexpr auto kUnix = LibraryNaming::kUnix;
    // The name, the file, its other name, the package, the package if "lib" belongs to it.
    using Row =
        std::tuple<LibraryNaming, const char*, const char*, const char*, const char*, const char*>;
    for (const auto& [naming, name, file, otherFile, package, packageWithLib] :
         {Row{kWindows, "libshapes.so", "shapes.dll", "", "shapes", "shapes"},
          Row{kWindows, "a.b\\libx.so", "a.b/x.dll", "", "x", "x"},
          Row{kWindows, "shapes.so", "shapes.so", "", "shapes", "shapes"},
          Row{kUnix, "a.b\\shapes", "a.b/shapes.so", "a.b/libshapes.so", "shapes", "shapes"},
          Row{kUnix, "d/shapes.dll", "d/shapes.dll", "d/libshapes.so", "shapes", "shapes"},
          Row{kUnix, "library", "library.so", "liblibrary.so", "rary", "library"},
          Row{kUnix, "d/", "d/.so", "", "", ""}}) {
        SCOPED_TRACE(name);
        ZtFilename path(name);
        zt_objects::fixPackagePath(path, naming);
        EXPECT_STREQ(file, path);
        EXPECT_STREQ(otherFile, zt_objects::otherPackagePath(name, path, naming));
        for (const bool keepLib : {false, true})
            EXPECT_EQ(ZtString(0, "ostrelpackage_%s_init", keepLib ? packageWithLib : package),
                      zt_objects::initFunctionName(path, naming, keepLib));
    }
    EXPECT_TRUE(zt_objects::isAbsolute("/x") && zt_objects::isAbsolute("C:/x"));
    for (const char* name : {"", "C:", "./x"})
        EXPECT_FALSE(zt_objects::isAbsolute(name)) << name;
}

TEST_F(ZtDSOTest, SearchesTheLastDirectoryFirstAndThenTheSystem) {
    const std::string later = kPackages + "/later";
    ZtDSO::dsoSearchPath.push(nullptr);
    ZtDSO::dsoSearchPath.push(later.c_str());
    ZtDSO package;
    EXPECT_EQ(missing(later + "/none" + kEnding) + missing(kPackages + "/none" + kEnding) +
                  broken("none" + kEnding) + "\n",
              printedBy([&] { EXPECT_EQ(-1, package.open("none")); }));
    EXPECT_EQ("", printedBy([&] { EXPECT_EQ(-1, package.open("none", true)); }));
    ZtDSO::verbose = 1;
    const std::string call = "ZtDSO::getSymbol(ostrelpackage_twin1_init)\n";
    EXPECT_EQ("Successfully opened " + later + "/" + kPrefix + "twin1" + kEnding + ".\n\n" + call,
              printedBy([&] { EXPECT_EQ(0, package.open("twin1")); }));
    EXPECT_EQ(call + "ZtDSO::getSymbol(none)\nnone\n", printedBy([&] {
                  EXPECT_EQ(0, package.open("twin1", true));
                  EXPECT_EQ(nullptr, package.getSymbol("none"));
              }));
}

TEST_F(ZtDSOTest, TellsWhyAFileIsNotLoadedAndGoesOn) {
    const ScratchFolder folder;
    std::ifstream file(kPackages + "/" + kPrefix + "good" + kEnding, std::ios::binary);
    const std::string good((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    std::string foreign = good;
    // The processor's number; on Windows, in a header to which a number at 0x3c leads.
    foreign.at(kIsUnix ? 18u : static_cast<unsigned char>(good.at(0x3c)) + 4u) ^= '\x55';
    for (const std::string& content : {foreign, std::string(), good.substr(0, good.size() / 2)}) {
        const std::string path = folder.addFile(std::to_string(content.size()) + kEnding, content);
        EXPECT_EQ(broken(path) + "\n", printedBy([&] { ZtDSO(path.c_str()); }));
    }
    const std::string directory = folder.addFolder("folder.x");
    EXPECT_EQ(broken(directory) + "\n", printedBy([&] { ZtDSO(directory.c_str()); }));
    const std::string incomplete = kPackages + "/incomplete";
    EXPECT_EQ(broken(incomplete + kEnding) + "\n", printedBy([&] { ZtDSO(incomplete.c_str()); }));
    ZtDSO package;
    for (const char* name : {static_cast<const char*>(nullptr), "", "\xff\xfe"}) {
        EXPECT_EQ(0, package.open("mit Blank/über/good"));
        EXPECT_EQ(-1, package.open(name, true));
        EXPECT_FALSE(package.isOpen());
    }
    EXPECT_EQ(0, package.executeInt("int0"));
    EXPECT_EQ(nullptr, package.executePtr("pointer0"));
    package.execute("nothing0");
}

TEST_F(ZtDSOTest, InitialisesWhatItOpens) {
    EXPECT_NE(nullptr, ZtTypeInfo::fromName("ZtInterfaceOwner"));  // by the library's own
    ZtDSO good("good");
    const int before = number(good);
    EXPECT_EQ(0, good.open("good"));
    EXPECT_LE(1, number("libnesting"));
    EXPECT_EQ(before + 2, number(good));
    EXPECT_EQ(0, number("nameless"));
    for (const auto& [name, what] :
         {std::pair<std::string, std::string>{"throwing", "not today"}, {"raising", "not now"}}) {
        ZtDSO package;
        testing::internal::CaptureStderr();
        EXPECT_EQ(0, package.open(name.c_str()));
        EXPECT_EQ(0, package.open(name.c_str(), true));
        EXPECT_EQ("ostrelpackage_" + name + "_init: " + what + "\n",
                  testing::internal::GetCapturedStderr());
        EXPECT_TRUE(package.isOpen());
    }
}

TEST_F(ZtDSOTest, CopiesAreOnePackageWhoseTypesStay) {
    ZtDSO package("twin1");
    const void* const first = package.getSymbol("number");
    {
        ZtDSO other("twin2");  // brings a type of the same name
        EXPECT_NE(first, other.getSymbol("number"));
        other = package;
    }
    EXPECT_EQ(first, package.getSymbol("number"));
    ZtDSO(package).close();
    EXPECT_FALSE(package.isOpen());
    const ZtTypeInfo* const type = ZtTypeInfo::fromName("TestTwin");
    ASSERT_NE(nullptr, type);
    EXPECT_EQ(nullptr, type->createInstance());
}

template <std::size_t... kIndices>
void expectCalls(ZtDSO& package, std::index_sequence<kIndices...>) {
    int values[] = {1, 10, 3, 5, 2};
    constexpr int kCount = sizeof...(kIndices);
    const int expected =
        ((100 * kCount) + ... + (static_cast<int>(kIndices + 1) * values[kIndices]));
    auto* const number = static_cast<int*>(package.getSymbol("number"));
    const auto name = [](const char* result) { return ZtString(0, "%s%d", result, kCount); };
    EXPECT_EQ(expected, package.executeInt(name("int"), &values[kIndices]...));
    EXPECT_EQ(number + expected, package.executePtr(name("pointer"), &values[kIndices]...));
    package.execute(name("nothing"), &values[kIndices]...);
    EXPECT_EQ(expected, *number);
}

TEST_F(ZtDSOTest, CallsWithUpToFiveArguments) {
    ZtDSO package("nameless");
    [&]<std::size_t... kCounts>(std::index_sequence<kCounts...>) {
        (expectCalls(package, std::make_index_sequence<kCounts>()), ...);
    }
    (std::make_index_sequence<6>());
}

}  // namespace
