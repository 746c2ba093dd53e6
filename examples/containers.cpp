// The containers at work, for somebody who comes from those of the standard library.
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtStringTokenizer.h>
#include <ztlib/ZtWildMatch.h>

#include <cstdio>

/// An array that is sorted stays so; equal names are kept once.
void addOnce(ZtDArray<ZtString>& names, const ZtString& name) {
    const auto inOrder = [](const ZtString& a, const ZtString& b) {
        return a < b ? -1 : a == b ? 0 : 1;
    };
    if (names.findSorted(name, inOrder) < 0)
        names.insertSorted(name, inOrder);
}

/// Fills new elements at once where a loop of `push` would look at the capacity each time.
void appendRamp(ZtDArray<float>& values, int n) {
    const int first = values.appendSpace(n);  // raw: to be written before they are read
    for (int i = 0; i < n; ++i)
        values[first + i] = static_cast<float>(i) / static_cast<float>(n);
}

int main() {
    ZtDArray<ZtString> names;
    ZtStringTokenizer tokens("thalamus \"left ventricle\" amygdala thalamus");
    while (tokens.hasMoreTokens())
        addOnce(names, tokens.nextToken());
    for (const ZtString& name : names)
        if (ztWildMatch(name, "*am*"))
            std::printf("%s\n", name.getString());

    ZtDArray<float> values;
    appendRamp(values, 4);
    values.remove(0);
    values.swap(0, values.size() - 1);
    std::printf("%d values from %g to %g, room for %d\n", values.size(),
                static_cast<double>(values[0]), static_cast<double>(values.last()),
                values.getMax());
}
