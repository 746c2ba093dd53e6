// What memory, arrays, texts, bit fields and the diagnostics do when memory is exhausted.
//
// The rows of this folder are the public operations that take memory, class by class: those whose
// header or source holds or calls ztmalloc, ztrealloc, allocateOrNull, `new`, a container or a
// text. Not here are the pooled allocator, whose pages the tests in core/ limit, the registry of
// types, which grows too seldom for a row (objects/), and what takes none: geometry, hash
// functions, byte patterns, typed pointers, wild match, fast copy, identifiers, contracts, colours,
// edit checks, handles.
#include <ztlib/ZtAllocator.h>
#include <ztlib/ZtCrashDump.h>
#include <ztlib/ZtException.h>
#include <ztlib/ZtLogFile.h>
#include <ztlib/ZtMessageCollector.h>
#include <ztlib/ZtProgressInterface.h>
#include <ztlib/ZtRemotificationID.h>
#include <ztlib/ZtStdStringTokenizer.h>
#include <ztlib/ZtStringTokenizerGeneral.h>
#include <ztlib/ZtWatch.h>

#include <climits>
#include <cstdlib>

#include "ScratchFolder.h"
#include "failure/FailureTable.h"

#if defined(__unix__)
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    void* const block = NewWatch::isMadeToFail() ? nullptr : std::malloc(size > 0 ? size : 1);
    NewWatch::live += block ? 1 : 0;
    return block;
}
void* operator new(std::size_t size) {
    void* const block = operator new(size, std::nothrow);
    return block ? block : throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    NewWatch::live -= block ? 1 : 0;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    operator delete(block);
}
#endif

