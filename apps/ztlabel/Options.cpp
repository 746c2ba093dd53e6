#include "Options.h"

#include "Failure.h"
#include "LabelFile.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <set>
#include <sstream>

namespace ztlabel {

namespace {

constexpr char kDescription[] =
    "Finds the connected components of a NIfTI volume: of the voxels at or above a threshold, or,\n"
    "with --labels, of the regions of a label field. Prints a table; OUTPUT receives the labels.";

constexpr char kFooter[] = R"(
Thresholds are inclusive and in scaled units (slope x stored value + intercept of the header). Otsu's
method (1979) splits the histogram so that the variance between the two classes is largest.
The mask of these voxels can be changed before it is labelled: --erode takes away, N times, the voxels
that share a face with one outside it, --dilate adds those that share a face with one in it; --open
erodes and then dilates, --close dilates and then erodes. Voxels outside the volume do not count. The
steps are taken in the order given. A region (--roi) limits the mask in every slice before and after them;
the centres of voxels have whole numbers there, as in the table.
Connectivity: 6 faces, 18 and edges, 26 and corners; 4 and 8 label slice by slice, 10 adds the faces
between slices to 8. With --labels, voxels belong together where their values are equal, 0 included.
World coordinates are those of the sform, else of the qform, else spacing.
Labels count from 1: in order of size, the largest first, unless --sort raster. The label volume
keeps the header, spacing and orientation of its input; it has 16 bits, or 32 where the count needs
it. Messages go to standard error. An output that exists is only overwritten with --force.
Exit status: 0 done; 1 the work failed, nothing was written; 2 the call was wrong.

Examples:
  ztlabel --threshold 100 brain.nii.gz components.nii.gz
      label everything from 100 up, with connectivity 26
  ztlabel --threshold 2.3 --upper 3.1 --min-size 20 --mm --table clusters.tsv zstat.nii.gz
      clusters of a statistic image of at least 20 voxels, their peaks' voxels counted
  ztlabel --threshold otsu --largest head.nii mask.nii
      keep the largest bright object
  ztlabel --threshold 100 --open 1 --roi "20,30 160,30 160,190 20,190" brain.nii.gz inside.nii.gz
      cut thin bridges, and look at a part of each slice only
  ztlabel --labels --names aal.nii.txt --connectivity 6 --picture aal.png aal.nii.gz
      is every region of an atlas in one piece?)";

double parseNumber(const std::string& option, const std::string& text) {
    const char* first = text.data();
    const char* const last = first + text.size();
    if (first != last && *first == '+')
        ++first;
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc() || end != last || std::isnan(value))
        throw CallError(option + ": '" + text + "' is not a number");
    return value;
}

std::vector<ZtVec2f> parsePolygon(const std::string& option, const std::string& text) {
    std::vector<ZtVec2f> corners;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const std::size_t comma = word.find(',');
        if (comma == std::string::npos)
            throw CallError(option + ": '" + word + "' is no corner x,y");
        corners.emplace_back(static_cast<float>(parseNumber(option, word.substr(0, comma))),
                             static_cast<float>(parseNumber(option, word.substr(comma + 1))));
        if (!std::isfinite(corners.back().x) || !std::isfinite(corners.back().y))
            throw CallError(option + ": '" + word + "' is too far away");
    }
    if (corners.size() < 3)
        throw CallError(option + ": a polygon has at least three corners x,y");
    return corners;
}

struct Texts {
    std::string threshold;
    std::string upper;
    std::string sort = "size";
};

void declare(CLI::App& app, Options& options, Texts& texts) {
    app.add_option("INPUT", options.input, "volume (.nii, .nii.gz, .hdr/.img)")->required();
    app.add_option("OUTPUT", options.output, "label volume (.nii, .nii.gz, .hdr/.img)");

    const char* const what = "What is labelled";
    app.add_option("-t,--threshold", texts.threshold,
                   "label the voxels at or above T; otsu: find T")
        ->type_name("T|otsu")
        ->group(what);
    app.add_option("-u,--upper", texts.upper, "count per component the voxels at or above T2")
        ->type_name("T2")
        ->group(what);
    app.add_flag("-l,--labels", options.labelField,
                 "INPUT is a label field: find its connected pieces")
        ->group(what);
    app.add_option("--names", options.namesFile,
                   "names of a label field's values: lines of value, name")
        ->type_name("FILE")
        ->group(what);
    app.add_option("-c,--connectivity", options.connectivity,
                   "4, 8, 10, 6, 18 or 26; default 26, in 2-D 8")
        ->type_name("N")
        ->group(what);

    const char* const mask = "How the mask is changed first";
    const auto addStep = [&](MaskStep::Kind kind, const char* effect) {
        app.add_option_function<int>(
               std::string("--") + nameOf(kind),
               [&options, kind](int count) {
                   options.maskSteps.push_back({kind, count});
               },
               effect)
            ->trigger_on_parse()
            ->type_name("N")
            ->group(mask);
    };
    addStep(MaskStep::Kind::kErosion, "erode it N times");
    addStep(MaskStep::Kind::kDilation, "dilate it N times");
    addStep(MaskStep::Kind::kOpening, "erode it N times, then dilate it N times");
    addStep(MaskStep::Kind::kClosing, "dilate it N times, then erode it N times");
    app.add_option("--roi", options.regionText, "label within a polygon of each slice only")
        ->type_name("\"X,Y X,Y X,Y ...\"")
        ->group(mask);

    const char* const kept = "What is kept";
    app.add_option("--min-size", options.minSize, "leave out components of fewer than N voxels")
        ->type_name("N")
        ->group(kept);
    app.add_flag("--largest,--keep-largest", options.largestOnly, "keep the largest component only")
        ->group(kept);
    app.add_option("--sort", texts.sort, "number by 'size' (default) or in 'raster' order")
        ->type_name("size|raster")
        ->group(kept);

    const char* const reports = "Reports";
    app.add_flag("--mm", options.worldCoordinates,
                 "print centres of mass in world millimetres, too")
        ->group(reports);
    app.add_option("--rows", options.rows, "print N rows at most; default all, 40 on a terminal")
        ->type_name("N")
        ->group(reports);
    app.add_option("--table", options.table, "write all rows as a table")
        ->type_name("FILE.tsv|.csv")
        ->group(reports);
    app.add_option("--json", options.json, "write everything as JSON")
        ->type_name("FILE")
        ->group(reports);
    app.add_option("--picture", options.picture, "draw the middle slices and the sizes")
        ->type_name("FILE.png")
        ->group(reports);
    app.add_option("--report", options.report, "write settings and totals, as -v prints them")
        ->type_name("FILE")
        ->group(reports);
    app.add_flag("--force", options.overwrite, "overwrite outputs that exist")->group(reports);
    app.add_flag_callback(
           "-q,--quiet", [&] { options.verbosity = Verbosity::quiet; },
           "no report and no messages but errors")
        ->group(reports);
    app.add_flag_callback(
           "-v,--verbose", [&] { options.verbosity = Verbosity::verbose; },
           "say more, and print settings and totals")
        ->group(reports);
}

