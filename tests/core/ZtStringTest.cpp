// ZtString: against std::string as a model, tables of named rows, and what must not go wrong.
#include <gtest/gtest.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtWildMatch.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"
#include "Random.h"

// ZtStringOverloads.cpp
std::string overloadFailures17();
std::string overloadFailures20();

namespace {

std::string text(const ZtString& s) {
    EXPECT_EQ(s.size(), s.length() + (s.getMax() > 0 ? 1 : 0));
    EXPECT_LE(s.size(), s.getMax());
    EXPECT_EQ(s.getString()[s.length()], '\0');
    return std::string(s.getString(), static_cast<std::size_t>(s.length()));
}

std::vector<std::string> texts(const ZtDArray<ZtString>& list) {
    std::vector<std::string> all;
    for (int i = 0; i < list.size(); ++i)
        all.push_back(text(list[i]));
    return all;
}

ZtString ofLength(int n) {
    return ZtString(std::string(static_cast<std::size_t>(n), 'x').c_str());
}

// The capacity follows from the text's length and from how the buffer was filled.
TEST(ZtString, CapacityFollowsTheOperation) {
    EXPECT_EQ(ZtString().getMax(), 16);
    EXPECT_EQ(ofLength(15).getMax(), 16);
    EXPECT_EQ(ofLength(16).getMax(), 17);
    ZtString s("abc");
    EXPECT_EQ(ZtString(s).getMax(), 4);
    EXPECT_EQ((s + "de").getMax(), 6);
    EXPECT_EQ(ofLength(20).substr(1, 18).getMax(), 19);
    for (s = ofLength(15); s.length() < 16;)  // 16 in use: grows to 24 by any way of appending
        s += 'y';
    EXPECT_EQ(s.getMax(), 24);
    (s = ofLength(15)) += "z";
    EXPECT_EQ(s.getMax(), 24);
    s = ofLength(40).getString();
    s.clear();
    s = "short";
    EXPECT_EQ(s.getMax(), 41);
    EXPECT_EQ(ZtString(0, "%*s", 64, "").getMax(), 96);
    // Doubled until a formatted text fits: lengths before and after, and the capacity.
    const int rows[][3] = {{0, 5, 64},      {0, 63, 64},     {0, 64, 96},       {0, 65, 128},
                           {0, 127, 128},   {0, 128, 192},   {5, 40, 48},       {15, 16, 24},
                           {20, 21, 31},    {20, 22, 42},    {2, 1, 16},        {0, 1023, 1024},
                           {0, 1024, 1536}, {0, 1500, 2048}, {1499, 1400, 1500}};
    for (const auto& [before, length, capacity] : rows) {
        ZtString formatted = ofLength(before);
        EXPECT_EQ(std::string(static_cast<std::size_t>(length), ' '),
                  formatted.printf("%*s", length, ""));
        EXPECT_EQ(formatted.getMax(), capacity) << before << " to " << length;
    }
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != std::string::npos;
         at += to.size())
        text.replace(at, from.size(), to);
}

std::string lower(std::string s) {
    replaceAll(s, "B", "b");
    return s;
}

// Random operations on a string and on a std::string; texts are the string's own now and then.
TEST(ZtString, AgreesWithStandardString) {
    Random random(1);
    ZtString string;
    std::string model, kept[2];
    unsigned turn = 0;
    // A text to pass on, and its copy; the one before stays as it is.
    const auto anyText = [&]() -> std::pair<const char*, std::string> {
        const char* const own = string.getString() + random.below(string.length() + 1);
        std::string& made = kept[++turn % 2];
        made.clear();
        const int longest[] = {4, 4, 4, 18, 60};
        for (int n = random.below(random.of(longest)); n > 0; --n)
            made += "aaBb \xe9"[random.below(6)];
        const char* const chosen = random.below(4) == 0 ? own : made.c_str();
        return {chosen, chosen};
    };
    for (int i = 0; i < 12000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        if (model.size() > 3000 || i % 300 == 0)
            string = ZtString(), model.clear();
        const int size = static_cast<int>(model.size());
        const int pos = random.below(size + 1);
        const auto at = static_cast<std::size_t>(pos);
        const auto texts = anyText(), others = anyText();
        const char* const a = texts.first;
        const std::string& t = texts.second;
        const std::function<void()> operations[] = {
            [&] { string += a, model += t; },
            [&] { string += 'a', model += 'a'; },
            [&] { string += string, model += std::string(model); },
            [&] { string.insertStr(pos, a), model.insert(at, t); },
            [&] { string = a, model = t; },
            [&] { string = string.substr(pos, size - 1), model = model.substr(at); },
            [&] { string.removeLast(size - pos), model.resize(at); },
            [&] { string.replace('a', 'B'), replaceAll(model, "a", "B"); },
            [&] { string.replaceSubStr(a, others.first), replaceAll(model, t, others.second); },
            [&] { string.printf("%s|%s", a, string.getString()), model = t + "|" + model; },
            [&] { string.toLower(), model = lower(model); },
        };
        random.of(operations)();
        ASSERT_EQ(text(string), model);

        const auto [argument, sought] = anyText();
        const int start = random.below(string.length() + 1);
        const auto from = static_cast<std::size_t>(start);
        const auto offset = [](std::size_t found) { return static_cast<int>(found); };  // or -1
        EXPECT_EQ(string.index(argument, start), offset(model.find(sought, from)));
        EXPECT_EQ(string.index('b', start), offset(model.find('b', from)));
        EXPECT_EQ(string.rindex('b', start), offset(model.rfind('b', from)));
        EXPECT_EQ(string.iindex(argument), offset(lower(model).find(lower(sought))));
        EXPECT_EQ(string == argument, model == sought);
        EXPECT_EQ(string < argument, model < sought);
        EXPECT_EQ(string >= ZtString(argument), model >= sought);
        EXPECT_EQ(string.isEqualTo(argument, true), lower(model) == lower(sought));
        ZtDArray<ZtString> pieces;
        EXPECT_EQ(string.explode(' ', pieces), 1 + std::count(model.begin(), model.end(), ' '));
        std::string joined;
        for (const ZtString& piece : pieces)
            joined += text(piece) + " ";
        EXPECT_EQ(joined, model + " ");
    }
}