namespace {

using enum Promise;

// Longer than any room that a small block may have.
const std::string kLong(300, 'y');

ZtString tight() {
    ZtString text(("a b" + std::string(200, 'x')).c_str());
    text.remax();
    return text;
}

template <class T>
T numbered(int i) {
    if constexpr (std::is_same_v<T, ZtString>)
        return ZtString(0, "%d is too long a text to be short", i);
    else
        return i;
}

template <class T>
ZtDArray<T> numbers(int first, int count) {
    ZtDArray<T> array(0, count);
    for (int i = first; i < first + count; ++i)
        array.push(numbered<T>(i));
    return array;
}

int compareTexts(const ZtString& a, const ZtString& b) {
    return a < b ? -1 : a > b ? 1 : 0;
}
int compareInts(const int& a, const int& b) {
    return a - b;
}

template <class T>
void arraysSurvive(int (*compare)(const T&, const T&)) {
    using Array = ZtDArray<T>;
    constexpr int kCount = 400 / sizeof(T);  // beyond the room of small blocks
    const Array more = numbers<T>(500, 2 * kCount);
    const T value = numbered<T>(7);
    expectSurvival([] { return numbers<T>(100, kCount); },
                   {
                       {"copy", [](Array& a) { return Array(a); }},
                       {"assignment", [&](Array& a) { a = more; }, kUsable},
                       {"insert", [&](Array& a) { a.insert(1, value); }},
                       {"insert of many", [&](Array& a) { a.insert(1, 5, more); }},
                       {"insertArray", [&](Array& a) { a.insertArray(kCount, more); }},
                       {"append", [&](Array& a) { return a.append(5, more); }},
                       {"appendArray of itself", [](Array& a) { return a.appendArray(a); }},
                       {"push", [](Array& a) { return a.push(a[1]); }},
                       {"push_back", [&](Array& a) { a.push_back(value); }},
                       {"insertSorted", [&](Array& a) { return a.insertSorted(value, compare); }},
                       {"join", [&](Array& a) { a.join(more); }},
                       {"rotate", [](Array& a) { a.rotate(3); }},
                   });
}

TEST(Failure, Arrays) {
    arraysSurvive<int>(compareInts);
    arraysSurvive<ZtString>(compareTexts);
    // New elements of plain types have no value to be compared.
    expectSurvival([] { return numbers<ZtString>(1, 12); },
                   {{"size", [](auto&) { return ZtDArray<ZtString>(9, 99); }},
                    {"remax", [](auto& a) { a.remax(300, 20); }},
                    {"resize", [](auto& a) { a.resize(300); }},
                    {"appendSpace", [](auto& a) { return a.appendSpace(7); }},
                    {"insertSpace", [](auto& a) { a.insertSpace(1, 9); }},
                    {"removeValue", [](auto& a) { return a.removeValue(a[0]); }},
                    {"fill", [](auto& a) { a.fill(ZtString(kLong.c_str())); }, kUsable}});
}

TEST(Failure, Texts) {
    static const ZtString longText(kLong.c_str());
    expectSurvival(
        tight,
        {
            {"none", [](ZtString&) { return ZtString(); }},
            {"from text", [](ZtString&) { return ZtString("text"); }},
            {"from a part", [](ZtString& s) { return ZtString(s.getString(), 1, 2); }},
            {"from a format", [](ZtString&) { return ZtString(0, "%s", kLong.c_str()); }},
            {"copy", [](ZtString& s) { return ZtString(s); }},
            {"= text", [](ZtString& s) { s = kLong.c_str(); }},
            {"= string", [](ZtString& s) { s = longText; }},
            {"+= text", [](ZtString& s) { s += kLong.c_str(); }},
            {"+= itself", [](ZtString& s) { s += s; }},
            {"+= character", [](ZtString& s) { s += 'z'; }},
            {"+", [](ZtString& s) { return s + longText; }},
            {"fromInt64", [](ZtString&) { return ZtString::fromInt64(LLONG_MIN); }},
            {"insertStr", [](ZtString& s) { s.insertStr(1, s.getString()); }},
            {"replaceSubStr", [](ZtString& s) { s.replaceSubStr(" ", kLong.c_str()); }},
            {"of itself", [](ZtString& s) { s.replaceSubStr(s.getString(), s.getString() + 1); }},
            {"substr", [](ZtString& s) { return s.substr(1, 9); }},
            {"protect", [](ZtString& s) { return s.protect(); }},
            {"printf", [](ZtString& s) { s.printf("%s%s", s.getString(), kLong.c_str()); }},
            {"toZtString", [](ZtString&) { return ZtRemotificationID(7).toZtString(); }},
        });
    const auto withoutBuffer = [] {
        ZtString text;
        const ZtString taken(std::move(text));
        return text;
    };
    expectSurvival(withoutBuffer, {{"getString", [](ZtString& s) { s.getString(); }},
                                   {"setInt64", [](ZtString& s) { s.setInt64(LLONG_MIN); }}});
    expectSurvival([] { return ZtDArray<ZtString>(); },
                   {{"explode", [](auto& list) { return tight().explode(' ', list); }}});
}

template <class Tokenizer>
struct Reading {
    Tokenizer tokenizer;
    friend std::string stateOf(const Reading& reading) {
        Tokenizer rest(reading.tokenizer);
        return stateOf(rest.nextToken());
    }
};

TEST(Failure, Tokenizers) {
    static const std::string text = std::string(40, 'x') + " 1 " + std::string(90, 'y');
    using Plain = ZtStringTokenizer;
    using General = ZtStringTokenizerGeneral;
    expectSurvival([] { return Reading<Plain>{text.c_str()}; },
                   {{"Plain", [](auto&) { Plain(ZtString(text.c_str())); }},
                    {"copy", [](auto& r) { return Reading<Plain>(r); }},
                    {"=", [](auto& r) { r.tokenizer = Plain(r.tokenizer); }},
                    {"nextToken", [](auto& r) { r.tokenizer.nextToken(); }},
                    {"nextInt", [](auto& r) { return r.tokenizer.nextInt(); }},
                    {"nextFloat", [](auto& r) { return r.tokenizer.nextFloat(); }}});
    expectSurvival([] { return Reading<General>{General(text.c_str(), "1")}; },
                   {{"copy", [](auto& r) { return Reading<General>(r); }},
                    {"=", [](auto& r) { r.tokenizer = General("1", " "); }, kUsable},
                    {"nextToken", [](auto& r) { r.tokenizer.nextToken(); }}});
    expectSurvival(
        [] { return std::string(); },
        {{"standard", [](std::string& token) { ZtStdStringTokenizer(text).nextToken(token); }}});
}

TEST(Failure, BitFields) {
    static const ZtBitfield other(9000);
    static const std::vector<unsigned char> labels(9000);
    const ScratchFolder folder;
    const std::string file = folder.addFile("bits", std::string(4000, 'x'));
    expectSurvival([] { return ZtBitfield(40, ZtBitfield::INIT_SET); },
                   {{"size", [](auto&) { return ZtBitfield(99); }},
                    {"copy", [](auto& bits) { return ZtBitfield(bits); }},
                    {"=", [](auto& bits) { bits = other; }},
                    {"resize", [](auto& bits) { bits.resize(100000); }},
                    {"fromLabels", [](auto& bits) { bits.fromLabels(9000, labels.data(), 1); }},
                    {"load", [&](auto& bits) { return bits.load(file.c_str(), 32000); }},
                    {"print", [](auto& bits) { return stateOf(bits); }},
                    {"md5", [](auto& bits) {
                         ZtString text;
                         bits.md5(text);
                         return text;
                     }}});
}

struct Block {
    char* bytes = std::strcpy(static_cast<char*>(ztmalloc(8)), "content");
    ~Block() { ztfree(bytes); }
    friend std::string stateOf(const Block& block) { return block.bytes; }
};

struct Thrown {
    ZtException exception{"%s", "message"};
    friend std::string stateOf(const Thrown& thrown) { return thrown.exception.what(); }
};

TEST(Failure, MemoryAndExceptions) {
    expectSurvival(
        [] { return std::make_unique<Block>(); },
        {{"ztmalloc", [](auto&) { ztfree(ztmalloc(1)); }},
         {"ztrealloc",
          [](auto& block) { block->bytes = static_cast<char*>(ztrealloc(block->bytes, 1000000)); }},
         {"newBlock",
          [](auto&) {
              const ZtAllocator allocator(ZtAllocator::NEW_DELETE);
              void* const block = allocator.allocate(8);
              allocator.deallocate(block);
              return block != nullptr;
          },
          kReturns, "0"}});
    expectSurvival(
        [] { return Thrown(); },
        {{"format", [](auto&) { return Thrown{ZtException("%s", "x")}; }},
         {"text", [](auto&) { return Thrown{ZtException(ZtString("x"))}; }},
         {"copy", [](auto& t) { return std::string(ZtException(t.exception).what()); }, kReturns},
         {"clone",
          [](auto& t) {
              try {
                  const std::unique_ptr<ZtException> copy(t.exception.clone());
                  return std::string(copy->what());
              } catch (const ZtMemoryException&) {
                  return std::string();
              }
          },
          kReturns}});
}

struct Results {
    ZtResult result{7, "text", "data", false};
    friend std::string stateOf(const Results& r) { return stateOf(r.result); }
};

TEST(Failure, Results) {
    const auto callback = [](const ZtResult&, void*) { return true; };
    expectSurvival([] { return Results(); },
                   {{"code", [](auto&) { return ZtResult(3, "text", "data", false); }},
                    {"line", [](auto&) { return ZtResult(12, "file", "text", "data"); }},
                    {"place", [](auto&) { return ZtResult(3, 12, "file", "text", nullptr); }},
                    {"duplicate", [](auto& r) { r.result = r.result.duplicate("other"); }},
                    {"notificationCallbackAdd", [&](auto&) {
                         ZtDArray<int> many(20);
                         for (int& one : many)
                             ZtResult::notificationCallbackAdd(callback, &one);
                     }}});
}

struct Counted {
    ZtMessageCollector messages;
    ZtString report;
    Counted() {
        for (const char* message : {"none", "once", "twice"})
            messages.addMessageSlot(message);
        for (const int slot : {1, 2, 2})
            messages.countMessage(slot);
    }
    friend std::string stateOf(const Counted& counted) {
        ZtMessageCollector messages(counted.messages);
        ZtString report;
        messages.generateReport(report, false);
        return stateOf(counted.report) + stateOf(report) +
               std::to_string(messages.addMessageSlot("next"));
    }
};

TEST(Failure, Messages) {
    Counted longer;
    longer.messages.addMessageSlot("one more");
    expectSurvival(
        [] { return Counted(); },
        {{"copy", [](auto& c) { return Counted(c); }},
         {"=", [&](auto& c) { c.messages = longer.messages; }},
         {"addMessageSlot", [](auto& c) { c.messages.addMessageSlot(kLong.c_str()); }},
         {"generateReport", [](auto& c) { c.messages.generateReport(c.report, true); }}});
}

class Display : public ZtProgressInterface {
public:
    Display() { subdivide(2), subdivide(2); }
    using ZtProgressInterface::nextRange;
    friend std::string stateOf(const std::unique_ptr<Display>& d) {
        Display copy(*d);
        copy.setProgressValue(1);
        return std::to_string(copy.value_) + copy.text_;
    }

private:
    void setProgressValueGlobal(float value) override { value_ = value; }
    void setProgressText(const char* text) override { text_ = text; }

