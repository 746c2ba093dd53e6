// What compiled plug-ins rely on: the sizes of the public types and the order of virtual slots.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <typeinfo>
#include <utility>

#include "PublicHeaders.h"

namespace {

/// Expects that size of all the types, with pointers of 32 and of 64 bits.
template <class... Types>
void expectSize(std::size_t with32BitPointers, std::size_t with64BitPointers) {
    const std::size_t expected = sizeof(void*) == 4 ? with32BitPointers : with64BitPointers;
    const std::pair<const char*, std::size_t> sizes[] = {{typeid(Types).name(), sizeof(Types)}...};
    for (const auto& [name, actual] : sizes)
        EXPECT_EQ(expected, actual) << name;
}

TEST(Layout, SizesAreThoseThatPlugInsWereCompiledFor) {
    expectSize<ZtPrimType, ZtRemotificationID>(4, 4);
    expectSize<ZtResult, ZtLogFile, ZtTypedObject, ZtEditingListener>(4, 8);
    expectSize<ZtDataType, ZtDSO, NwParamEditCheck>(4, 8);
    expectSize<ZtVec2f, ZtVec2i, ZtFrameID>(8, 8);
    expectSize<ZtHandle<ZtHandable>, ZtTypedPointer, ZtInterface, ZtAllocator>(8, 16);
    expectSize<ZtVec3f, ZtVec3i, ZtServerSocket>(12, 12);
    expectSize<ZtDArray<int>, ZtHandable, ZtBitfield, ZtDMatrix<float>>(12, 16);
    expectSize<TrDeploy::MD5, ZtVec4f, ZtVec4i, ZtRotation, ZtPlane, ZtSphere>(16, 16);
    expectSize<ZtMessageCollector, ZtDataPointer>(16, 24);
    expectSize<ZtTypeInfo>(16, 32);
    expectSize<ZtEditable>(20, 32);
    expectSize<NwParamBase>(20, 40);
    expectSize<ZtConnectedComponents::Component, ZtVec3l, ZtVec3d, ZtBox3f, ZtLine>(24, 24);
    expectSize<ZtString, ZtFilename>(24, 32);
    expectSize<ZtException, ZtTmpDir, ZtScanConvert>(28, 40);
    expectSize<ZtWatch>(32, 40);
    expectSize<ZtMemoryException, ZtMessageCollector::TCountedMsg>(32, 48);
    expectSize<NwParameter>(32, 56);
    expectSize<ZtMat3f>(36, 36);
    expectSize<NwParamBundle>(36, 64);
    expectSize<ZtStringTokenizer>(40, 56);
    expectSize<ZtInterfaceOwner>(48, 72);
    expectSize<ZtStringTokenizerGeneral>(52, 72);
    expectSize<ZtMat4f>(64, 64);
    expectSize<ZtStdStringTokenizer>(64, 88);
    expectSize<ZtBytePattern>(68, 68);
    expectSize<ZtCreateUIDs>(72, 96);
    expectSize<ZtHttpd>(80, 112);
    expectSize<ZtResultBase>(96, 128);
    expectSize<ZtCutBoxPlane>(260, 260);
    expectSize<ZtCutBoxPlaneDouble>(520, 520);
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
