// The text form of a parameter's value, shared by the parameter and the bundle that prints it.
#pragma once

#include <ztlib/ZtPrimType.h>

#include "params/TextOut.h"

namespace parametertext {

/// Appends `n` numbers with blanks between them. Of elements of other types there are only the
/// blanks, and `values` may be null.
void addNumbers(TextOut& out, ZtPrimType type, int n, const void* values);

/// Appends a text without its double quotes.
void addWithoutQuotes(TextOut& out, const char* text);

/// Whether that would append `expected`.
bool isWithoutQuotes(const char* expected, const char* text);

/// Appends a text between double quotes. A double quote in it gets a backslash before it unless it
/// has one, and a backslash at its end a blank after it.
void addQuoted(TextOut& out, const char* text);

/// What a text stands for: the words that white space separates, as the highest class among them.
enum class Class { kInteger, kReal, kText };
struct Words {
    Class type = Class::kInteger;
    int count = 0;
};
/// Classifies; counting ends with the first word that is none of a number. The empty text is text.
Words classify(const char* text);

/// Reads the words of a text of that class into as many elements.
void readIntegers(const char* text, int* out);
void readReals(const char* text, float* out);

}  // namespace parametertext
