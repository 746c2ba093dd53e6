// What the tool writes: reports, tables, pictures and the header of the label volume.
#include "Tool.h"

#include <png.h>

#include <cstdlib>
#include <set>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class OutputTest : public ToolTest {
protected:
    /// Two components on a 4 x 3 x 2 grid of 1 x 2 x 3 mm: two voxels and one.
    Grid grid() const {
        Grid grid;
        grid.dims = {4, 3, 2};
        grid.values.resize(24);
        grid.values[0] = grid.values[1] = 50;
        grid.values[23] = 80;
        grid.spacing = {1, 2, 3};
        return grid;
    }
};

TEST_F(OutputTest, ReportsOnStandardOutputAlone) {
    write("a.nii", grid());
    const Outcome result = run("-t 50 -u 60 --mm a.nii");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::string report = result.out.substr(0, result.out.find("time:"));
    EXPECT_EQ(report,
              "a.nii: 4 x 3 x 2 voxels of uint8, 1 x 2 x 3 mm\n"
              "threshold 50 (inclusive), upper threshold 60, connectivity 26\n"
              "\n"
              "label  voxels  mm^3  share %  marked      x      y      z   x mm   y mm   z mm"
              "  x0  x1  y0  y1  z0  z1\n"
              "    1       2  12.0   66.667       0  0.500  0.000  0.000  0.500  0.000  0.000"
              "   0   1   0   0   0   0\n"
              "    2       1   6.0   33.333       1  3.000  2.000  1.000  3.000  4.000  3.000"
              "   3   3   2   2   1   1\n"
              "\n"
              "total: 2 components, 3 voxels, 18 mm^3, 12.500 % of the volume, 1 of the "
              "foreground's voxels marked\n");
    EXPECT_THAT(result.out.substr(report.size()),
                testing::MatchesRegex("time: reading .* s, labelling .* s, writing .* s\n"));
    EXPECT_THAT(run("-t 50 --rows 1 a.nii").out, HasSubstr("\n... and 1 more\n"));
    EXPECT_THAT(run("-t 50 --min-size 2 a.nii").out,
                HasSubstr("\nleft out: 1 of 2 components, 1 of 3 voxels\n"));
    EXPECT_EQ(run("-t 50 -q a.nii").out, "");
    EXPECT_THAT(run("-t 50 -v a.nii b.nii").err, HasSubstr("ztlabel: wrote 'b.nii'\n"));
    EXPECT_THAT(run("--help").out, HasSubstr("Examples:"));
    EXPECT_THAT(run("--version").out, StartsWith("ztlabel "));
}

TEST_F(OutputTest, RecordsSettingsAndTotals) {
    write("a.nii", grid());
    const Outcome result =
        run("-v -t 50 -u 60 --min-size 2 --table 'a \"b\".tsv' --report r.txt a.nii");
    const std::string record = read("r.txt");
    EXPECT_EQ(record,
              "ztlabel {\n"
              "    Input {\n"
              "        File \"a.nii\",\n"
              "        Size 4 3 2,\n"
              "        VoxelType \"uint8\",\n"
              "        SpacingInMm 1 2 3,\n"
              "        World \"spacing\"\n"
              "    }\n"
              "    Settings {\n"
              "        Mode \"threshold\",\n"
              "        Threshold 50,\n"
              "        ThresholdBy \"user\",\n"
              "        Upper 60,\n"
              "        Connectivity 26,\n"
              "        MinSize 2,\n"
              "        LargestOnly 0,\n"
              "        Sort \"size\",\n"
              "        Table \"a \\\"b\\\".tsv\"\n"
              "    }\n"
              "    Totals {\n"
              "        Found 2,\n"
              "        Kept 1,\n"
              "        FoundVoxels 3,\n"
              "        KeptVoxels 2,\n"
              "        KeptVolumeInMm3 12,\n"
              "        KeptShare 0.0833333333333,\n"
              "        MarkedVoxels 1\n"
              "    }\n"
              "}\n");
    EXPECT_THAT(result.err, HasSubstr("ztlabel: wrote 'r.txt'\n"));
    EXPECT_THAT(result.err, testing::EndsWith("ztlabel: settings and totals\n" + record));
    EXPECT_EQ(run("--labels --force --report r.txt -q a.nii").status, 0);
    EXPECT_THAT(read("r.txt"), HasSubstr("Mode \"labels\",\n        Connectivity 26,"));
}

