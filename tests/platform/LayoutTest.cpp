// What compiled plug-ins rely on: the sizes of the public types and the order of virtual slots.
#include <gtest/gtest.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParamEditCheck.h>
#include <ztlib/NwParameter.h>
#include <ztlib/TrDeployMD5.h>
#include <ztlib/ZtAllocator.h>
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtBox3f.h>
#include <ztlib/ZtBytePattern.h>
#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtCreateUIDs.h>
#include <ztlib/ZtCutBoxPlane.h>
#include <ztlib/ZtCutBoxPlaneDouble.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtDMatrix.h>
#include <ztlib/ZtDSO.h>
#include <ztlib/ZtDataPointer.h>
#include <ztlib/ZtEditable.h>
#include <ztlib/ZtFilename.h>
#include <ztlib/ZtFrameID.h>
#include <ztlib/ZtHandle.h>
#include <ztlib/ZtHttpd.h>
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtLine.h>
#include <ztlib/ZtLogFile.h>
#include <ztlib/ZtMat3f.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtMessageCollector.h>
#include <ztlib/ZtPlane.h>
#include <ztlib/ZtProgressInterface.h>
#include <ztlib/ZtRemotificationID.h>
#include <ztlib/ZtResult.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtScanConvert.h>
#include <ztlib/ZtSphere.h>
#include <ztlib/ZtStringTokenizerGeneral.h>
#include <ztlib/ZtTmpDir.h>
#include <ztlib/ZtTypeInfo.h>
#include <ztlib/ZtTypedObject.h>
#include <ztlib/ZtTypedPointer.h>
#include <ztlib/ZtVec2f.h>
#include <ztlib/ZtVec2i.h>
#include <ztlib/ZtVec3d.h>
#include <ztlib/ZtVec3f.h>
#include <ztlib/ZtVec3i.h>
#include <ztlib/ZtVec3l.h>
#include <ztlib/ZtVec4f.h>
#include <ztlib/ZtVec4i.h>
#include <ztlib/ZtWatch.h>

#include <cstddef>
#include <cstring>

