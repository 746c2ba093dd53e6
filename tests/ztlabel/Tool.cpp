// The helpers of the tool's tests.
#include "Tool.h"

#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <type_traits>

namespace {

/// Calls f(T()) with the type of the voxels.
auto dispatch(int datatype, auto f) {
    switch (datatype) {
        case NIFTI_TYPE_INT8:
            return f(int8_t());
        case NIFTI_TYPE_INT16:
            return f(int16_t());
        case NIFTI_TYPE_UINT16:
            return f(uint16_t());
        case NIFTI_TYPE_INT32:
            return f(int32_t());
        case NIFTI_TYPE_UINT32:
            return f(uint32_t());
        case NIFTI_TYPE_INT64:
            return f(int64_t());
        case NIFTI_TYPE_UINT64:
            return f(uint64_t());
        case NIFTI_TYPE_FLOAT32:
            return f(float());
        case NIFTI_TYPE_FLOAT64:
            return f(double());
        default:
            return f(uint8_t());
    }
}

template <class Header>
std::string headerBytes(const Grid& grid, const char* magic, std::size_t offset) {
    Header header = {};
    header.sizeof_hdr = sizeof(Header);
    std::strcpy(header.magic, magic);
    if constexpr (std::is_same_v<Header, nifti_2_header>)
        std::memcpy(header.magic + 4, "\r\n\032\n", 4);
    header.dim[0] = grid.fourthDim > 1 ? 4 : grid.dims[2] > 1 ? 3 : 2;
    for (int axis = 0; axis < 7; ++axis)
        header.dim[axis + 1] = 1;
    for (int axis = 0; axis < 3; ++axis) {
        header.dim[axis + 1] = static_cast<short>(grid.dims[static_cast<std::size_t>(axis)]);
        header.pixdim[axis + 1] = static_cast<float>(grid.spacing[static_cast<std::size_t>(axis)]);
    }
    header.dim[4] = static_cast<short>(grid.fourthDim);
    header.pixdim[0] = 1;
    header.datatype = static_cast<short>(grid.datatype);
    int bytesPerVoxel = 0, swapSize = 0;
    nifti_datatype_sizes(grid.datatype, &bytesPerVoxel, &swapSize);
    header.bitpix = static_cast<short>(8 * bytesPerVoxel);
    header.vox_offset = static_cast<decltype(header.vox_offset)>(offset);
    header.scl_slope = static_cast<decltype(header.scl_slope)>(grid.slope);
    header.scl_inter = static_cast<decltype(header.scl_inter)>(grid.intercept);
    header.xyzt_units = NIFTI_UNITS_MM;
    if (grid.annotated) {
        header.sform_code = NIFTI_XFORM_MNI_152;
        const float rows[3][4] = {{-1, 0, 0, 90}, {0, 2, 0, -126}, {0, 0, 3, -72}};
        std::copy_n(rows[0], 4, header.srow_x);
        std::copy_n(rows[1], 4, header.srow_y);
        std::copy_n(rows[2], 4, header.srow_z);
        std::strcpy(header.descrip, "a scan");
    }
    if (grid.swapped)
        swap_nifti_header(&header, grid.version);
    std::string bytes(sizeof(Header), '\0');
    std::memcpy(bytes.data(), &header, sizeof(Header));
    bytes.resize(offset != 0 ? offset : sizeof(Header));
    if (grid.annotated) {
        const int extension[] = {1, 16, NIFTI_ECODE_COMMENT};
        std::memcpy(bytes.data() + sizeof(Header), extension, sizeof(extension));
        std::memcpy(bytes.data() + sizeof(Header) + sizeof(extension), "remark", 6);
    }
    return bytes;
}

void save(const std::string& file, const std::string& bytes) {
    if (file.ends_with(".gz")) {
        const gzFile out = gzopen(file.c_str(), "wb");
        gzwrite(out, bytes.data(), static_cast<unsigned>(bytes.size()));
        gzclose(out);
    } else {
        std::ofstream(file, std::ios::binary) << bytes;
    }
}

std::string contentOf(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace

double storedAs(int datatype, double value) {
    return dispatch(datatype, [=](auto type) {
        return static_cast<double>(static_cast<decltype(type)>(value));
    });
}

ToolTest::ToolTest() {
    std::string name = (fs::temp_directory_path() / "ztlabel-test-XXXXXX").string();
    folder_ = mkdtemp(name.data());
}

ToolTest::~ToolTest() {
    fs::remove_all(folder_);
}

Outcome ToolTest::run(const std::string& arguments, const std::string& before) const {
    const std::string out = folder_.string() + ".out";
    const std::string err = folder_.string() + ".err";
    const int status =
        std::system(("cd '" + folder_.string() + "' && { " + before + " '" ZTLABEL_PROGRAM "' " +
                     arguments + " ; } >'" + out + "' 2>'" + err + "'")
                        .c_str());
    const Outcome outcome = {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                             contentOf(out), contentOf(err)};
    fs::remove(out);
    fs::remove(err);
    return outcome;
}

nlohmann::json ToolTest::runForJson(const std::string& arguments) const {
    const Outcome result = run("--force -q --json result.json " + arguments);
    EXPECT_EQ(result.status, 0) << arguments;
    EXPECT_EQ(result.out + result.err, "") << arguments;
    return nlohmann::json::parse(read("result.json"), nullptr, false);
}

void ToolTest::write(const std::string& name, const Grid& grid) const {
    std::string voxels;
    for (double value : grid.values)
        dispatch(grid.datatype, [&](auto stored) {
            stored = static_cast<decltype(stored)>(value);
            voxels.append(reinterpret_cast<const char*>(&stored), sizeof stored);
        });
    int bytesPerVoxel = 0, swapSize = 0;
    nifti_datatype_sizes(grid.datatype, &bytesPerVoxel, &swapSize);
    if (grid.swapped && swapSize > 1)
        nifti_swap_Nbytes(static_cast<int64_t>(voxels.size()) / swapSize, swapSize, voxels.data());

    const bool pair = name.find(".hdr") != std::string::npos;
    const std::size_t headerSize = (grid.version == 1 ? 352u : 544u) + (grid.annotated ? 16u : 0u);
    const std::string magic =
        std::string(pair ? "ni" : "n+") + static_cast<char>('0' + grid.version);
    const std::string header =
        grid.version == 1 ? headerBytes<nifti_1_header>(grid, magic.c_str(), pair ? 0 : headerSize)
                          : headerBytes<nifti_2_header>(grid, magic.c_str(), pair ? 0 : headerSize);
    if (!pair)
        return save(path(name), header + voxels);
    std::string image = name;
    save(path(name), header);
    save(path(image.replace(image.find(".hdr"), 4, ".img")), voxels);
}

void ToolTest::writeText(const std::string& name, const std::string& text) const {
    save(path(name), text);
}

std::string ToolTest::read(const std::string& name) const {
    return contentOf(path(name));
}

std::vector<int> ToolTest::readLabels(const std::string& name, int datatype) const {
    nifti_image* image = nifti_image_read(path(name).c_str(), 1);
    if (image == nullptr || image->data == nullptr || image->datatype != datatype) {
        ADD_FAILURE() << name << " is no label volume of type " << datatype;
        nifti_image_free(image);
        return {};
    }
    std::vector<int> labels;
    for (int64_t i = 0; i < image->nvox; ++i)
        labels.push_back(datatype == NIFTI_TYPE_UINT16 ? static_cast<uint16_t*>(image->data)[i]
                                                       : static_cast<int*>(image->data)[i]);
    nifti_image_free(image);
    return labels;
}

std::vector<std::string> ToolTest::files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}