TEST(ZtString, BuildsAndEditsAsTheTableSays) {
    const char* const none = nullptr;
    errno = ENOENT;
    EXPECT_EQ(text(ZtString(0, "%d", 1)), "1");
    EXPECT_EQ(errno, ENOENT) << "formats may ask for it";
    EXPECT_EQ(text(ZtString(none)) + text(ZtString("abc", 1, -4)) + text(ZtString(none, 3, 2)), "");
    EXPECT_EQ(text(ZtString("ab\0cd", 1, 3)), std::string("b\0c", 3));
    EXPECT_EQ(text(ZtString(0, none)), "");
    ZtString s("abc");
    ((s += none) += "") += 'd';
    s.insertStr(2, none);
    s.replaceSubStr(none, "x");
    s.replaceSubStr("", "x");
    EXPECT_EQ(text(s), "abcd");
    s.replaceSubStr("bc", none);
    s.removeLast(-1);
    EXPECT_EQ(text(s) + text(s.substr(INT_MAX, 0)) + text(s.substr(1, 1)), "add");
    s = none;
    EXPECT_TRUE(s.isEmptyString() && ZtString("\0x", 0, 2).isEmptyString());

    const char* const padded[][2] = {{"   ", " "}, {"  ab  ", "ab"}, {"\ta b \t ", "\ta b \t"}};
    for (const auto& [before, after] : padded) {
        (s = before).unpad();
        EXPECT_EQ(text(s), after);
    }
    const char* const quoted[][3] = {
        // plain, protected, with quotes forced
        {"abc", "abc", "\"abc\""},     {"a b", "\"a b\"", "\"a b\""},
        {"", "\"\"", "\"\""},          {"a\\\"", "a\\\\\\\"", "\"a\\\\\\\"\""},
        {"a\v", "\"a\v\"", "\"a\v\""}, {"\xa0", "\xa0", "\"\xa0\""}};
    for (const auto& [plain, maybe, forced] : quoted) {
        EXPECT_EQ(text(ZtString(plain).protect()), maybe);
        EXPECT_EQ(text(ZtString(plain).protect(true)), forced);
    }
    ZtDArray<ZtString> list;
    list.push("x y z");
    list[0].explode(' ', list);  // the list holds the string itself
    EXPECT_EQ(texts(list), (std::vector<std::string>{"x", "y", "z"}));
    EXPECT_EQ(text(ZtString("aZ\xe9{").toUpper()), "AZ\xe9{");
    EXPECT_EQ(text(ZtString("aZ\xc9[").toLower()), "az\xc9[");
}

