// The text form of bundles.
#include <ztlib/NwParamBase.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtContract.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtString.h>

#include "core/StringInternals.h"
#include "params/ParameterText.h"

#include <cstddef>
#include <cstdio>
#include <ostream>

namespace {

constexpr long long kBlanksPerLevel = 4;

// How many prints to streams are under way in the process.
int streamPrints = 0;

class StreamPrint {
public:
    StreamPrint() { ++streamPrints; }
    ~StreamPrint() { --streamPrints; }
    StreamPrint(const StreamPrint&) = delete;
    StreamPrint& operator=(const StreamPrint&) = delete;
};

bool isPrintable(const NwParamBase& node) {
    return streamPrints == 0 || node.flag(NwParamBase::kNotInStreams) == 0;
}

// A bundle that is being printed.
struct Print {
    explicit Print(const NwParamBundle* b) : bundle(b) {
        // Only prints to streams have commas.
        for (int i = 0; streamPrints > 0 && i < b->size(); ++i)
            if (isPrintable(*(*b)[i])) {
                lastPrintable = i;
                hasBundles = hasBundles || i < b->nBundles();
            }
    }

    const NwParamBundle* bundle;
    int next = 0;
    int lastPrintable = 0;
    bool hasBundles = false;
};

void addHead(TextOut& out, long long level, const char* name) {
    out.addBlanks(kBlanksPerLevel * level);
    out.add(name);
    out.add(" {\n");
}

}  // namespace

void NwParamBundle::printTo(TextOut& out, int level, const char* name) const {
    ZtDArray<Print> prints;
    prints.push(Print(this));
    addHead(out, level, name == nullptr ? this->name() : name);
    while (!prints.isEmptyArray()) {
        const long long inner = static_cast<long long>(level) + prints.size();
        Print& print = prints.last();
        if (print.next == print.bundle->size()) {
            prints.pop_back();
            out.addBlanks(kBlanksPerLevel * (inner - 1));
            out.add("}\n");
            continue;
        }
        const int at = print.next++;
        const NwParamBase& child = *(*print.bundle)[at];
        if (!isPrintable(child))
            continue;
        if (child.isBundle()) {
            addHead(out, inner, child.name());
            prints.push(Print(static_cast<const NwParamBundle*>(&child)));
            continue;
        }
        const auto& parameter = static_cast<const NwParameter&>(child);
        out.addBlanks(kBlanksPerLevel * inner);
        out.add(parameter.name());
        out.add(' ');
        if (parameter.primType() == ZtPrimType::STRING)
            parametertext::addQuoted(out, parameter.getString());
        else
            parametertext::addNumbers(out, parameter.primType(), parameter.dimension(),
                                      parameter.values());
        if (at < print.lastPrintable || print.hasBundles)
            out.add(',');
        out.add('\n');
    }
}

void NwParamBundle::print(ZtString& text, int level, const char* name) const {
    if (name != nullptr && stringinternals::isOwnText(text, name)) {
        const ZtString copy(name);
        return print(text, level, copy.getString());
    }
    TextOut out(text);
    printTo(out, level, name);
    out.finish();
}

void NwParamBundle::print(std::FILE* stream, int level, const char* name) const {
    ZT_REQUIRE(stream != nullptr);
    const ZtString text = streamText(level, name);
    std::fwrite(text.getString(), 1, static_cast<std::size_t>(text.length()), stream);
}

void NwParamBundle::print(std::ostream& stream, int level, const char* name) const {
    const ZtString text = streamText(level, name);
    stream.write(text.getString(), text.length());
}

ZtString NwParamBundle::streamText(int level, const char* name) const {
    const StreamPrint underWay;
    ZtString text;
    print(text, level, name);
    return text;
}
