// Values for the debugger to show. Above each variable stands what gdb prints for it.
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtDMatrix.h>
#include <ztlib/ZtFrameID.h>
#include <ztlib/ZtHandle.h>
#include <ztlib/ZtMat3f.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtResult.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtVec2i.h>
#include <ztlib/ZtVec3d.h>
#include <ztlib/ZtVec4f.h>

#include <cstdio>

struct Shape : ZtHandable {
    int corners = 3;
};

struct Ring : Shape {
    ZtString name = "ring";
};

int main() {
    ZtDArray<int> array;
    ZtDArray<ZtString> texts;
    array.push(7);
    array.push(-1);
    texts.push("one");
    ZtBitfield bits(35);
    bits.set(1);
    bits.set(34);
    ZtDMatrix<double> dense(2, 3);
    for (int i = 0; i < 6; ++i)
        dense(i / 3, i % 3) = i == 5 ? 0.5 : 0;
    const int sizes[] = {1, 2};
    NwParamBundle* const bundle = NwParamBundle::create("V");
    bundle->set("M", "MR");
    bundle->set("S", 2, sizes);
    bundle->insert(NwParamBundle::create("E"));

    //= ZtDArray of 2, room for 2 = {7, -1}
    auto& aArray = array;
    //= ZtDArray of 1, room for 1 = {"one"}
    auto& aTexts = texts;
    //= ZtDArray of 0, room for 0
    const ZtDArray<char> aNoArray;
    //= "say \"ah\"\n"
    const ZtString aText("say \"ah\"\n");
    //= ""
    const ZtString aNoText;
    //= ZtHandle to Ring, 2 references = {object = {<Shape> = {<ZtHandable> = {
    const ZtHandle<Shape> aHandle(new Ring);
    const ZtHandle<Shape> again(aHandle);
    //= ZtHandle to nothing
    const ZtHandle<Shape> aNoHandle;
    //= ZtBitfield of 35 bits, 2 set: 01000000000000000000000000000000001
    auto& aBits = bits;
    //= ZtBitfield of 0 bits
    const ZtBitfield aNoBits;
    //= (1, -2)
    const ZtVec2i aVector2(1, -2);
    //= (0.5, 0, 1024.5)
    const ZtVec3d aVector3(0.5, 0, 1024.5);
    //= (1, 2, 3, 4)
    const ZtVec4f aVector4(1, 2, 3, 4);
    //= (0, 0, 0, 1)
    const ZtRotation aRotation;
    //= 3 x 3 = {[0] = (1, 0, 0), [1] = (0, 1, 0), [2] = (0, 0, 1)}
    const ZtMat3f aMatrix3 = ZtMat3f::identity();
    //= 4 x 4 = {[0] = (2, 0, 0, 0), [1] = (0, 2, 0, 0), [2] = (0, 0, 2, 0), [3] = (0, 0, 0, 1)}
    const ZtMat4f aMatrix4(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1);
    //= ZtDMatrix 2 x 3 = {[0] = (0, 0, 0), [1] = (0, 0, 0.5)}
    auto& aDense = dense;
    //= 5: no room: the disk is full (disk.cpp:12)
    const ZtResult aResult(5, 12, "disk.cpp", "no room", "the disk is full");
    //= "Spacing", double: 2.5
    const NwParameter aParameter("Spacing", 2.5);
    //= float
    const ZtPrimType aType(ZtPrimType::FLOAT);
    //= 12
    const ZtFrameID aFrame(12);
    //= empty
    const ZtFrameID aNoFrame;
    //= "V", bundle of 3 = {[0] = "E", bundle of 0, [1] = "M", string: "MR", [2] = "S", int: (1, 2)}
    auto& aBundle = *bundle;

    std::puts("here");  // the debugger stops here
    delete bundle;
    return again->corners - 3;
}
