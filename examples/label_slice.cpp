// A user's first program: label a small slice and print what was found.
#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtTypedPointer.h>

#include <cstdio>

int main() {
    unsigned char slice[] = {9, 9, 0, 0,  //
                             0, 0, 0, 7,  //
                             0, 0, 7, 7};
    const int dims[3] = {4, 3, 1};
    unsigned short* labels = nullptr;
    ZtDArray<ZtConnectedComponents::Component> components;
    const int count = ZtConnectedComponents::labelCC(ZtTypedPointer(slice), dims, 8, labels, 0, 5.0,
                                                     8.0, 0, 0, &components, nullptr);
    std::printf("%d components\n", count);
    for (int i = 1; i <= count; ++i)
        std::printf("component %d: %u voxels, %u of them marked\n", i, components[i].numVoxels,
                    components[i].mark);
    ztfree(labels);
    return count == 2 ? 0 : 1;
}
