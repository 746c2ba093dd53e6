// From a 16-bit volume to its objects: threshold, open the mask, label what is left, report.
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMorphology.h>

#include <cstddef>
#include <cstdio>

using ZtConnectedComponents::Component;

/// Finds the objects of at least `threshold` in a volume, without bridges and specks of one voxel:
/// the mask is eroded and dilated by one step, then labelled with all 26 neighbours.
void findObjects(const unsigned short* voxels, const ZtVec3i& dims, unsigned short threshold,
                 ZtDArray<Component>& objects) {
    const auto n = static_cast<unsigned>(dims.x * dims.y * dims.z);
    ZtBitfield mask(n);
    for (unsigned i = 0; i < n; ++i)
        if (voxels[i] >= threshold)
            mask.set(i);

    ZtMorphology::erosion3D(mask, mask, dims, 1);
    ZtMorphology::dilation3D(mask, mask, dims, 1);

    ZtDArray<unsigned char> opened(static_cast<int>(n));
    opened.fill(0);
    mask.toLabels(n, opened.dataPtr(), 1, ZtBitfield::INSERT_ALWAYS);

    const int extents[3] = {dims.x, dims.y, dims.z};
    unsigned short* labels = nullptr;
    ZtConnectedComponents::labelCC(ZtTypedPointer(opened.dataPtr()), extents, 26, labels, 0, 1, 1,
                                   0, 0, &objects, nullptr);
    ztfree(labels);  // nobody asks which voxel is whose here
}

/// Sets the voxels of a ball to `value`.
static void drawBall(unsigned short* voxels, const ZtVec3i& dims, const ZtVec3i& centre, int radius,
                     unsigned short value) {
    for (int z = 0; z < dims.z; ++z)
        for (int y = 0; y < dims.y; ++y)
            for (int x = 0; x < dims.x; ++x)
                if ((ZtVec3i(x, y, z) - centre).length2() <= radius * radius)
                    voxels[x + dims.x * (y + dims.y * z)] = value;
}

int main() {
    const ZtVec3i dims(48, 32, 32);
    ZtDArray<unsigned short> volume(dims.x * dims.y * dims.z);
    volume.fill(12);
    drawBall(volume.dataPtr(), dims, ZtVec3i(12, 16, 16), 9, 900);
    drawBall(volume.dataPtr(), dims, ZtVec3i(35, 16, 16), 7, 700);
    for (int x = 12; x <= 35; ++x)
        volume[x + dims.x * (16 + dims.y * 16)] = 500;  // a bridge
    volume[0] = 40000;                                  // a speck

    ZtDArray<Component> objects;
    findObjects(volume.dataPtr(), dims, 500, objects);
    for (int i = 1; i < objects.size(); ++i) {
        const Component& object = objects[i];
        const auto voxels = static_cast<float>(object.numVoxels);
        std::printf("object %d: %u voxels around (%.1f, %.1f, %.1f)\n", i, object.numVoxels,
                    static_cast<double>(object.sumX / voxels),
                    static_cast<double>(object.sumY / voxels),
                    static_cast<double>(object.sumZ / voxels));
    }
}