TEST(ZtString, SearchesAndComparesAsTheTableSays) {
    const char* const none = nullptr;
    const ZtString s("abcabc");
    const int searches[][2] = {
        {s.index('\0'), 6},     {s.rindex('\0'), 6},   {s.rindex('a', 0), 0},
        {s.rindex('c', 99), 5}, {s.rindex('c'), 5},    {s.index('a', 7), -1},
        {s.index("", 6), 6},    {s.index("a", 7), -1}, {s.index("a", -1), -1},
        {s.index(none), 0},     {s.iindex(none), 0}};
    for (const auto& [found, expected] : searches)
        EXPECT_EQ(found, expected);
    EXPECT_LT(ZtString("a\x7f"), "a\x80");
    EXPECT_EQ(ZtString::strcasecmp("ABC", "abc") + ZtString::strcasecmp(none, ""), 0);
    EXPECT_GT(ZtString::strcasecmp("ab\x80", "aba"), 0);
    EXPECT_EQ(ZtString::strncasecmp("ABx", "aby", 2) + ZtString::strncasecmp("a", "b", 0), 0);
    EXPECT_LT(ZtString::strncasecmp("ab", "abc", 9), 0);
    const std::pair<const char*, int> classes[] = {{"", 7},   {"aZ", 5}, {"09", 6},
                                                   {"a1", 4}, {"a_", 0}, {"a\xe9", 0}};
    for (const auto& [each, expected] : classes) {
        const ZtString c(each);
        EXPECT_EQ(c.isAlpha() * 1 + c.isDigit() * 2 + c.isAlnum() * 4, expected) << each;
    }
    for (int n = 0; n < 20; ++n)
        for (int i = 0; i < n; ++i) {
            ZtString other = ofLength(n);
            EXPECT_TRUE(other == ofLength(n) && other != ofLength(i));
            other[i] = 'y';
            EXPECT_TRUE(other != ofLength(n) && other > ofLength(n)) << n << ": " << i;
        }
    const ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(ZtString("ab").insertStr(3, "x"), BrokenContract);
        EXPECT_THROW(ZtString("ab").substr(-1, 1), BrokenContract);
        EXPECT_THROW(ZtString("ab").substr(1, 3), BrokenContract);
    }
}

TEST(ZtStringNumbers, PrintAndReadIntegersAsTheRuntimeDoes) {
    std::vector<long long> values = {0, LLONG_MAX, LLONG_MIN, -LLONG_MAX};
    for (long long power = 1; power <= LLONG_MAX / 10; power *= 10)
        values.insert(values.end(), {power - 1, power, power + 1, 1 - power, -power, -power * 9});
    for (const long long value : values) {
        const ZtString s = ZtString::fromInt64(value);
        EXPECT_EQ(text(s), std::to_string(value));
        EXPECT_EQ(s.toInt64(), value);
        EXPECT_EQ(s.toInt(), std::clamp<long long>(value, INT_MIN, INT_MAX));
    }
    Random random(3);
    for (int round = 0; round < 20000; ++round) {
        const std::string alphabet = round % 2 ? "0123456789" : " \t-+0123456789x.";
        std::string digits(random.bits() % 23, ' ');
        for (char& c : digits)
            c = random.of(alphabet);
        const char* const s = digits.c_str();
        SCOPED_TRACE(s);
        EXPECT_EQ(ZtString::toInt64(s), std::strtoll(s, nullptr, 10));
        bool ok = false;
        int first = 0;
        ZtString(s).toInt(ok);
        EXPECT_EQ(ok, std::sscanf(s, "%9d", &first) == 1);
    }
    EXPECT_EQ(ZtString::toInt64(nullptr), 0);
    EXPECT_EQ(ZtString("-99999999999999999999").toInt64(), LLONG_MIN);
    EXPECT_EQ(ZtString(" 7x").toInt(nullptr), 7);
}

TEST(ZtStringNumbers, ReadFloatsAsTheRuntimeDoes) {
    ZtDArray<ZtString> all;
    ZtString(
        "1| \n-2.5e3x|+.5|5.|.||-|+-1|--1|1.5.2|1e|1e+|1e400|-1e400|1e-400|-1e-400|1,5|1 5|abc|"
        "1e99999999999999999999|1e-99999999999999999999|0e99999|16777217|0.1|1e-45|1e-46|"
        "0.0000000000000000000000000000000000000000000000000000000001e60|3.4028235e38|"
        "100000000000000000000000000000000000000000000000000000000000e-99|3.4028236e38|"
        "1.17549435e-38|inf|-INFx|infi|infinity|in|nan|NaN(12)|-nan|0x|0xg|0x1.8p1|-0X1P-3|"
        "0x-1|0x1p-200|0x1p200|0x1p99999999999|0x1p-99999999999|0x.00000001p31")
        .explode('|', all);
    for (const std::string& each : texts(all)) {
        float expected = 0;
        const bool isNumber = std::sscanf(each.c_str(), "%f", &expected) == 1;
        bool ok = !isNumber;
        const float value = ZtString(each.c_str()).toFloat(ok);
        EXPECT_EQ(ok, isNumber) << each;
        EXPECT_TRUE(value == expected || (std::isnan(value) && std::isnan(expected))) << each;
        EXPECT_EQ(std::signbit(value), std::signbit(isNumber ? expected : 0)) << each;
    }
    EXPECT_EQ(ZtString("1").toFloat(nullptr), 1.0F);
}

