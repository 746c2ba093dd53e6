// What the families above the texts do when memory is exhausted: typed data, objects, files,
// images, matrices, parameters, identifiers, sockets.
#include <ztlib/ZtAlignPointSets.h>
#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtCreateUIDs.h>
#include <ztlib/ZtDSO.h>
#include <ztlib/ZtDataPointer.h>
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtEditable.h>
#include <ztlib/ZtFilename.h>
#include <ztlib/ZtHttpd.h>
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtInterfaceOwnerDefaultImpl.h>
#include <ztlib/ZtMorphology.h>
#include <ztlib/ZtRawData.h>
#include <ztlib/ZtScanConvert.h>
#include <ztlib/ZtSocket.h>
#include <ztlib/ZtSocketTools.h>
#include <ztlib/ZtTmpDir.h>

#include <array>
#include <ostream>
#include <streambuf>

#include "ScratchFolder.h"
#include "failure/FailureTable.h"
#include "imageproc/Components.h"

namespace ZtConnectedComponents {

static std::string stateOf(const Component& component) {
    return std::to_string(component.numVoxels);
}

}  // namespace ZtConnectedComponents

static std::string stateOf(const ZtDSO& library) {
    return std::to_string(library.isOpen());
}

namespace {

using enum Promise;

const int kTwo[] = {2, 2, 2}, kRow[] = {600, 1, 1};

/// For operations whose object is of no interest.
int nothing() {
    return 0;
}

struct Freed {
    void*& block;
    ~Freed() { ztfree(block); }
};

std::vector<float> cube() {
    return {1, 2, 3, 4, 5, 6, 7, 8};
}

void swapDims(std::vector<float>& values, const std::array<int, 3>& sizes,
              const std::array<int, 3>& permutation) {
    std::array<int, 3> dims = sizes;
    ZtRawData::swapDims(values.data(), dims.data(), permutation.data(), sizes[2] > 0 ? 3 : 2);
}

TEST(Failure, TypedData) {
    expectSurvival(
        cube, {{"swapDims of a square",
                [](auto& values) {
                    swapDims(values, {2, 2}, {1, 0});
                }},
               {"swapDims",
                [](auto& values) {
                    swapDims(values, {1, 2, 4}, {2, 0, 1});
                }},
               {"swapDims from both ends",
                [](auto& values) {
                    swapDims(values, {2, 1, 4}, {2, 1, 0});
                }},
               {"downSample3D",
                [](auto& values) {
                    ZtRawData::downSample3D(values.data(), values.data(), kTwo, kTwo, nullptr);
                }},
               {"downSample3DN",
                [](auto& values) {
                    ZtRawData::downSample3DN(values.data(), values.data(), kTwo, kTwo, 1, nullptr);
                }},
               {"downSampleMaxFilterComponents3DN",
                [](auto& values) {
                    ZtRawData::downSampleMaxFilterComponents3DN(values.data(), values.data(), kTwo,
                                                                kTwo, 1, nullptr);
                }},
               {"downSampleLabels3D",
                [](auto& values) {
                    auto* const labels = reinterpret_cast<unsigned char*>(values.data());
                    ZtRawData::downSampleLabels3D(labels, labels, kTwo, kTwo, nullptr);
                }},
               {"duplicateData",
                [](auto& values) { ztfree(ZtDataPointer(values.data(), 8).duplicateData()); }},
               {"crop", [](auto& values) {
                    void* data = std::memcpy(ztmalloc(32), values.data(), 32);
                    const Freed freed{data};
                    int dims[] = {2, 2, 2};
                    const int low[] = {0, 0, 0}, high[] = {3, 3, 3};
                    ZtRawData::crop(data, 4, dims, low, high, values.data());
                }}});
}

struct Owner : ZtInterfaceOwner {
    ZtDArray<ZtTypedObject*> found;
    friend std::string stateOf(const std::unique_ptr<Owner>& owner) {
        ZtDArray<ZtTypedObject*> all;
        owner->getAllInterfaces(all);
        return std::to_string(all.size()) + " " + std::to_string(owner->found.size());
    }
};
struct Plain : ZtInterface {
    explicit Plain(ZtInterfaceOwner* owner = nullptr) : ZtInterface(owner) {}
};
struct Object : ZtTypedObject {};
struct Counted : ZtHandable {};
struct Listener : ZtEditingListener {
    void editingStarted(ZtEditable*) override {}
    void editingFinished(ZtEditable*) override {}
};
struct Edited {
    ZtEditable object;
    Listener listener;
    friend std::string stateOf(const Edited& edited) {
        return std::to_string(edited.object.getEditingFlags());
    }
};

TEST(Failure, Objects) {
    static Object object;
    expectSurvival([] { return std::make_unique<Owner>(); },
                   {{"registerInterfaceStaticMemory",
                     [](auto& o) { o->registerInterfaceStaticMemory(&object); }},
                    {"registerInterfaceManageMemory",
                     [](auto& o) { o->registerInterfaceManageMemory(nullptr); }},
                    {"manageMemory", [](auto& o) { o->manageMemory(nullptr); }},
                    {"handleObject", [](auto& o) { o->handleObject(nullptr); }},
                    {"getAllInterfaces",
                     [](auto& o) {
                         Plain carried(o.get());
                         o->getAllInterfaces(o->found);
                     }},
                    {"interface", [](auto& o) { Plain carried(o.get()); }},
                    {"interface alone", [](auto&) { Plain().handleObject(nullptr); }},
                    {"counted", [](auto&) {
                         // As callers hand it over: what is not taken is theirs again.
                         ZtHandle<Counted> counted(new Counted);
                         Plain().handleObject(counted);
                     }}});
    expectSurvival([] { return Edited(); }, {{"addEditingListener", [](auto& e) {
                                                  ZtEditable other;
                                                  other.addEditingListener(&e.listener);
                                                  e.object = other;
                                              }}});
}

TEST(Failure, SharedObjects) {
    testing::internal::CaptureStdout();
    expectSurvival([] { return ZtDSO(); },
                   {{"object", [](auto&) { ZtDSO(); }},
                    {"with name", [](auto&) { ZtDSO("no such package"); }},
                    {"open", [](auto& dso) { return dso.open("no/such"); }}});
    testing::internal::GetCapturedStdout();
}

/// Lists to be filled.
struct Listing {
    ZtDArray<ZtString> names, dirs;
    friend std::string stateOf(const Listing& listing) {
        return stateOf(listing.names) + "and " + stateOf(listing.dirs);
    }
};

/// A directory that goes when it was looked at.
struct Made {
    ZtTmpDir directory;
    friend std::string stateOf(const Made& made) {
        return std::to_string(ZtTmpDir(made.directory).remove());
    }
};

TEST(Failure, Files) {
    const ScratchFolder folder;
    for (int i = 0; i < 5; ++i)
        folder.addFile(std::to_string(i) + std::string(30, 'x'));
    folder.addFolder("below/it");
    folder.addFile("below/it/file");
    testing::internal::CaptureStderr();  // copies tell what is missing
    const std::string path = folder.of(""), below = folder.of("below"), copy = folder.of("copy"),
                      gone = folder.of("gone"), goneToo = gone + "/too";
    expectSurvival(
        [] { return Listing(); },
        {{"isDirectory", [&](auto&) { return ZtDirectory::isDirectory(path.c_str()); }},
         {"freeSpace", [&](auto&) { return ZtDirectory::freeSpace(path.c_str()) > 0; }},
         {"scan", [&](auto& list) { return ZtDirectory::scan(path.c_str(), list.names); }},
         {"scan2",
          [&](auto& list) {
              ZtDArray<unsigned long long> times;
              return ZtDirectory::scan2(path.c_str(), list.names, &times);
          }},
         {"scan2 of other times",
          [&](auto& list) {
              ZtDArray<std::uint64_t> times;
              return ZtDirectory::scan2(path.c_str(), list.names, &times);
          }},
         {"scan3", [&](auto& l) { return ZtDirectory::scan3(path.c_str(), l.names, l.dirs); }},
         {"copy",
          [&](auto&) {
              try {
                  return ZtDirectory::copy(below.c_str(), copy.c_str());
              } catch (const ZtMemoryException&) {
                  return -1;
              }
          },
          kReturns, "-1"},
         {"dirname", [](auto&) { return ZtFilename("a/b").dirname(); }},
         {"basename", [](auto&) { return ZtFilename("a/b").basename(); }},
         {"temporary", [&](auto&) { ZtTmpDir directory(copy.c_str()); }},
         {"createExclusive", [&](auto&) { return Made{ZtTmpDir::createExclusive(copy.c_str())}; }},
         {"remove",
          [&](auto&) {
              try {
                  ZtTmpDir outer, inner;
                  (outer = gone.c_str()).create();
                  (inner = goneToo.c_str()).create();
                  return outer.remove();
              } catch (const ZtMemoryException&) {
                  return -1;
              }
          },
          kReturns, "-1"},
         {"makeUnique", [&](auto&) {
              ZtTmpDir directory;
              directory = copy.c_str();
              directory.makeUnique();
          }}});
    testing::internal::GetCapturedStderr();
}

using namespace ZtConnectedComponents;

struct Labelling {
    unsigned short* labels = nullptr;
    int* manyLabels = nullptr;
    std::vector<unsigned short> given = std::vector<unsigned short>(600, 77);
    std::vector<int> manyGiven = std::vector<int>(600, 77);
    ZtDArray<Component> list = ZtDArray<Component>(2);
    ~Labelling() { ztfree(labels), ztfree(manyLabels); }
    friend std::string stateOf(const std::unique_ptr<Labelling>& call) {
        return (call->labels ? "labelled " : "") + std::string(call->manyLabels ? "many " : "") +
               stateOf(call->given) + stateOf(call->manyGiven) + stateOf(call->list);
    }
};

TEST(Failure, Components) {
    static std::vector<unsigned char> field(600);
    for (std::size_t i = 0; i < field.size(); i += 2)
        field[i] = 1;
    const auto make = [] {
        auto call = std::make_unique<Labelling>();
        call->list[0] = call->list[1] = Component();
        return call;
    };
    for (const auto form : {components::Form::kPlain, components::Form::kAutomatic}) {
        components::useForm(form);
        expectSurvival(make, {{"labelCC",
                               [](auto& c) {
                                   labelCC(field.data(), kRow, 26, c->labels, 0, 1, 2, 0, 0,
                                           &c->list, nullptr);
                               }},
                              {"labelCCHuge",
                               [](auto& c) {
                                   labelCCHuge(field.data(), kRow, 6, c->manyLabels, 0, 1, 2, 0, 0,
                                               &c->list, nullptr);
                               }},
                              {"labelLabels",
                               [](auto& c) {
                                   labelLabels(field.data(), kRow, 6, c->given.data(), 0, 0,
                                               c->list, nullptr);
                               }},
                              {"labelLabelsHuge", [](auto& c) {
                                   labelLabelsHuge(field.data(), kRow, 6, c->manyGiven.data(), 0, 0,
                                                   c->list, nullptr);
                               }}});
    }
    components::useForm(components::Form::kAutomatic);
}

TEST(Failure, Images) {
    using namespace ZtMorphology;
    static const ZtBitfield mask(4000, ZtBitfield::INIT_SET);
    static const ZtVec2i dims(40, 100);
    static const ZtVec3i dims3(40, 10, 10);
    expectSurvival([] { return ZtBitfield(9, ZtBitfield::INIT_SET); },
                   {{"dilation2D_4", [](auto& out) { dilation2D_4(mask, out, dims); }},
                    {"erosion2D_4", [](auto& out) { erosion2D_4(mask, out, dims); }},
                    {"dilation2D_8", [](auto& out) { dilation2D_8(mask, out, dims); }},
                    {"erosion2D_8", [](auto& out) { erosion2D_8(mask, out, dims); }},
                    {"erosion3D", [](auto& out) { erosion3D(mask, out, dims3, 3); }},
                    {"dilation3D", [](auto& out) { dilation3D(mask, out, dims3, 3, false); }},
                    {"floodfill", [](auto& out) {
                         ZtDArray<ZtVec3i> seeds;
                         seeds.push(ZtVec3i(1, 1, 1));
                         return floodfill(mask, out, dims3, seeds);
                     }}});
    expectSurvival(nothing, {{"render", [](int& pixels) {
                                  ZtScanConvert converter(0, 0, 99, 99);
                                  converter.setPixelCB(
                                      [](void* p, int, int) { ++*static_cast<int*>(p); }, &pixels);
                                  std::vector<ZtVec2f> points;
                                  points.reserve(500);
                                  for (int i = 0; i < 500; ++i)
                                      points.push_back(ZtVec2f(float(i % 50), float(i / 5)));
                                  converter.render(500, points.data());
                              }}});
}

struct Aligned {
    ZtMat4f result = ZtMat4f().setTranslate(ZtVec3f(1, 2, 3));
    friend std::string stateOf(const Aligned& aligned) {
        return stateOf(aligned.result[0][0]) + stateOf(aligned.result[2][1]);
    }
};

TEST(Failure, Matrices) {
    using Matrix = ZtDMatrix<float>;
    static std::vector<ZtVec3f> points;
    for (int i = 0; i < 9; ++i)
        points.push_back(ZtVec3f(float(i % 3), float(i / 3), float(i * i)));
    const auto make = [] {
        Matrix m(40, 40);
        for (int i = 0; i < 1600; ++i)
            m.dataPtr()[i] = i % 41 == 0 ? 99.f : float(i % 7);
        return m;
    };
    expectSurvival(make, {{"size", [](Matrix&) { return Matrix(2, 3).nRows(); }},
                          {"copy", [](Matrix& m) { return Matrix(m); }},
                          {"=", [](Matrix& m) { m = Matrix(2, 3), m.resize(0, 0); }, kUsable},
                          {"resize", [](Matrix& m) { m.resize(50, 50), m.resize(0, 0); }, kUsable},
                          {"*=", [](Matrix& m) { m *= m; }},
                          {"transpose", [](Matrix& m) { m.transpose(); }},
                          {"svd",
                           [](Matrix& m) {
                               Matrix u, v;
                               float w[40];
                               return m.svd(u, w, v);
                           }},
                          {"svd into itself",
                           [](Matrix& m) {
                               Matrix u, v(m);
                               v.resize(30, 40);
                               float w[40];
                               return v.svd(u, w, v);
                           }},
                          {"solveLRdecomp",
                           [](Matrix& m) {
                               float x[40] = {1};
                               float* rhs[] = {x};
                               return m.solveLRdecomp(rhs, 1);
                           },
                           kReturns, "1"}});
    expectSurvival([] { return Aligned(); }, {{"ztAlignPointSets", [](Aligned& aligned) {
                                                   ztAlignPointSets(aligned.result, points.data(),
                                                                    points.data(), 9, 2);
                                               }}});
}

using Bundle = std::unique_ptr<NwParamBundle>;

Bundle makeBundle() {
    auto bundle = std::make_unique<NwParamBundle>("bundle");
    bundle->set("a", 1);
    auto* const inner = bundle->bundle("BoundaryIds", 1)->bundle("BoundaryConditions more", 1);
    inner->set("b", "text");
    inner->setName("BoundaryConditions");
    for (int i = 0; i < 11; ++i)  // as many children as there is room for
        bundle->set(std::string(1, static_cast<char>('c' + i)).c_str(), 2);
    bundle->untouchAll();
    return bundle;
}

TEST(Failure, Bundles) {
    static const Bundle other = makeBundle();
    other->set("only here", 1);
    static const int ints[] = {1, 2, 3};
    static const float floats[] = {1, 2, 3};
    static const double doubles[] = {1, 2, 3};
    expectSurvival(makeBundle,
                   {{"create", [](Bundle&) { return Bundle(NwParamBundle::create("b")); }},
                    {"duplicate", [](Bundle& b) { return Bundle(b->duplicate()); }},
                    {"=", [](Bundle& b) { *b = *other; }, kUsable},
                    {"= of a part",
                     [](Bundle& b) {
                         NwParamBundle whole(*b);
                         *whole.bundle(0) = whole;
                     }},
                    {"set", [](Bundle& b) { b->set("1 longer name than fits", 1); }},
                    {"set real", [](Bundle& b) { b->set("a", 1.5); }},
                    {"set integers", [](Bundle& b) { b->set("new", 3, ints); }},
                    {"set floats", [](Bundle& b) { b->set("a", 3, floats); }},
                    {"set reals", [](Bundle& b) { b->set("a", 3, doubles); }},
                    {"set text", [](Bundle& b) { b->set("a", "text", 1); }},
                    {"setAsString", [](Bundle& b) { b->setAsString("a", 3, ints); }},
                    {"setColor", [](Bundle& b) { b->setColor(floats); }},
                    {"bundle", [](Bundle& b) { b->bundle("BoundaryConditions x", 1); }},
                    {"insert", [](Bundle& b) { b->insert(b->bundle(0)->bundle(0)); }},
                    {"move",
                     [](Bundle& b) {
                         NwParamBundle from(*b->bundle(0));
                         from.set("new", 1);
                         b->move(from);
                     }},
                    {"copy", [](Bundle& b) { b->copy(*other); }, kUsable},
                    {"copy of itself", [](Bundle& b) { b->copy(*b); }, kUsable},
                    {"copyAll", [](Bundle& b) { b->copyAll(*other); }, kUsable},
                    {"findColor",
                     [](Bundle& b) {
                         float rgb[3];
                         return b->findColor("c", rgb);
                     }},
                    {"setName", [](Bundle& b) { b->setName("longer"); }},
                    {"materials", [](Bundle& b) { b->materials(1); }},
                    {"dicomAllCreate", [](Bundle& b) { b->dicomAllCreate(); }, kUsable},
                    {"print", [](Bundle& b) { return stateOf(*b); }},
                    {"print to a stream", [](Bundle& b) {
                         struct : std::streambuf {  // an output that takes no memory itself
                             int count = 0;
                             std::streamsize xsputn(const char*, std::streamsize n) override {
                                 return count += int(n), n;
                             }
                         } output;
                         std::ostream stream(&output);
                         b->print(stream);
                         return output.count;
                     }}});
    expectSurvival([] { return std::make_unique<NwParamBundle>("b"); },
                   {{"boundaryIds", [](Bundle& b) { b->boundaryIds(1); }}});
}

using Parameter = std::unique_ptr<NwParameter>;

TEST(Failure, Parameters) {
    static const int ints[] = {1, 2, 3};
    static const float floats[] = {1, 2, 3};
    static const NwParameter other("a longer name", 3, ints);
    static NwParameter numbers("n", 3, floats);
    expectSurvival(
        [] { return std::make_unique<NwParameter>("name", "text of some length"); },
        {{"create", [](auto&) { return Parameter(NwParameter::create("p", "1 2 3", 1)); }},
         {"typed", [](auto&) { return NwParameter("p", 3, ZtPrimType::INT, ints); }},
         {"duplicate", [](auto& p) { return Parameter(p->duplicate()); }},
         {"=", [](auto& p) { *p = other; }},
         {"setName", [](auto& p) { p->setName("other"); }},
         {"set", [](auto& p) { p->set(3, ints); }},
         {"set number", [](auto& p) { p->set(1); }},
         {"set floats", [](auto& p) { p->set(3, floats); }},
         {"set text", [](auto& p) { p->set("other"); }},
         {"parse", [](auto& p) { return p->parse("1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17"); }},
         {"print", [](auto& p) { return stateOf(*p); }},
         {"getString", [](auto&) { return ZtString(numbers.getString()); }}});
}

struct Uids {
    ZtCreateUIDs uids;
    ZtString uid;
    Uids() { uids.setRootUID("1"), uids.setVersion("2"); }
    friend std::string stateOf(const Uids& u) {
        ZtCreateUIDs copy(u.uids);
        ZtString next;
        copy.createUID(ZtCreateUIDs::OTHER_UID, next);
        std::string state = next.getString();
        for (int i = 0; i < 3; ++i)  // what differs each time
            state.erase(state.rfind('.'));
        return state + (u.uid.isEmptyString() ? "" : " made") + u.uids.lastError();
    }
};

TEST(Failure, Identifiers) {
    expectSurvival(
        [] { return Uids(); },
        {{"createUID", [](auto& u) { u.uids.createUID(ZtCreateUIDs::OTHER_UID, u.uid); }},
         {"object", [](auto&) { ZtCreateUIDs(); }},
         {"reset", [](auto& u) { u.uids.reset(); }},
         {"setRootUID", [](auto& u) { u.uids.setRootUID(std::string(99, '1').c_str()); }},
         {"setVersion", [](auto& u) { u.uids.setVersion(std::string(99, '1').c_str()); }}});
    expectSurvival([] { return 1; }, {{"registerType",
                                       [](int& i) {
                                           for (int size = 1; size < 300; ++size)
                                               ZtDataType::registerType(
                                                   ("type " + std::to_string(i++)).c_str(), 1);
                                       },
                                       kUsable}});
}

/// Both ends of a connection, and the file server that has one of them.
struct Connection {
    ZtHttpd server{0, nullptr, ZtHttpd::LOCAL_HOST_ONLY};
    int client = ZtSocket::connect("127.0.0.1", server.port, 0);
    int peer = server.accept();
    ZtString line;
    ~Connection() { ZtSocket::close(client), ZtSocket::close(peer); }
    friend std::string stateOf(const std::unique_ptr<Connection>& c) { return stateOf(c->line); }
};

TEST(Failure, Sockets) {
    static const std::string text(5000, 'z');
    testing::internal::CaptureStdout();
    expectSurvival(
        [] { return ZtString(); },
        {{"GetHostName", [](auto& name) { name = ZtSocketTools::GetHostName(); }},
         {"GetIPAddressString", [](auto& name) { name = ZtSocketTools::GetIPAddressString(); }},
         {"lastError", [](auto& name) { name = ZtSocket::lastError(); }},
         {"strerror", [](auto& name) { name = ZtSocket::strerror(); }}});
    const auto make = [] { return std::make_unique<Connection>(); };
    expectSurvival(
        make, {{"send", [](auto& c) { return ZtSocket::send(c->client, "%s\n", text.c_str()); }},
               {"setDocumentRoot", [](auto& c) { c->server.setDocumentRoot(text.c_str()); }}});
    // What has been read is gone, so these cannot be tried again. The first file is refused.
    const ScratchFolder folder;
    folder.addFile("index.html", text);
    folder.addFile("main.html", "main");
    for (const bool served : {false, true})
        for (int failing = 0, hasThrown = 1; hasThrown; ++failing) {
            const auto c = make();
            ZtSocket::send(c->client, "%s HTTP/1.0\n", served ? "GET /" : text.c_str());
            c->server.setDocumentRoot(folder.of("").c_str());
            c->server.setMaxFileSize(1000);
            AllocationWatch watch;
            watch.failAfter(failing);
            hasThrown = 0;
            try {
                if (served)
                    ZtSocket::close(std::exchange(c->client, -1)),
                        c->server.handleRequest(std::exchange(c->peer, -1));
                else
                    ZtSocket::readLine(c->peer, *std::make_unique<ZtString>());
            } catch (const ZtMemoryException&) {
                hasThrown = 1;
            }
            EXPECT_EQ(0, watch.liveBlocks());
            EXPECT_TRUE(hasThrown || failing > 1);
        }
    testing::internal::GetCapturedStdout();
}

}  // namespace
