// ZtString: against std::string as a model, tables of named rows, and what must not go wrong.
#include <gtest/gtest.h>
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
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"
#include "FailEveryAllocation.h"
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
    EXPECT_EQ(ZtString("abcdef", 2, 3).getMax(), 4);
    EXPECT_EQ(ofLength(20).substr(1, 18).getMax(), 19);
    for (s = ofLength(15); s.length() < 16;)  // 16 in use: grows to 24 by any way of appending
        s += 'y';
    EXPECT_EQ(s.getMax(), 24);
    (s = ofLength(15)) += "z";
    EXPECT_EQ(s.getMax(), 24);
    s = ofLength(40).getString();
    EXPECT_EQ(s.getMax(), 41);
    s.clear();
    s = "short";
    EXPECT_EQ(s.getMax(), 41);
    EXPECT_EQ(ZtString(0, "%*s", 64, "").getMax(), 96);
    // Doubled until a formatted text fits: lengths before and after, and the capacity.
    const int rows[][3] = {{0, 5, 64},      {0, 63, 64},     {0, 64, 96},     {0, 65, 128},
                           {0, 127, 128},   {0, 128, 192},   {0, 129, 256},   {5, 40, 48},
                           {15, 16, 24},    {20, 21, 31},    {20, 22, 42},    {2, 1, 16},
                           {0, 1023, 1024}, {0, 1024, 1536}, {0, 1500, 2048}, {1499, 1400, 1500}};
    for (const auto& [before, length, capacity] : rows) {
        ZtString formatted = ofLength(before);
        const char* const result = formatted.printf("%*s", length, "");
        EXPECT_EQ(formatted.getString(), result);
        EXPECT_EQ(formatted.getMax(), capacity) << before << " to " << length;
        EXPECT_EQ(text(formatted), std::string(static_cast<std::size_t>(length), ' '));
    }
}

// Random operations on a string and on a std::string; texts are the string's own now and then.
class StringModel {
public:
    explicit StringModel(unsigned seed) : random_(seed) {}

    void step() {
        const int size = static_cast<int>(model_.size());
        const int pos = random_.below(size + 1);
        const auto at = static_cast<std::size_t>(pos);
        const auto pair = anyText();
        const char* const a = pair.first;
        const std::string& t = pair.second;
        const std::function<void()> operations[] = {
            [&] { string_ += a, model_ += t; },
            [&] { string_ += 'a', model_ += 'a'; },
            [&] { string_ += "lit", model_ += "lit"; },
            [&] { string_ += string_, model_ += std::string(model_); },
            [&] { string_.insertStr(pos, a), model_.insert(at, t); },
            [&] { string_ = a, model_ = t; },
            [&] { string_ = string_.substr(pos, size - 1), model_ = model_.substr(at); },
            [&] { string_.removeLast(size - pos), model_.resize(at); },
            [&] { string_.replace('a', 'B'), replaceAll("a", "B"); },
            [&] {
                const auto [to, toText] = anyText();
                string_.replaceSubStr(a, to), replaceAll(t, toText);
            },
            [&] { string_.printf("%s|%s", a, string_.getString()), model_ = t + "|" + model_; },
            [&] { string_.unpad(), unpad(); },
            [&] { string_ = string_ + a, model_ += t; },
            [&] { string_.toLower(), replaceAll("B", "b"); },
        };
        random_.of(operations)();
        if (model_.size() > 3000)
            string_.removeLast(2900), model_.resize(model_.size() - 2900);
        ASSERT_EQ(::text(string_), model_);
        look();
    }

private:
    // A text to pass on, and its copy.
    std::pair<const char*, std::string> anyText() {
        if (random_.below(4) == 0) {
            const char* own = string_.getString() + random_.below(string_.length() + 1);
            return {own, own};
        }
        std::string& kept = kept_[++turn_ % 2];  // the one before stays as it is
        kept.clear();
        for (int n = random_.below(random_.below(8) ? 4 : 60); n > 0; --n)
            kept += "aaBb \xe9"[random_.below(6)];
        return {kept.c_str(), kept};
    }

    void replaceAll(const std::string& from, const std::string& to) {
        for (std::size_t at = 0; !from.empty() && (at = model_.find(from, at)) != std::string::npos;
             at += to.size())
            model_.replace(at, from.size(), to);
    }

    void unpad() {
        while (model_.size() > 1 && model_.back() == ' ')
            model_.pop_back();
        while (model_.size() > 1 && model_.front() == ' ')
            model_.erase(0, 1);
    }

    static int offset(std::size_t at) { return static_cast<int>(at); }  // none becomes -1

    static std::string lower(std::string s) {
        std::replace(s.begin(), s.end(), 'B', 'b');
        return s;
    }