    float value_ = 0;
    std::string text_;
};

TEST(Failure, Progress) {
    expectSurvival([] { return std::make_unique<Display>(); },
                   {{"object", [](auto&) { return std::make_unique<Display>(); }},
                    {"stages", [](auto& d) { d->subdivide(50); }},
                    {"weights",
                     [](auto& d) {
                         ZtDArray<float> weights;
                         d->subdivide(weights);
                     }},
                    {"text", [](auto& d) { d->setProgressTextEx("%1 of %2", 1, 2); }},
                    {"format", [](auto& d) { d->setProgressInfo("%s", kLong.c_str()); }}});
}

/// A log in a folder of its own that goes with it.
struct Log {
    std::unique_ptr<ScratchFolder> folder = std::make_unique<ScratchFolder>();
    ZtLogFile log;
    bool open(bool dated = false) { return log.open(folder->of("").c_str(), dated); }
    friend std::string stateOf(const std::unique_ptr<Log>& log) {
        log->log.flush();
        const std::string file = log->log.logFile().getString();
        return stateOf(log->log.defaultModule()) +
               (file.empty() ? "" : " open: " + log->folder->read(file));
    }
};

std::unique_ptr<Log> closedLog() {
    auto log = std::make_unique<Log>();
    log->folder->addFile("old.log");
    log->log.setMaxNumLogFiles(1);
    log->log.setDateTimeFormat(ZtLogFile::NO_TIME_STAMP);
    return log;
}

std::unique_ptr<Log> openLog() {
    auto log = closedLog();
    log->open();
    return log;
}

TEST(Failure, Logs) {
    testing::internal::CaptureStdout();
    expectSurvival([] { return 0; }, {{"object", [](int&) { ZtLogFile log; }}});
    expectSurvival(closedLog, {{"open", [](auto& log) { return log->open(); }},
                               {"open below", [](auto& log) { return log->open(true); }},
                               {"setDefautModule",
                                [](auto& log) { log->log.setDefautModule(kLong.c_str()); }}});
    expectSurvival(openLog,
                   {{"printf", [](auto& log) { log->log.printf("%s", kLong.c_str()); }},
                    {"tracef", [](auto& log) { log->log.tracef(1, "", "%s", kLong.c_str()); }}});
    testing::internal::GetCapturedStdout();
    // A rotation without memory loses no line.
    for (int failing = 0; failing < 20; ++failing) {
        const auto log = openLog();
        log->log.setMaxLogFileSizeMB(0);
        log->log.printf("first");
        testing::internal::CaptureStdout();
        {
            AllocationWatch watch;
            watch.failAfter(failing, AllocationWatch::kFromThenOn);
            log->log.trace(1, nullptr, "second");
        }
        log->log.flush();
        const std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_NE(std::string::npos, (printed + stateOf(log)).find("second\n")) << failing;
    }
}

TEST(Failure, WatchesAndDumps) {
    testing::internal::CaptureStdout();
    const ScratchFolder folder;
    const std::string path = folder.of("dump");
    expectSurvival([] { return 0; }, {{"watch", [](int&) { ZtWatch watch("watch"); }}});
    for (int failing = 0, isArmed = 0; !isArmed; ++failing) {
        AllocationWatch watch;
        watch.failAfter(failing);
        try {
            isArmed = ztInitCrashDumpWriter(path.c_str());
            ASSERT_TRUE(isArmed) << "what failed before is taken for done";
        } catch (const ZtMemoryException&) {
        }
    }
    testing::internal::GetCapturedStdout();
}

}  // namespace