TEST(ZtStringNumbers, AreTheSameInEveryLocale) {
    bool isThere = false;
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "German"})
        if (std::setlocale(LC_ALL, name)) {
            isThere = true;
            EXPECT_EQ(ZtString("1.5").toFloat(), 1.5F);
            EXPECT_FALSE(ZtString("\xe9").isAlpha());
        }
    std::setlocale(LC_ALL, "C");
    if (!isThere)
        GTEST_SKIP() << "no locale with a decimal comma is installed";
}

// Neither a terminator nor a buffer is needed: a string whose array was emptied or released is the
// empty text, and one that lost its terminator ends where its array does.
TEST(ZtString, BearsWhatTheArrayDoesToIt) {
    const auto raw = [] {
        ZtString s("text");
        ztfree(s.dataPtr());
        s.release();
        return s;
    };
    const ZtString zero = raw();
    EXPECT_STREQ(zero.getString(), "");
    EXPECT_EQ(zero.length() + zero.toInt() + zero.index("") + zero.index('\0'), 0);
    EXPECT_TRUE(zero.isEmptyString() && zero.isDigit() && zero == "" && zero == ZtString());
    EXPECT_TRUE(zero < "a" && zero.matches("*") && zero.isEqualTo("", true) && zero != nullptr);
    EXPECT_EQ(text(zero.substr(0, -1)) + text(zero + "a") + text(ZtString(zero)), "a");
    ZtDArray<ZtString> list(2);  // raw zero bytes
    zero.explode(',', list);
    EXPECT_EQ(texts(list), std::vector<std::string>{""});
    void (*const operations[])(ZtString&) = {
        [](ZtString& s) { (s += 'a') = "x"; },
        [](ZtString& s) { s += ZtString("x"); },
        [](ZtString& s) { s.printf("x"); },
        [](ZtString& s) { s.setInt64(1), s.replace('1', 'x'); },
        [](ZtString& s) { s.clear(), s.unpad(), s.replace('a', 'b'), s += 'x'; },
        [](ZtString& s) { s.removeLast(), s.replaceSubStr("a", "b"), s = "x"; },
        [](ZtString& s) { *s.toUpper().toLower().getString() = '\0', s.insertStr(0, "x"); },
    };
    for (auto* operation : operations) {
        ZtString s = raw();
        operation(s);
        EXPECT_EQ(text(s), "x");
    }
    ZtString moved("moved");
    const ZtString target(std::move(moved));
    EXPECT_EQ(text(target) + text(moved = "again"), "movedagain");

    ZtString open("12ab");
    open.resize(4);
    open.remax();  // no byte behind the last character
    EXPECT_TRUE(open.length() == 3 && open == "12a" && open.toInt() == 12 &&
                open.toFloat() == 12.0F);
    EXPECT_TRUE(open.matches("12a") && open.rindex('b') == 3 && open.index("b") == -1);
    EXPECT_EQ(text(ZtString(open)) + text(open + "c"), "12a12ac");
}

TEST(ZtString, HasOneBestOverloadInEveryStandard) {
    EXPECT_EQ(overloadFailures17(), "");
    EXPECT_EQ(overloadFailures20(), "");
}

TEST(ZtString, TooLongIsExhaustedMemory) {
    // Lengths beyond what the array counts are found out before anything is read or taken.
    EXPECT_THROW(ZtString("a", 0, INT_MAX), ZtMemoryException);
    ZtString as = ofLength(70000);
    EXPECT_THROW(as.replaceSubStr("x", text(ofLength(40000)).c_str()), ZtMemoryException);
    EXPECT_TRUE(as == ofLength(70000));
}

TEST(WildMatch, MatchesAsTheTableSays) {
    const struct {
        const char *text, *pattern;
        int matches;
    } rows[] = {
        {"aab", "*ab", 0},     {"ba", "*a", 1},     {"abc", "a?", 1},    {"abc", "a*", 1},
        {"ab", "abc", 0},      {"", "*", 1},        {"abc", "*b", 0},    {"abbc", "a*bc", 0},
        {"abc", "*?", 1},      {"", "", 1},         {"", "?", 0},        {"a", "", 0},
        {"abc", "ab", 0},      {"abc", "a**c", 1},  {"abc", "ABC", 0},   {"x.log.log", "*.log", 0},
        {"ab", "ab***", 1},    {"\xe9z", "?z", 1},  {nullptr, "*", 1},   {"a", nullptr, 0},
        {nullptr, nullptr, 1}, {"abcd", "a*c?", 1}, {"abab", "*abab", 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(ztWildMatch(row.text, row.pattern), row.matches);
        EXPECT_EQ(ZtString(row.text).matches(row.pattern), row.matches == 1);
    }
}

}  // namespace
