// How the tool fails: with one clear line, the right status, and nothing half-written.
#include "Tool.h"

#include <sys/stat.h>

#include <fstream>
#include <random>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FailureTest : public ToolTest {
protected:
    FailureTest() {
        write("good.nii", cube());
        write("good.nii.gz", cube());
    }

    /// Noise, which does not compress.
    static Grid cube(int edge = 8) {
        Grid grid;
        grid.dims = {edge, edge, edge};
        std::mt19937 random(1);
        for (int i = 0; i < edge * edge * edge; ++i)
            grid.values.push_back(static_cast<double>(random() & 255));
        return grid;
    }

    void expectOneLine(const Outcome& result, int status, const std::string& words) const {
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, testing::StartsWith("ztlabel: "));
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
        EXPECT_THAT(result.err, HasSubstr(words));
    }
};

TEST_F(FailureTest, WrongCallsEndWithStatus2) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "INPUT is required"},
        {"good.nii", "say what to label"},
        {"-t high good.nii", "'high' is not a number"},
        {"-t 1,5 good.nii", "'1,5' is not a number"},
        {"-t nan good.nii", "'nan' is not a number"},
        {"-t 5 -u high good.nii", "--upper: 'high' is not a number"},
        {"-t 5 --labels good.nii", "exclude each other"},
        {"--labels -u 5 good.nii", "--upper goes with --threshold"},
        {"-t 5 --names n.txt good.nii", "--names goes with --labels"},
        {"-t 5 -c 7 good.nii", "7 is none of 4, 8, 10, 6, 18, 26"},
        {"-t 5 -c all good.nii", "all"},
        {"-t 5 --min-size -3 good.nii", "cannot be negative"},
        {"-t 5 --sort name good.nii", "neither 'size' nor 'raster'"},
        {"-t 5 --unknown good.nii", "--unknown"},
        {"-t 5 good.nii a.nii b.nii", "b.nii"},
        {"-t 5 good.nii out.txt", "must end in .nii"},
        {"-t 5 --table out.xls good.nii", "must end in .tsv or .csv"},
        {"-t 5 --picture out.jpg good.nii", "must end in .png"},
        {"-t 5 --json out.nii good.nii ./out.nii", "named as two outputs"},
        {"-t 5 --table out.tsv --report out.tsv good.nii", "named as two outputs"},
    };
    const std::vector<std::string> before = files();
    for (const auto& [arguments, words] : rows) {
        SCOPED_TRACE(arguments);
        expectOneLine(run(arguments), 2, words);
    }
    EXPECT_EQ(files(), before);
}

TEST_F(FailureTest, BadInputsEndWithStatus1) {
    Grid huge = cube();
    huge.dims = {2000, 2000, 2000};
    huge.values.clear();
    write("huge.nii", huge);
    write("huge.nii.gz", huge);
    Grid series = cube();
    series.fourthDim = 2;
    series.values.resize(1024);
    write("series.nii", series);
    for (auto [name, type] :
         {std::pair("complex.nii", NIFTI_TYPE_COMPLEX64), std::pair("colour.nii", NIFTI_TYPE_RGB24),
          std::pair("quad.nii", NIFTI_TYPE_FLOAT128)}) {
        Grid grid = cube();
        grid.datatype = type;
        write(name, grid);
    }
    writeText("text.nii", std::string(5000, 'x'));
    writeText("empty.nii", "");
    writeText("word.txt", "hello");
    const std::string packed = read("good.nii.gz");
    writeText("packed.nii", std::string(500, '\0').replace(0, packed.size(), packed));
    std::string broken = packed;
    broken[packed.size() - 6] = static_cast<char>(~broken[packed.size() - 6]);
    for (const auto& [name, bytes] :
         {std::pair("cut.nii.gz", packed.substr(0, packed.size() * 2 / 3)),
          std::pair("cut-end.nii.gz", packed.substr(0, packed.size() - 5)),
          std::pair("broken.nii.gz", broken)})
        std::ofstream(path(name), std::ios::binary) << bytes;  // as they stand, not compressed
    writeText("cut.nii", read("good.nii").substr(0, 800));
    writeText("alone.hdr", read("good.nii").substr(0, 348).replace(344, 2, "ni"));

    const std::pair<const char*, const char*> rows[] = {
        {"missing.nii", "'missing.nii': no such file"},
        {".", "is a directory"},
        {"word.txt", "is not a volume"},
        {"empty.nii", "0 bytes are too few"},
        {"text.nii", "has no NIfTI header"},
        {"packed.nii", "does not end in .gz"},
        {"huge.nii", "declares 2000 x 2000 x 2000 voxels of uint8, but the file has 352 bytes"},
        {"huge.nii.gz", "declares 2000 x 2000 x 2000 voxels"},
        {"cut.nii", "is truncated"},
        {"cut.nii.gz", "is truncated"},
        {"cut-end.nii.gz", "is truncated"},
        {"broken.nii.gz", "is damaged"},
        {"alone.hdr", "image file"},
        {"series.nii", "is 4-D (8 x 8 x 8 x 2)"},
        {"complex.nii", "complex voxels"},
        {"colour.nii", "colour voxels"},
        {"quad.nii", "128-bit"},
    };
    const std::vector<std::string> before = files();
    for (const auto& [name, words] : rows) {
        SCOPED_TRACE(name);
        expectOneLine(run("-t 5 --json out.json --report r " + std::string(name) + " out.nii"), 1,
                      words);
    }
    expectOneLine(run("--labels --names missing.txt good.nii"), 1, "missing.txt");
    expectOneLine(run("--labels --names huge.nii good.nii"), 1, "is no list of names");
    EXPECT_EQ(files(), before);
}