TEST_F(OutputTest, SaysWhatItConverts) {
    Grid signedBytes = grid();
    signedBytes.datatype = NIFTI_TYPE_INT8;
    write("a.nii", signedBytes);
    EXPECT_EQ(run("-t 50 a.nii").err, "ztlabel: int8 voxels are converted to short\n");
    Grid large = grid();
    large.datatype = NIFTI_TYPE_UINT64;
    large.values[5] = 1e19;
    write("b.nii", large);
    EXPECT_EQ(run("-t 50 b.nii").err,
              "ztlabel: uint64 voxels are converted to double; values beyond 2^53 are rounded\n");
    EXPECT_EQ(run("--labels b.nii").status, 1);
}

TEST_F(OutputTest, WritesTables) {
    Grid field = grid();
    field.values.assign(24, 0);
    field.values[5] = 12;
    field.values[10] = 3;
    write("a.nii", field);
    const std::string columns = "source,name,x,y,z,x_mm,y_mm,z_mm,x0,x1,y0,y1,z0,z1\n";
    writeText("names.txt", "# value name\n\n0 rest\n12\tGyrus, \"left\" 7\r\n3 Cortex\n");
    EXPECT_EQ(run("--labels --names names.txt --table a.csv --table b.tsv a.nii").status, 2);
    EXPECT_EQ(run("--labels --names names.txt --table a.csv a.nii").status, 0);
    const std::string table = read("a.csv");
    EXPECT_THAT(table, StartsWith("label,voxels,volume_mm3,share," + columns +
                                  "1,22,132,0.916666667,0,rest,"));
    EXPECT_THAT(
        table,
        HasSubstr("\n2,1,6,0.0416666667,12,\"Gyrus, \"\"left\"\" 7\",1,1,0,1,2,0,1,1,1,1,0,0\n"));

    writeText("codes.txt", "0 rest 9001\n12 Gyrus_L 9002\n3 Cortex 9003\n");
    EXPECT_EQ(run("--labels --names codes.txt --table a.tsv a.nii").status, 0);
    EXPECT_THAT(read("a.tsv"), HasSubstr("\t12\tGyrus_L\t1\t1\t0\t"));
}

TEST_F(OutputTest, KeepsTheHeader) {
    Grid input = grid();
    input.slope = 2;
    input.annotated = true;
    for (int version : {1, 2}) {
        input.version = version;
        write("in.nii", input);
        for (const char* name : {"out.nii", "out.nii.gz", "out.hdr"}) {
            SCOPED_TRACE(std::string(name) + " version " + std::to_string(version));
            ASSERT_EQ(run(std::string("--force -q -t 100 in.nii ") + name).err, "");
            EXPECT_EQ(readLabels(name, NIFTI_TYPE_UINT16)[23], 2);
            nifti_image* out = nifti_image_read(path(name).c_str(), 0);
            ASSERT_NE(out, nullptr);
            int written = 0;
            void* const raw = nifti_read_header(path(name).c_str(), &written, 1);
            ASSERT_NE(raw, nullptr);
            EXPECT_EQ(written, version);
            std::free(raw);
            EXPECT_EQ(out->sform_code, 4);
            EXPECT_EQ(out->sto_xyz.m[1][3], -126);
            EXPECT_EQ(out->dz, 3);
            EXPECT_EQ(out->scl_slope, 1);
            EXPECT_EQ(out->cal_max, 2);
            EXPECT_EQ(out->intent_code, NIFTI_INTENT_LABEL);
            EXPECT_STREQ(out->descrip, "a scan");
            ASSERT_EQ(out->num_ext, 1);
            EXPECT_EQ(std::string(out->ext_list[0].edata, 6), "remark");
            nifti_image_free(out);
        }
    }
    const nlohmann::json json = runForJson("-t 100 in.nii");
    EXPECT_EQ(json["world"], "sform");
    EXPECT_EQ(json["table"][1]["centroid_mm"], nlohmann::json({87.0, -122.0, -69.0}));
}

TEST_F(OutputTest, DrawsAPicture) {
    write("a.nii", grid());
    Grid flat = grid();
    flat.dims = {12, 2, 1};
    write("flat.nii", flat);
    for (const char* call : {"-t 50 a.nii", "--labels a.nii", "-t 50 flat.nii", "-t 99 a.nii"}) {
        ASSERT_EQ(run(std::string("--force --picture a.png ") + call).status, 0) << call;
        png_image image = {};
        image.version = PNG_IMAGE_VERSION;
        ASSERT_TRUE(png_image_begin_read_from_file(&image, path("a.png").c_str())) << image.message;
        image.format = PNG_FORMAT_RGBA;
        std::vector<uint32_t> pixels(PNG_IMAGE_SIZE(image) / 4);
        ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
        EXPECT_GT(std::set<uint32_t>(pixels.begin(), pixels.end()).size(), 20u) << call;
    }
}
