// Linear mapping from one strided layout to another.
#include <ztlib/ZtBytePattern.h>
#include <ztlib/ZtContract.h>
#include <ztlib/ZtDataPointer.h>
#include <ztlib/ZtDataType.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <cstddef>

#include "typeddata/RawKernels.h"
#include "typeddata/RawTypes.h"

namespace {

/// The primitive type of a data type; a type that there is not where it is none.
ZtPrimType primTypeOf(const ZtDataPointer& pointer) {
    const ZtDataType type = pointer.dataType();
    return type.isMcPrimType() ? type.asMcPrimType() : ZtPrimType(-1);
}

}  // namespace

void ztmapLinear(const ZtDataPointer& target, const ZtBytePattern& targetPattern,
                 const ZtDataPointer& source, const ZtBytePattern& sourcePattern, double offset,
                 double scale) {
    ZT_REQUIRE(!target.isConst());
    const ZtPrimType toType = primTypeOf(target);
    const ZtPrimType fromType = primTypeOf(source);
    rawdata::Kind toKind;
    rawdata::Kind fromKind;
    if (!rawdata::findKind(toType, toKind)) {
        rawdata::reportUnsupported(toType, "()");
        return;
    }
    if (!rawdata::findKind(fromType, fromKind))
        return;
    auto* const out = static_cast<unsigned char*>(target.pointer());
    const auto* const in = static_cast<const unsigned char*>(source.pointer());
    const int toSize = toType.size();
    const int fromSize = fromType.size();
    BytePatternIterator to(targetPattern);
    BytePatternIterator from(sourcePattern);
    while (!to.isFinished() && !from.isFinished()) {
        const int run = std::min(to.runLength() / toSize, from.runLength() / fromSize);
        if (run == 0)
            break;
        rawdata::map(toKind, out + to.offset(), fromKind, in + from.offset(),
                     static_cast<std::size_t>(run), offset, scale);
        to.advance(run * toSize);
        from.advance(run * fromSize);
    }
}