TEST_F(FailureTest, SurvivesDamagedHeaders) {
    const std::string good = read("good.nii");
    std::mt19937 random(11);
    for (int turn = 0; turn < 150; ++turn) {
        std::string bad = good;
        for (int n = 0; n < 3; ++n)
            bad[random() % 120] = static_cast<char>(turn % 2 == 0 ? random() : 0x7f);
        writeText("bad.nii", bad);
        const Outcome result = run("-t 5 bad.nii");
        ASSERT_LE(result.status, 1) << turn << ": " << result.err;
        if (result.status == 1) {
            expectOneLine(result, 1, "bad.nii");
        }
    }
}

TEST_F(FailureTest, RefusesOutputsThatExistOrCannotBe) {
    const std::string all =
        "-t 5 good.nii out.hdr --table t.tsv --json j.json --picture p.png --report r.txt";
    for (const char* name : {"out.hdr", "out.img", "t.tsv", "j.json", "p.png", "r.txt"}) {
        SCOPED_TRACE(name);
        writeText(name, "precious");
        expectOneLine(run(all), 1, std::string("'") + name + "' exists already");
        EXPECT_EQ(read(name), "precious");
        fs::remove(path(name));
        EXPECT_THAT(files(), ElementsAre("good.nii", "good.nii.gz"));
    }
    writeText("out.img", "old");
    fs::create_symlink("elsewhere.json", path("j.json"));
    writeText("elsewhere.json", "old");
    EXPECT_EQ(run(all + " --force").status, 0);
    EXPECT_TRUE(fs::is_symlink(path("j.json")));
    EXPECT_THAT(read("elsewhere.json"), HasSubstr("\"components\""));
    EXPECT_EQ(readLabels("out.img", NIFTI_TYPE_UINT16).size(), 512u);

    expectOneLine(run("-t 5 good.nii nowhere/out.nii"), 1, "No such file or directory");
    expectOneLine(run("-t 5 --json /dev/full --force good.nii"), 1, "not a regular file");
    fs::create_directory(path("folder.nii"));
    expectOneLine(run("-t 5 --force good.nii folder.nii"), 1, "not a regular file");
    const Outcome full = run("-t 5 good.nii >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, HasSubstr("cannot print the report"));
}

TEST_F(FailureTest, AFullDiskLeavesNothing) {
    write("noise.nii", cube(64));
    writeText("out.nii.gz", "precious");
    const std::string kept = read("out.nii.gz");
    const std::vector<std::string> before = files();
    // At most 32 KiB per file: the volume and the JSON do not fit.
    for (const char* call : {"-t 128 -c 6 noise.nii out.nii.gz", "-t 128 -c 6 noise.nii out.hdr",
                             "-t 200 -c 6 --json out.json --report r.txt noise.nii"}) {
        SCOPED_TRACE(call);
        const Outcome result = run(std::string("--force -q ") + call, "ulimit -f 64;");
        expectOneLine(result, 1, "cannot write 'out.");
        EXPECT_EQ(files(), before);
    }
    EXPECT_EQ(read("out.nii.gz"), kept);
}

TEST_F(FailureTest, ASignalLeavesNothing) {
    write("noise.nii", cube(160));
    const std::vector<std::string> before = files();
    for (const char* signal : {"INT", "TERM", "HUP"}) {
        SCOPED_TRACE(signal);
        // Waits until the temporary files are there. A background job of a shell ignores INT unless
        // env lifts that.
        const Outcome result =
            run("-t 128 noise.nii out.nii.gz --json out.json & p=$!; "
                "until ls .ztlabel-* >/dev/null 2>&1; do sleep 0.01; done; kill -" +
                    std::string(signal) + " $p; wait $p",
                "env --default-signal=INT");
        EXPECT_GT(result.status, 128);
        EXPECT_THAT(result.err, HasSubstr("ztlabel: interrupted\n"));
        EXPECT_EQ(files(), before);
    }
}
