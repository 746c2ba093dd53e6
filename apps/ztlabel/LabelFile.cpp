#include "LabelFile.h"

#include "Failure.h"

#include <ztlib/ZtProgressInterface.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace ztlabel {

namespace {

bool isVersion2(const nifti_image& image) {
    return image.nifti_type == NIFTI_FTYPE_NIFTI2_1 || image.nifti_type == NIFTI_FTYPE_NIFTI2_2;
}

/// Where voxels start in a single file: behind header and extensions, at a multiple of 16. (The
/// library's own function for this leaves NIfTI-2 out.)
int64_t voxelOffset(const nifti_image& header, bool version2) {
    constexpr int64_t kExtender = 4;
    const std::size_t own = version2 ? sizeof(nifti_2_header) : sizeof(nifti_1_header);
    int64_t size = static_cast<int64_t>(own) + kExtender;
    for (int i = 0; i < header.num_ext; ++i)
        size += header.ext_list[i].esize;
    return (size + 15) / 16 * 16;
}

NiftiHeader labelHeader(const nifti_image& input, const LabelVolume& labels, int labelCount,
                        bool single) {
    NiftiHeader header(nifti_copy_nim_info(&input));
    if (!header)
        throw Failure("not enough memory for the header of the label volume");
    const bool second = isVersion2(input);
    if (single)
        header->nifti_type = second ? NIFTI_FTYPE_NIFTI2_1 : NIFTI_FTYPE_NIFTI1_1;
    else
        header->nifti_type = second ? NIFTI_FTYPE_NIFTI2_2 : NIFTI_FTYPE_NIFTI1_2;
    header->datatype = labels.isWide() ? NIFTI_TYPE_INT32 : NIFTI_TYPE_UINT16;
    nifti_datatype_sizes(header->datatype, &header->nbyper, &header->swapsize);
    header->byteorder = nifti_short_order();
    header->scl_slope = 1;
    header->scl_inter = 0;
    header->cal_min = 0;
    header->cal_max = labelCount;
    header->intent_code = NIFTI_INTENT_LABEL;
    header->intent_p1 = header->intent_p2 = header->intent_p3 = 0;
    std::snprintf(header->intent_name, sizeof(header->intent_name), "components");
    header->iname_offset = single ? voxelOffset(*header, second) : 0;
    return header;
}

template <class RawHeader>
void writeHeader(const nifti_image& header, int (*convert)(const nifti_image*, RawHeader*),
                 bool single, ByteSink& sink) {
    RawHeader raw;
    if (convert(&header, &raw) != 0)
        throw Failure("the header of the label volume cannot be formed");
    if constexpr (std::is_same_v<RawHeader, nifti_2_header>)  // the library writes half of it
        std::memcpy(raw.magic + 4, "\r\n\032\n", 4);
    sink.write(&raw, sizeof(raw));
    std::size_t size = sizeof(raw);

    const bool hasExtensions = header.num_ext > 0 && header.ext_list != nullptr;
    if (!single && !hasExtensions)
        return;
    const char extender[4] = {static_cast<char>(hasExtensions), 0, 0, 0};
    sink.write(extender, sizeof(extender));
    size += sizeof(extender);
    for (int i = 0; hasExtensions && i < header.num_ext; ++i) {
        const nifti1_extension& extension = header.ext_list[i];
        sink.write(&extension.esize, sizeof(extension.esize));
        sink.write(&extension.ecode, sizeof(extension.ecode));
        sink.write(extension.edata, static_cast<std::size_t>(extension.esize) - 8);
        size += static_cast<std::size_t>(extension.esize);
    }
    if (single) {
        const std::string padding(static_cast<std::size_t>(header.iname_offset) - size, '\0');
        sink.write(padding.data(), padding.size());
    }
}

std::string withoutSuffix(const std::string& text, const char* suffix) {
    return text.ends_with(suffix) ? text.substr(0, text.size() - std::strlen(suffix)) : text;
}

}  // namespace

bool LabelFile::isName(const std::string& path) {
    const std::string name = withoutSuffix(path, ".gz");
    return name.ends_with(".nii") || name.ends_with(".hdr") || name.ends_with(".img");
}

LabelFile::LabelFile(OutputFiles& outputs, const std::string& path)
    : compressed_(path.ends_with(".gz")) {
    const std::string name = withoutSuffix(path, ".gz");
    if (name.ends_with(".nii")) {
        headerFile_ = imageFile_ = &outputs.add(path);
        return;
    }
    const std::string stem = name.substr(0, name.size() - 4);
    const std::string end = compressed_ ? ".gz" : "";
    headerFile_ = &outputs.add(stem + ".hdr" + end);
    imageFile_ = &outputs.add(stem + ".img" + end);
}

void LabelFile::write(const nifti_image& input, const LabelVolume& labels, int labelCount,
                      ZtProgressInterface& progress) {
    const bool single = headerFile_ == imageFile_;
    const NiftiHeader header = labelHeader(input, labels, labelCount, single);
    CompressingSink image(*imageFile_, compressed_);
    CompressingSink separate(*headerFile_, compressed_ && !single);
    CompressingSink& headerSink = single ? image : separate;
    if (isVersion2(input))
        writeHeader<nifti_2_header>(*header, nifti_convert_nim2n2hdr, single, headerSink);
    else
        writeHeader<nifti_1_header>(*header, nifti_convert_nim2n1hdr, single, headerSink);
    separate.finish();

    constexpr std::size_t kChunk = 1 << 20;
    const std::size_t size = labels.sizeInBytes();
    for (std::size_t done = 0; done < size;) {
        const std::size_t count = std::min(kChunk, size - done);
        image.write(static_cast<const char*>(labels.data()) + done, count);
        done += count;
        progress.setProgressValue(static_cast<float>(done) / static_cast<float>(size));
    }
    image.finish();
}

}  // namespace ztlabel
