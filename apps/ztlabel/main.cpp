// ztlabel: finds the connected components of a volume. This file is the course of a run.
#include "Failure.h"
#include "Geometry.h"
#include "Host.h"
#include "LabelFile.h"
#include "Labelling.h"
#include "Messages.h"
#include "Names.h"
#include "Options.h"
#include "OutputFiles.h"
#include "Picture.h"
#include "Report.h"
#include "RunRecord.h"
#include "TerminalProgress.h"
#include "Volume.h"

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtMemoryException.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <utility>

namespace ztlabel {

namespace {

class StopWatch {
public:
    /// Seconds since the last call, or since the start.
    double lap() {
        const auto now = Clock::now();
        const std::chrono::duration<double> time = now - start_;
        start_ = now;
        return time.count();
    }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

/// All that a run writes, opened before the work so that what cannot be written is known at once.
struct Outputs {
    explicit Outputs(const Options& options) : files(options.overwrite) {
        if (!options.output.empty())
            labels.emplace(files, options.output);
        if (!options.table.empty())
            table = &files.add(options.table);
        if (!options.json.empty())
            json = &files.add(options.json);
        if (!options.picture.empty())
            picture = &files.add(options.picture);
        if (!options.report.empty())
            report = &files.add(options.report);
    }

    OutputFiles files;
    std::optional<LabelFile> labels;
    OutputFile* table = nullptr;
    OutputFile* json = nullptr;
    OutputFile* picture = nullptr;
    OutputFile* report = nullptr;
};

void write(Outputs& outputs, const Findings& findings, TerminalProgress& progress) {
    const Labelling& labelling = findings.labelling;
    if (outputs.labels)
        outputs.labels->write(findings.volume.header(), labelling.labels,
                              labelling.components.size(), progress);
    if (outputs.table != nullptr)
        outputs.table->write(tableText(findings, findings.options.table.ends_with(".csv")));
    if (outputs.json != nullptr)
        outputs.json->write(jsonText(findings));
    if (outputs.picture != nullptr)
        outputs.picture->write(pictureOf(findings));
    if (outputs.report != nullptr)
        outputs.report->write(recordText(findings));
    outputs.files.putInPlace();
}

void printReport(const Findings& findings, const Timings& timings) {
    constexpr int kTerminalRows = 40;
    const int rows =
        findings.options.rows.value_or(host::isTerminal(stdout) ? kTerminalRows : INT_MAX);
    const std::string text = reportText(findings, timings, rows);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw Failure(std::string("cannot print the report: ") + std::strerror(errno));
}

/// Shares of the progress bar, as the work takes its time on compressed files.
void beginStages(TerminalProgress& progress) {
    ZtDArray<float> weights;
    for (float weight : {0.f, 0.4f, 0.5f, 1.f})
        weights.push(weight);
    progress.subdivide(weights);
}

void run(const Options& options) {
    TerminalProgress progress(options.verbosity != Verbosity::quiet && host::isTerminal(stderr));
    const Messages messages(options.verbosity, progress);
    StopWatch watch;
    Timings timings;

    const Names names = options.namesFile.empty() ? Names() : Names(options.namesFile);
    NiftiHeader header = readVolumeHeader(options.input);
    const Geometry geometry(*header);
    messages.detail(options.input + ": " + sizeText(*header) + " voxels of " +
                    voxelTypeName(header->datatype) + ", world coordinates from the " +
                    geometry.source());
    Outputs outputs(options);

    progress.startWorkingNoStop("reading");
    beginStages(progress);
    const Volume volume = Volume::read(std::move(header), progress);
    progress.stopWorking();
    timings.reading = watch.lap();
    if (!volume.conversion().empty())
        messages.note(volume.conversion());
    if (volume.isScaled())
        messages.detail("values are scaled by " + std::to_string(volume.slope()) + " and " +
                        std::to_string(volume.intercept()));

    progress.setProgressInfo("labelling");
    const Labelling labelling = label(volume, options, messages, progress);
    progress.stopWorking();
    timings.labelling = watch.lap();

    progress.setProgressInfo("writing");
    const Findings findings{options, volume, geometry, labelling, names};
    write(outputs, findings, progress);
    progress.undivide();
    timings.writing = watch.lap();

    for (const auto& file : outputs.files.files())
        messages.detail("wrote '" + file->path() + "'");
    std::string record = recordText(findings);
    record.pop_back();  // a message ends its line itself
    messages.detail("settings and totals\n" + record);
    if (options.verbosity != Verbosity::quiet)
        printReport(findings, timings);
}

int complain(const char* text, int status) {
    std::fprintf(stderr, "ztlabel: %s\n", text);
    return status;
}

}  // namespace

}  // namespace ztlabel

int main(int argc, char** argv) {
    using namespace ztlabel;
    try {
        const std::optional<Options> options = parseCommandLine(argc, argv);
        if (!options)
            return 0;
        host::installSignalHandlers();
        run(*options);
        return 0;
    } catch (const CallError& error) {
        return complain((std::string(error.what()) + " (ztlabel --help says more)").c_str(), 2);
    } catch (const ZtMemoryException&) {
        return complain("not enough memory for this volume", 1);
    } catch (const std::bad_alloc&) {
        return complain("not enough memory for this volume", 1);
    } catch (const std::exception& error) {
        return complain(error.what(), 1);
    }
}