    // What the string says about itself is what the model says.
    void look() {
        const auto [argument, text] = anyText();
        const int start = random_.below(static_cast<int>(model_.size()) + 1);
        const auto from = static_cast<std::size_t>(start);
        EXPECT_EQ(string_.index(argument), offset(model_.find(text)));
        EXPECT_EQ(string_.index(argument, start), offset(model_.find(text, from)));
        EXPECT_EQ(string_.index('b', start), offset(model_.find('b', from)));
        EXPECT_EQ(string_.rindex('b', start), offset(model_.rfind('b', from)));
        EXPECT_EQ(string_.rindex('b'), offset(model_.rfind('b')));
        EXPECT_EQ(string_.iindex(argument), offset(lower(model_).find(lower(text))));
        EXPECT_EQ(string_ == argument, model_ == text);
        EXPECT_EQ(string_ != argument, model_ != text);
        EXPECT_EQ(string_ < argument, model_ < text);
        EXPECT_EQ(string_ >= ZtString(argument), model_ >= text);
        EXPECT_EQ(string_.isEqualTo(argument, true), lower(model_) == lower(text));
        ZtDArray<ZtString> pieces;
        EXPECT_EQ(string_.explode(' ', pieces), 1 + std::count(model_.begin(), model_.end(), ' '));
        std::string joined;
        for (const std::string& piece : texts(pieces))
            joined += piece + " ";
        EXPECT_EQ(joined, model_ + " ");
    }

    Random random_;
    ZtString string_;
    std::string model_;
    std::string kept_[2];
    unsigned turn_ = 0;
};

TEST(ZtString, AgreesWithStandardString) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        StringModel model(seed);
        for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i)
            model.step();
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
        s = before;
        s.unpad();
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
        {s.index('\0'), 6},        {s.rindex('\0'), 6},       {s.rindex('a', 0), 0},
        {s.rindex('c', 99), 5},    {s.index('a', 7), -1},     {s.index("", 6), 6},
        {s.index("a", 7), -1},     {s.index("a", -1), -1},    {s.index(none), 0},
        {s.iindex(none), 0},       {s.iindex("CAB"), 2},      {s.iindex("cabx"), -1},
        {ZtString().index(""), 0}, {ZtString().iindex(""), 0}};
    for (const auto& search : searches)
        EXPECT_EQ(search[0], search[1]) << "search " << &search - searches;
    EXPECT_LT(ZtString("a\x7f"), "a\x80");
    EXPECT_LT(ZtString::strcasecmp("ABC", "abd"), 0);
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
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(ZtString("ab").insertStr(3, "x"), BrokenContract);
        EXPECT_THROW(ZtString("ab").substr(-1, 1), BrokenContract);
        EXPECT_THROW(ZtString("ab").substr(1, 3), BrokenContract);
    }
}

TEST(ZtStringNumbers, PrintIntegersOfEveryLength) {
    std::vector<long long> values = {0, LLONG_MAX, LLONG_MIN};
    for (long long power = 1; power <= LLONG_MAX / 10; power *= 10)
        values.insert(values.end(), {power - 1, power, power + 1, 1 - power, -power, -power * 9});
    for (int bit = 0; bit < 63; ++bit)
        values.insert(values.end(), {1LL << bit, -(1LL << bit), (1LL << bit) - 1});
    ZtString s;
    for (const long long value : values) {
        s.setInt64(value);
        EXPECT_EQ(text(s), std::to_string(value));
        EXPECT_EQ(text(ZtString::fromInt64(value)), std::to_string(value));
        EXPECT_EQ(s.toInt64(), value);
        EXPECT_EQ(s.toInt(), std::clamp<long long>(value, INT_MIN, INT_MAX));
    }
}

TEST(ZtStringNumbers, ReadIntegersAsTheRuntimeDoes) {
    Random random(3);
    for (int round = 0; round < 20000; ++round) {
        const std::string alphabet = round % 2 ? "0123456789" : " \t-+0123456789x.";
        std::string digits(random.bits() % 23, ' ');
        for (char& c : digits)
            c = random.of(alphabet);
        EXPECT_EQ(ZtString::toInt64(digits.c_str()), std::strtoll(digits.c_str(), nullptr, 10))
            << digits;
        bool ok = false;
        int first = 0;
        ZtString(digits.c_str()).toInt(ok);
        EXPECT_EQ(ok, std::sscanf(digits.c_str(), "%9d", &first) == 1) << digits;
    }
    EXPECT_EQ(ZtString::toInt64(nullptr), 0);
    EXPECT_EQ(ZtString("99999999999999999999").toInt64(), LLONG_MAX);
    EXPECT_EQ(ZtString("-99999999999999999999").toInt64(), LLONG_MIN);
    EXPECT_EQ(ZtString("-2147483649").toInt(), INT_MIN);
    EXPECT_EQ(ZtString(" 7x").toInt(nullptr), 7);
    bool ok = true;
    EXPECT_EQ(ZtString("x").toInt(&ok), 0);
    EXPECT_FALSE(ok);
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
    bool ok = false;
    EXPECT_EQ(ZtString("2.25").toFloat(&ok) + ZtString("1").toFloat(), 3.25F);
    EXPECT_EQ(ZtString("1").toFloat(nullptr), 1.0F);
    EXPECT_TRUE(ok);
}

