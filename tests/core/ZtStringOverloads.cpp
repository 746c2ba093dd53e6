// Compiled as C++17 and as C++20, by every compiler at hand, with pedantic errors: whatever text a
// string is compared with or made of, there is one best overload, and it does what it says.
#include <ztlib/ZtString.h>
#include <ztlib/ZtStringTokenizerGeneral.h>

#include <cstddef>
#include <string>

// The lines of the checks that failed, as text; empty when all is well.
std::string OVERLOAD_FAILURES() {
    std::string failures;
    const auto expect = [&failures](bool ok, int line) {
        if (!ok)
            failures.append(" line ").append(std::to_string(line));
    };
#define EXPECT(condition) expect(condition, __LINE__)
#define EXPECT_ORDER(smaller, larger)                                                        \
    EXPECT((smaller) < (larger) && (smaller) <= (larger) && (smaller) != (larger));          \
    EXPECT((larger) > (smaller) && (larger) >= (smaller) && (larger) != (smaller));          \
    EXPECT(!((smaller) > (larger)) && !((smaller) >= (larger)) && !((smaller) == (larger))); \
    EXPECT(!((larger) < (smaller)) && !((larger) <= (smaller)) && !((larger) == (smaller)))
    ZtString s("m");
    const ZtString c("m");
    char array[] = "z";
    char* pointer = array;
    const char* constPointer = array;
    // Every kind of text, at the right and at the left.
    EXPECT_ORDER(s, ZtString("z"));
    EXPECT_ORDER(c, s + "z");
    EXPECT_ORDER(s, array);
    EXPECT_ORDER(c, pointer);
    EXPECT_ORDER(s, constPointer);
    EXPECT_ORDER(c, "z");
    EXPECT(s == c && !(s != c) && c == "m" && "m" == c && "m" <= c && s >= "m");
    // Null: neither equal nor different.
    const char* const none = nullptr;
    EXPECT(!(s == nullptr) && !(s == NULL) && !(s == 0) && !(s == none) && !(nullptr == c));
    EXPECT(!(s != nullptr) && !(s != NULL) && !(s != 0) && !(s != none) && !(nullptr != c));
    EXPECT(s > none && !(s < none) && s >= nullptr && !(s <= NULL) && nullptr < c && none <= c);

    ZtString made = "literal";
    made = pointer;
    made = constPointer;
    made = nullptr;
    made = 0;
    made += array;
    made += 'c';
    made += c;
    EXPECT(made == "zcm" && made.index('c') == 1 && made.index("c") == 1 && made.rindex('z') == 0);
    EXPECT(made.index("z", 1) == -1 && made.index('z', 1) == -1 && made.rindex('m', 0) == -1);
    EXPECT(ZtString(0, "%d", 5) == "5" && ZtString("abc", 1, 1) == "b" && ZtString(nullptr) == "");
    bool ok = false;
    EXPECT(s.toInt() + s.toInt(ok) + s.toInt(&ok) == 0 && s.toFloat(ok) + s.toFloat(&ok) == 0.0F);
    made.setInt64(5L);
    made.setInt64(5ULL);
    EXPECT(made == ZtString::fromInt64(sizeof 'c' + 4) && made.toInt64() == ZtString::toInt64("5"));
    const std::size_t at = 0;
    EXPECT(made[0] == '5' && made[at] == '5' && made[0LL] == '5' && *made == '5');
    ZtDArray<ZtString> list;
    list.push("text");
    EXPECT(list.contains("text") && list.index(made) == -1);
    ZtStringTokenizerGeneral tokenizer(made, ",");
    tokenizer = "a,b";
    EXPECT(tokenizer.nextToken() == "a");
    return failures;
}
