// Strings and tokenizers against std::string and the C library.
#include <ztlib/ZtStdStringTokenizer.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtStringTokenizer.h>
#include <ztlib/ZtStringTokenizerGeneral.h>
#include <ztlib/ZtWildMatch.h>

#include <fnmatch.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "Compare.h"

namespace {

using bench::add;

constexpr int kAppends = 10000;
constexpr int kPairs = 100;

std::mt19937_64& engine() {
    static std::mt19937_64 numbers(7);
    return numbers;
}

int below(int n) {
    return static_cast<int>(engine()() % static_cast<unsigned>(n));
}

// Words of the lengths that reports, paths and parameter files have.
std::string word() {
    std::string text;
    for (int n = 2 + below(9); n > 0; --n)
        text += static_cast<char>('a' + below(26));
    return text;
}

std::string wordsOf(std::size_t length) {
    std::string text = word();
    while (text.size() < length) {
        text += below(10) == 0 ? '\n' : ' ';
        text += word();
    }
    return text;
}

// Integers of all magnitudes, as sizes, counts and identifiers have them.
std::vector<long long> numbers() {
    std::vector<long long> values;
    for (int i = 0; i < 1000; ++i)
        values.push_back(static_cast<long long>(engine()()) >> below(63));
    return values;
}

bool equal(const ZtString& ours, const std::string& peer) {
    return peer == ours.getString();
}

// Appends `piece(i)` again and again to an empty text.
template <class Piece>
void addAppend(const std::string& work, double bar, Piece piece) {
    static ZtString ours;
    static std::string peer;
    add({work, "std::string +=", bar,
         [piece] {
             ZtString text;
             for (int i = 0; i < kAppends; ++i)
                 text += piece(i);
             ours.swapWith(text);
         },
         [piece] {
             std::string text;
             for (int i = 0; i < kAppends; ++i)
                 text += piece(i);
             peer.swap(text);
         },
         [] { return equal(ours, peer); }});
}

// The same text in a buffer that need not grow: what remains of appending when only the stores of
// the pieces and of the end are left, and those of the length. The text is whole after each piece.
template <class Piece, class Store>
void addBareAppend(const std::string& work, const std::string& bound, bool withLength, Piece piece,
                   Store store) {
    static ZtString ours;
    static char buffer[8 * kAppends + 1];
    static int length = 0;
    add({work + ", against " + bound, bound, 0,
         [piece] {
             ZtString text;
             for (int i = 0; i < kAppends; ++i)
                 text += piece(i);
             ours.swapWith(text);
         },
         [piece, store, withLength] {
             char* end = buffer;
             benchmark::DoNotOptimize(&length);
             for (int i = 0; i < kAppends; ++i) {
                 end = store(end, piece(i));
                 if (withLength)
                     length = static_cast<int>(end - buffer);
                 benchmark::ClobberMemory();
             }
         },
         [] { return equal(ours, buffer); }});
}

void addAppends() {
    addAppend("append/10000 x 1 character", 3,
              [](int i) { return static_cast<char>('a' + i % 26); });
    addAppend("append/10000 x text of 1", 3, [](int) { return ","; });
    addAppend("append/10000 x text of 8", 3, [](int) { return "voxels; "; });
    // Here the length is found at run time, by the same strlen on both sides.
    static const char* const names[] = {"thalamus", "amygdala", "putamen ", "fornices"};
    addAppend("append/10000 x text of 8 from a table", 3, [](int i) { return names[i % 4]; });

    const auto letter = [](int i) { return static_cast<char>('a' + i % 26); };
    const auto storeOne = [](char* end, char c) {
        end[0] = c;
        end[1] = '\0';
        return end + 1;
    };
    const auto nameOf = [](int i) { return names[i % 4]; };
    const auto storeName = [](char* end, const char* text) {
        const std::size_t length = std::strlen(text);
        std::memcpy(end, text, 9);
        return end + length;
    };
    addBareAppend("append/10000 x 1 character", "the stores", false, letter, storeOne);
    addBareAppend("append/10000 x 1 character", "the stores and the length", true, letter,
                  storeOne);
    addBareAppend(
        "append/10000 x text of 1", "the stores and the length", true, [](int) { return ','; },
        storeOne);
    addBareAppend("append/10000 x text of 8 from a table", "strlen and the stores", false, nameOf,
                  storeName);
    addBareAppend("append/10000 x text of 8 from a table", "strlen, the stores and the length",
                  true, nameOf, storeName);
}

void addEquality(const std::string& work, std::size_t length) {
    static std::vector<ZtString> ours;
    static std::vector<std::string> peers;
    static int oursEqual = 0;
    static int peersEqual = 0;
    const std::size_t start = ours.size();
    for (int i = 0; i < kPairs; ++i) {
        const std::string text = wordsOf(length).substr(0, length);
        std::string other = text;
        if (i % 2 == 1)
            other[other.size() * 3 / 4] = '#';
        for (const std::string& each : {text, other}) {
            ours.emplace_back(each.c_str());
            peers.push_back(each);
        }
    }
    const auto count = [start](const auto& texts) {
        int equals = 0;
        for (std::size_t i = start; i < start + 2 * kPairs; i += 2)
            equals += texts[i] == texts[i + 1];
        return equals;
    };
    add({work, "std::string ==", 0.9, [count] { oursEqual = count(ours); },
         [count] { peersEqual = count(peers); }, [] { return oursEqual == peersEqual; }});
}

void addNumbers() {
    static const std::vector<long long> values = numbers();
    static ZtString ours;
    static char peer[1100];
    static const std::string name = "/usr/share/volumes/subject-017/t1-weighted.nii";
    add({"printf/report line into a kept string", "snprintf into a buffer", 0.9,
         [] {
             ours.printf("%4d %10u voxels %12.3f mm3 (%5.2f %%) in %s", 17, 1063172U, 1063172.0,
                         87.31, name.c_str());
         },
         [] {
             std::snprintf(peer, sizeof peer, "%4d %10u voxels %12.3f mm3 (%5.2f %%) in %s", 17,
                           1063172U, 1063172.0, 87.31, name.c_str());
         },
         [] { return equal(ours, peer); }});
    add({"printf/name and number into a kept string", "snprintf into a buffer", 0.9,
         [] { ours.printf("%s-%d", "component", 408); },
         [] { std::snprintf(peer, sizeof peer, "%s-%d", "component", 408); },
         [] { return equal(ours, peer); }});
    add({"setInt64/1000 integers of all magnitudes", "snprintf(\"%lld\")", 4,
         [] {
             for (const long long value : values) {
                 ours.setInt64(value);
                 benchmark::DoNotOptimize(ours.getString());
             }
         },
         [] {
             for (const long long value : values) {
                 std::snprintf(peer, sizeof peer, "%lld", value);
                 benchmark::DoNotOptimize(peer);
             }
         },
         [] { return equal(ours, peer); }});
    static std::vector<ZtString> texts;
    for (const long long value : values)
        texts.push_back(ZtString::fromInt64(value));
    static long long oursSum = 0;
    static long long peerSum = 0;
    add({"toInt64/1000 integers of all magnitudes", "strtoll", 1,
         [] {
             oursSum = 0;
             for (const ZtString& text : texts)
                 oursSum ^= text.toInt64();
         },
         [] {
             peerSum = 0;
             for (const ZtString& text : texts)
                 peerSum ^= std::strtoll(text.getString(), nullptr, 10);
         },
         [] { return oursSum == peerSum; }});
}

void addWildMatch(const std::string& work, const char* pattern) {
    static std::vector<std::string> names;
    static int ours = 0;
    static int peer = 0;
    if (names.empty())
        for (int i = 0; i < 1000; ++i)
            names.push_back(std::string("volume-").append(word()).append("_").append(word()).append(
                i % 3 == 0 ? ".nii" : ".log"));
    add({work, "fnmatch", 1,
         [pattern] {
             ours = 0;
             for (const std::string& name : names)
                 ours += ztWildMatch(name.c_str(), pattern);
         },
         [pattern] {
             peer = 0;
             for (const std::string& name : names)
                 peer += fnmatch(pattern, name.c_str(), 0) == 0;
         },
         [] { return ours == peer; }});
}

// The peer writes into its text, so it works on a copy, as its user would have to make one.
std::size_t tokensOfPeer(const std::string& text, const char* separators) {
    std::vector<char> copy(text.c_str(), text.c_str() + text.size() + 1);
    std::size_t lengths = 0;
    char* rest = nullptr;
    for (char* token = strtok_r(copy.data(), separators, &rest); token != nullptr;
         token = strtok_r(nullptr, separators, &rest))
        lengths += std::strlen(token) + 1;
    return lengths;
}

void addTokenizers() {
    static const std::string text = wordsOf(64 * 1024);
    static const char* const space = " \f\n\r\t\v";
    static std::size_t ours = 0;
    static std::size_t peer = 0;
    add({"ZtStringTokenizer/64 KiB of words", "strtok_r", 1,
         [] {
             ours = 0;
             ZtStringTokenizer tokens(text.c_str());
             while (tokens.hasMoreTokens())
                 ours += static_cast<std::size_t>(tokens.nextToken().length()) + 1;
         },
         [] { peer = tokensOfPeer(text, space); }, [] { return ours == peer; }});
    static const std::string table = [] {
        std::string commas = text;
        for (char& c : commas)
            c = c == ' ' ? ',' : c == '\n' ? ';' : c;
        return commas;
    }();
    add({"ZtStringTokenizerGeneral/64 KiB of words, \",;\"", "strtok_r", 1,
         [] {
             ours = 0;
             ZtStringTokenizerGeneral tokens(table.c_str(), ",;");
             while (tokens.hasMoreTokens())
                 ours += static_cast<std::size_t>(tokens.nextToken().length()) + 1;
         },
         [] { peer = tokensOfPeer(table, ",;"); }, [] { return ours == peer; }});
    add({"ZtStdStringTokenizer/64 KiB of words", "strtok_r", 1,
         [] {
             ours = 0;
             ZtStdStringTokenizer tokens(text);
             std::string token;
             while (tokens.hasMoreTokens()) {
                 tokens.nextToken(token);
                 ours += token.size() + 1;
             }
         },
         [] { peer = tokensOfPeer(text, space); }, [] { return ours == peer; }});
}

std::string replacedByPeer(const std::string& text, const std::string& from,
                           const std::string& to) {
    std::string result;
    result.reserve(text.size());
    std::size_t start = 0;
    for (std::size_t at; (at = text.find(from, start)) != std::string::npos;
         start = at + from.size()) {
        result.append(text, start, at - start);
        result += to;
    }
    return result.append(text, start);
}

void addReplace(const std::string& work, const char* from, const char* to) {
    static const std::string text = wordsOf(64 * 1024);
    static const ZtString source(text.c_str());
    static ZtString ours;
    static std::string peer;
    add({work, "std::string find and append", 1,
         [from, to] {
             ours = source;
             ours.replaceSubStr(from, to);
         },
         [from, to] { peer = replacedByPeer(text, from, to); }, [] { return equal(ours, peer); }});
}

}  // namespace

int main(int argc, char** argv) {
    addAppends();
    addEquality("==/100 pairs of 12 characters", 12);
    addEquality("==/100 pairs of 100 characters", 100);
    addNumbers();
    addWildMatch("ztWildMatch/1000 file names, volume-*.nii", "volume-*.nii");
    addWildMatch("ztWildMatch/1000 file names, *_??????.log", "*_??????.log");
    addTokenizers();
    addReplace("replaceSubStr/64 KiB, \"an\" by \"the\"", "an", "the");
    addReplace("replaceSubStr/64 KiB, \" \" by \"\"", " ", "");
    addReplace("replaceSubStr/64 KiB, \"\\n\" by \"\\r\\n\"", "\n", "\r\n");
    addReplace("replaceSubStr/64 KiB, \"xyz\" by \"abc\"", "xyz", "abc");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
