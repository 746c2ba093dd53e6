// The metadata of a medical data object: built, printed, merged with another, and searched for what
// has changed.
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtString.h>

#include <cstdio>

namespace {

void addMaterial(NwParamBundle& record, const char* name, int id, float red, float green,
                 float blue) {
    NwParamBundle& material = *record.materials(1)->bundle(name, 1);
    const float color[3] = {red, green, blue};
    material.set("Id", id);
    material.setColor(color);
    record.materials();  // protects the new material, too
}

// Prints what has changed. The marks of a bundle tell whether nodes came or went in it, and whether
// there is more below it, so that what has not changed is never looked at.
void printChanges(const NwParamBase& node, const ZtString& path) {
    if (!node.isBundle()) {
        std::printf("changed: %s = %s\n", path.getString(),
                    static_cast<const NwParameter&>(node).getString());
        return;
    }
    const auto& bundle = static_cast<const NwParamBundle&>(node);
    if (bundle.isNew(NwParamBase::kChanged))
        std::printf("changed: what %s holds\n", path.getString());
    for (int i = 0; i < bundle.size(); ++i)
        if (bundle[i]->isNew(NwParamBase::kTouched))
            printChanges(*bundle[i], path + "/" + bundle[i]->name());
}

}  // namespace

int main() {
    NwParamBundle record("Parameters");
    const float voxelSize[3] = {0.5f, 0.5f, 1.25f};
    record.set("VoxelSize", 3, voxelSize);
    record.set("Remark", "contrast \"A\"");
    addMaterial(record, "Bone", 1, 1, 1, 0.8f);
    addMaterial(record, "Vessel", 2, 0.9f, 0, 0);
    record.boundaryIds(1)->set("Wall", 7);
    NwParamBundle& dicom = record.dicomAllCreate();
    dicom.set("G0010-0010", "Doe^Jane");
    dicom.set("G0020-0013", 12);

    // As a file has it: with commas, and without what is marked to be left out.
    dicom.find("G0010-0010")->setFlag(NwParamBase::kNotInStreams, 1);
    std::printf("to a stream:\n");
    record.print(stdout);
    ZtString text;
    record.print(text);
    std::printf("as a text:\n%s", text.getString());

    // A second session changes a colour and adds a material. Names are matched in any case.
    NwParamBundle update("Update");
    addMaterial(update, "vessel", 2, 0, 0, 1);
    addMaterial(update, "Tumour", 3, 0, 1, 0);
    update.set("remark", "reviewed");
    record.untouchAll();
    update.untouchAll();
    record.copy(update);
    record.dicomAllCreate().set("G0020-0013", 13);

    float color[3];
    if (record.materials()->bundle("VESSEL")->findColor(color))
        std::printf("vessels are drawn in %g %g %g\n", color[0], color[1], color[2]);
    record.materials()->remove("Bone");  // protected: nothing happens
    std::printf("%d materials\n", record.materials()->nBundles());
    printChanges(record, record.name());
}