namespace {

constexpr bool kHas32BitPointers = sizeof(void*) == 4;

struct Size {
    const char* name;
    std::size_t actual;
    std::size_t with32BitPointers;
    std::size_t with64BitPointers;
};

#define SIZE_OF(type, on32, on64)       \
    Size {                              \
#type, sizeof(type), on32, on64 \
    }

TEST(Layout, SizesAreThoseThatPlugInsWereCompiledFor) {
    using Array = ZtDArray<int>;
    using Component = ZtConnectedComponents::Component;
    using Handle = ZtHandle<ZtHandable>;
    using CountedMessage = ZtMessageCollector::TCountedMsg;
    for (const Size& row : {
             SIZE_OF(Array, 12, 16),
             SIZE_OF(ZtHandable, 12, 16),
             SIZE_OF(Handle, 8, 16),
             SIZE_OF(ZtString, 24, 32),
             SIZE_OF(ZtStringTokenizer, 40, 56),
             SIZE_OF(ZtStringTokenizerGeneral, 52, 72),
             SIZE_OF(ZtBitfield, 12, 16),
             SIZE_OF(ZtException, 28, 40),
             SIZE_OF(ZtMemoryException, 32, 48),
             SIZE_OF(ZtResult, 4, 8),
             SIZE_OF(ZtResultBase, 96, 128),
             SIZE_OF(ZtMessageCollector, 16, 24),
             SIZE_OF(CountedMessage, 32, 48),
             SIZE_OF(ZtWatch, 32, 40),
             SIZE_OF(ZtAllocator, 8, 16),
             SIZE_OF(ZtFilename, 24, 32),
             SIZE_OF(ZtTmpDir, 28, 40),
             SIZE_OF(ZtLogFile, 4, 8),
             SIZE_OF(ZtBytePattern, 68, 68),
             SIZE_OF(ZtTypeInfo, 16, 32),
             SIZE_OF(ZtTypedObject, 4, 8),
             SIZE_OF(ZtInterfaceOwner, 48, 72),
             SIZE_OF(ZtInterface, 8, 16),
             SIZE_OF(ZtDSO, 4, 8),
             SIZE_OF(ZtEditable, 20, 32),
             SIZE_OF(ZtEditingListener, 4, 8),
             SIZE_OF(ZtCreateUIDs, 72, 96),
             SIZE_OF(ZtFrameID, 8, 8),
             SIZE_OF(ZtRemotificationID, 4, 4),
             SIZE_OF(ZtPrimType, 4, 4),
             SIZE_OF(ZtDataType, 4, 8),
             SIZE_OF(ZtTypedPointer, 8, 16),
             SIZE_OF(ZtDataPointer, 16, 24),
             SIZE_OF(Component, 24, 24),
             SIZE_OF(TrDeploy::MD5, 16, 16),
             SIZE_OF(NwParamBase, 20, 40),
             SIZE_OF(NwParameter, 32, 56),
             SIZE_OF(NwParamBundle, 36, 64),
             SIZE_OF(NwParamEditCheck, 4, 8),
             SIZE_OF(ZtScanConvert, 28, 40),
             SIZE_OF(ZtServerSocket, 12, 12),
             SIZE_OF(ZtHttpd, 80, 112),
             SIZE_OF(ZtVec2f, 8, 8),
             SIZE_OF(ZtVec3f, 12, 12),
             SIZE_OF(ZtVec4f, 16, 16),
             SIZE_OF(ZtVec2i, 8, 8),
             SIZE_OF(ZtVec3i, 12, 12),
             SIZE_OF(ZtVec4i, 16, 16),
             SIZE_OF(ZtVec3l, 24, 24),
             SIZE_OF(ZtVec3d, 24, 24),
             SIZE_OF(ZtDMatrix<float>, 12, 16),
             SIZE_OF(ZtMat3f, 36, 36),
             SIZE_OF(ZtMat4f, 64, 64),
             SIZE_OF(ZtRotation, 16, 16),
             SIZE_OF(ZtBox3f, 24, 24),
             SIZE_OF(ZtPlane, 16, 16),
             SIZE_OF(ZtLine, 24, 24),
             SIZE_OF(ZtSphere, 16, 16),
             SIZE_OF(ZtCutBoxPlane, 260, 260),
             SIZE_OF(ZtCutBoxPlaneDouble, 520, 520),
         })
        EXPECT_EQ(kHas32BitPointers ? row.with32BitPointers : row.with64BitPointers, row.actual)
            << row.name;
}

// In the ABI of every system we build for, the first word of a pointer to a virtual member is 1
// plus the offset of its slot in the virtual table.
template <class Member>
std::size_t slotOf(Member member) {
    std::ptrdiff_t offset;
    std::memcpy(&offset, &member, sizeof offset);
    EXPECT_EQ(1, offset & 1) << "not a virtual member";
    return static_cast<std::size_t>(offset - 1) / sizeof(void*);
}

// Expects the members in consecutive slots, the first in `slot`. A virtual destructor takes two.
template <class... Members>
void expectSlotsFrom(std::size_t slot, Members... members) {
    for (const std::size_t actual : {slotOf(members)...})
        EXPECT_EQ(slot++, actual);
}

struct Progress : ZtProgressInterface {
    static void expectOrder() {
        using P = ZtProgressInterface;
        expectSlotsFrom(0, &P::startWorkingNoStop, &P::startWorking, &P::stopWorking,
                        &P::setProgressValue, &P::wasInterrupted, &P::wasSuspended,
                        &P::setProgressTextEx, &P::getProgressValue,
                        static_cast<void (P::*)(int)>(&P::subdivide),
                        static_cast<void (P::*)(ZtDArray<float>&)>(&P::subdivide), &P::undivide,
                        &P::busy, &P::notBusy, &P::setMinimumTime, &P::setTitle, &P::cancel);
        expectSlotsFrom(18, &Progress::beforeStartWorking, &Progress::afterStopWorking,
                        &Progress::setProgressValueGlobal, &Progress::setProgressText);
    }
};

struct Exception : ZtException {
    static void expectOrder() {
        expectSlotsFrom(2, &ZtException::what, &Exception::doClone, &Exception::doRaise);
    }
};

struct Handable : ZtHandable {
    static void expectOrder() { expectSlotsFrom(2, &Handable::notifyDelete); }
};

struct Tokenizer : ZtStringTokenizer {
    static void expectOrder() { expectSlotsFrom(2, &Tokenizer::isSpace); }
};

TEST(Layout, VirtualOperationsKeepTheirSlots) {
    Progress::expectOrder();
    Exception::expectOrder();
    Handable::expectOrder();
    Tokenizer::expectOrder();
    expectSlotsFrom(0, &ZtTypedObject::getTypeId);
    using E = ZtEditable;
    expectSlotsFrom(0, &E::startEditing, &E::finishEditing, &E::isEdited, &E::isAllEdited,
                    &E::getEditingFlags);
    expectSlotsFrom(0, &ZtEditingListener::editingStarted, &ZtEditingListener::editingFinished);
    expectSlotsFrom(0, &NwParamBase::duplicate);
    using Check = NwParamEditCheck;
    expectSlotsFrom(2, &Check::checkRename, &Check::checkDelete, &Check::checkInsertBundle,
                    &Check::checkInsertParam, &Check::checkSetValue);
}

}  // namespace