void interpret(Options& options, const Texts& texts) {
    if (!texts.threshold.empty()) {
        options.otsu = texts.threshold == "otsu";
        if (!options.otsu)
            options.threshold = parseNumber("--threshold", texts.threshold);
    }
    if (!texts.upper.empty())
        options.upper = parseNumber("--upper", texts.upper);
    if (!options.regionText.empty())
        options.region = parsePolygon("--roi", options.regionText);
    if (texts.sort != "size" && texts.sort != "raster")
        throw CallError("--sort: '" + texts.sort + "' is neither 'size' nor 'raster'");
    options.sortBySize = texts.sort == "size";
}

void checkCombination(const Options& options) {
    const bool thresholded = options.threshold || options.otsu;
    if (!thresholded && !options.labelField)
        throw CallError("say what to label: --threshold T, --threshold otsu or --labels");
    if (thresholded && options.labelField)
        throw CallError("--threshold and --labels exclude each other");
    if (options.upper && options.labelField)
        throw CallError("--upper goes with --threshold, not with --labels");
    if (options.labelField && !options.maskSteps.empty())
        throw CallError(std::string("--") + nameOf(options.maskSteps.front().kind) +
                        " goes with --threshold, not with --labels");
    if (options.labelField && !options.region.empty())
        throw CallError("--roi goes with --threshold, not with --labels");
    for (const MaskStep& step : options.maskSteps)
        if (step.count < 0)
            throw CallError(std::string("--") + nameOf(step.kind) +
                            ": a number of steps cannot be negative");
    if (!options.namesFile.empty() && !options.labelField)
        throw CallError("--names goes with --labels");
    const std::set<int> connectivities = {4, 6, 8, 10, 18, 26};
    if (options.connectivity && !connectivities.contains(*options.connectivity))
        throw CallError("--connectivity: " + std::to_string(*options.connectivity) +
                        " is none of 4, 8, 10, 6, 18, 26");
    if (options.minSize < 0)
        throw CallError("--min-size: a number of voxels cannot be negative");
    if (options.rows && *options.rows < 0)
        throw CallError("--rows: a number of rows cannot be negative");
}

void checkOutputs(const Options& options) {
    if (!options.output.empty() && !LabelFile::isName(options.output))
        throw CallError("OUTPUT '" + options.output + "' must end in .nii, .nii.gz, .hdr or .img");
    if (!options.table.empty() && !options.table.ends_with(".tsv") &&
        !options.table.ends_with(".csv"))
        throw CallError("--table: '" + options.table + "' must end in .tsv or .csv");
    if (!options.picture.empty() && !options.picture.ends_with(".png"))
        throw CallError("--picture: '" + options.picture + "' must end in .png");
    std::set<std::filesystem::path> paths;
    for (const std::string& path :
         {options.output, options.table, options.json, options.picture, options.report})
        if (!path.empty() &&
            !paths.insert(std::filesystem::absolute(path).lexically_normal()).second)
            throw CallError("'" + path + "' is named as two outputs");
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

}  // namespace

const char* nameOf(MaskStep::Kind kind) {
    switch (kind) {
        case MaskStep::Kind::kErosion:
            return "erode";
        case MaskStep::Kind::kDilation:
            return "dilate";
        case MaskStep::Kind::kOpening:
            return "open";
        case MaskStep::Kind::kClosing:
            break;
    }
    return "close";
}

std::optional<Options> parseCommandLine(int argc, char** argv) {
    Options options;
    Texts texts;
    CLI::App app(kDescription, "ztlabel");
    app.footer(kFooter);
    app.set_version_flag("--version", "ztlabel " ZTLABEL_VERSION);
    app.get_formatter()->column_width(30);
    declare(app, options, texts);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {  // --help, --version
        app.exit(success, std::cout, std::cerr);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw CallError(firstLine(error.what()));
    }
    interpret(options, texts);
    checkCombination(options);
    checkOutputs(options);
    return options;
}

}  // namespace ztlabel