TEST(ZtStringNumbers, AreTheSameInEveryLocale) {
    for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8", "German"})
        if (std::setlocale(LC_ALL, name)) {
            EXPECT_EQ(ZtString("1.5").toFloat(), 1.5F);
            EXPECT_FALSE(ZtString("\xe9").isAlpha());
            std::setlocale(LC_ALL, "C");
            return;
        }
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
    list[0] = "kept";
    EXPECT_EQ(texts(list), (std::vector<std::string>{"kept", ""}));
    zero.explode(',', list);
    EXPECT_EQ(texts(list), std::vector<std::string>{""});
    void (*const operations[])(ZtString&) = {
        [](ZtString& s) { (s += 'a') = "x"; },
        [](ZtString& s) { s += "x"; },
        [](ZtString& s) { s += ZtString("x"); },
        [](ZtString& s) { s.insertStr(0, "x"); },
        [](ZtString& s) { s.printf("x"); },
        [](ZtString& s) { s = ZtString("x"); },
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

TEST(ZtString, IsAsItWasWhenMemoryIsExhausted) {
    static const std::string longText(100, 'y');
    static const ZtString longString(longText.c_str());
    void (*const operations[])(ZtString&) = {
        [](ZtString& s) { s += 'z'; },
        [](ZtString& s) { s += "z"; },
        [](ZtString& s) { s += s; },
        [](ZtString& s) { s += longText.c_str(); },
        [](ZtString& s) { s = longText.c_str(); },
        [](ZtString& s) { s = longString; },
        [](ZtString& s) { s.insertStr(1, s.getString()); },
        [](ZtString& s) { s.replaceSubStr(" ", longText.c_str()); },
        [](ZtString& s) { s.replaceSubStr(s.getString(), s.getString() + 1); },
        [](ZtString& s) { s.printf("%s%s", s.getString(), longText.c_str()); },
        [](ZtString& s) { s.printf("%2000d", 1); },
        [](ZtString& s) { s.setInt64(LLONG_MIN); },
        [](ZtString& s) { (ZtString(0, "%s", longText.c_str()) + s.protect()).substr(0, 2); },
    };
    const auto makeTight = [] {
        ZtString s("a b");
        s.remax();
        return s;
    };
    for (auto* operation : operations)
        failEveryAllocation(makeTight, operation,
                            [](const ZtString& s) { EXPECT_EQ(text(s), "a b"); });
    // Lengths beyond what the array counts are found out before anything is read or taken.
    EXPECT_THROW(ZtString("a", 0, INT_MAX), ZtMemoryException);
    ZtString as = ofLength(70000);
    EXPECT_THROW(as.replaceSubStr("x", text(ofLength(40000)).c_str()), ZtMemoryException);
    EXPECT_TRUE(as == ofLength(70000));
    failEveryAllocation([] { return ZtDArray<ZtString>(); },
                        [](ZtDArray<ZtString>& list) { ZtString("a,b,c").explode(',', list); },
                        [](const ZtDArray<ZtString>& list) { EXPECT_EQ(list.getMax(), 0); });
}

TEST(WildMatch, MatchesAsTheTableSays) {
    const struct {
        const char *text, *pattern;
        int matches;
    } rows[] = {{"aab", "*ab", 0},    {"ba", "*a", 1},     {"abc", "a?", 1},
                {"abc", "a*", 1},     {"ab", "abc", 0},    {"", "*", 1},
                {"aba", "*a", 0},     {"abc", "*b", 0},    {"abbc", "a*bc", 0},
                {"axbxb", "a*b", 0},  {"abc", "*?", 1},    {"abc", "?", 1},
                {"", "", 1},          {"", "?", 0},        {"a", "", 0},
                {"abc", "ab", 0},     {"abc", "abc", 1},   {"abc", "a**c", 1},
                {"abc", "ABC", 0},    {"", "**", 1},       {"x.log", "*.log", 1},
                {"ab", "ab***", 1},   {"\xe9z", "?z", 1},  {"x.log.log", "*.log", 0},
                {nullptr, "*", 1},    {"a", nullptr, 0},   {nullptr, nullptr, 1},
                {"abcd", "a*c", 0},   {"abcd", "a*c?", 1}, {"abab", "*abab", 1},
                {"aabab", "*abab", 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(ztWildMatch(row.text, row.pattern), row.matches)
            << (row.text ? row.text : "null") << " / " << (row.pattern ? row.pattern : "null");
        EXPECT_EQ(ZtString(row.text).matches(row.pattern), row.matches == 1);
    }
}

}  // namespace
