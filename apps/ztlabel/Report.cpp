#include "Report.h"

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtString.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <functional>
#include <iterator>
#include <vector>

namespace ztlabel {

namespace {

/// One column of report and table: a number, or a text where `text` is set.
struct Column {
    const char* name;
    const char* heading;
    int decimals;  // of the report's numbers
    bool inReport;
    std::function<double(const Component&)> number;
    std::function<ZtString(const Component&)> text;
};

double centroidInWorld(const Findings& findings, const Component& c, int axis) {
    const double voxel[3] = {c.centroid(0), c.centroid(1), c.centroid(2)};
    double world[3];
    findings.geometry.toWorld(voxel, world);
    return world[axis];
}

double shareOf(const Findings& findings, const Component& c) {
    return static_cast<double>(c.voxels) / static_cast<double>(findings.labelling.foreground);
}

std::vector<Column> columnsOf(const Findings& f) {
    std::vector<Column> columns;
    const auto add = [&](const char* name, const char* heading, int decimals, auto number,
                         bool inReport = true) {
        columns.push_back({name, heading, decimals, inReport, number, nullptr});
    };
    const double voxelVolume = f.geometry.voxelVolume();
    add("label", "label", 0, [](const Component& c) { return c.label; });
    add("voxels", "voxels", 0, [](const Component& c) { return static_cast<double>(c.voxels); });
    add("volume_mm3", "mm^3", 1,
        [=](const Component& c) { return static_cast<double>(c.voxels) * voxelVolume; });
    add(
        "share", nullptr, 0, [&f](const Component& c) { return shareOf(f, c); }, false);
    add(nullptr, "share %", 3, [&f](const Component& c) { return 100 * shareOf(f, c); });
    if (f.options.labelField) {
        add("source", "source", -1, [](const Component& c) { return c.source; });
        if (!f.names.isEmpty())
            columns.push_back({"name", "name", 0, true, nullptr,
                               [&f](const Component& c) { return f.names.of(c.source); }});
    } else if (f.options.upper) {
        add("marked", "marked", 0,
            [](const Component& c) { return static_cast<double>(c.marked); });
    }
    static constexpr const char* kVoxel[] = {"x", "y", "z"};
    static constexpr const char* kWorld[] = {"x_mm", "y_mm", "z_mm"};
    static constexpr const char* kWorldHeading[] = {"x mm", "y mm", "z mm"};
    static constexpr const char* kBox[] = {"x0", "x1", "y0", "y1", "z0", "z1"};
    for (int axis = 0; axis < 3; ++axis)
        add(kVoxel[axis], kVoxel[axis], 3, [=](const Component& c) { return c.centroid(axis); });
    for (int axis = 0; axis < 3; ++axis)
        add(
            kWorld[axis], kWorldHeading[axis], 3,
            [&f, axis](const Component& c) { return centroidInWorld(f, c, axis); },
            f.options.worldCoordinates);
    for (int side = 0; side < 6; ++side)
        add(kBox[side], kBox[side], 0, [=](const Component& c) { return c.box[side]; });
    return columns;
}

/// The shortest text with at most nine significant digits; integers in full.
ZtString numberText(double value) {
    char digits[64];
    const bool whole = value == std::floor(value) && std::fabs(value) < 9e15;
    const auto end =
        whole ? std::to_chars(digits, std::end(digits), static_cast<long long>(value))
              : std::to_chars(digits, std::end(digits), value, std::chars_format::general, 9);
    *end.ptr = '\0';
    return digits;
}

ZtString reportCell(const Column& column, const Component& c) {
    if (column.text)
        return column.text(c);
    const double value = column.number(c);
    if (column.decimals < 0)
        return numberText(value);
    ZtString text;
    text.printf("%.*f", column.decimals, value);
    return text;
}

ZtString quoted(ZtString text, bool commas) {
    if (!commas) {
        text.replace('\t', ' ');
        return text;
    }
    if (text.index(',') < 0 && text.index('"') < 0)
        return text;
    text.replaceSubStr("\"", "\"\"");
    return ZtString("\"") + text + "\"";
}

void appendPadded(std::string& line, const ZtString& text, std::size_t width, bool left) {
    const std::size_t padding = width - static_cast<std::size_t>(text.length());
    if (!line.empty())
        line += "  ";
    line.append(left ? 0 : padding, ' ');
    line += text.getString();
    line.append(left ? padding : 0, ' ');
}

std::string rowsText(const Findings& findings, int maxRows) {
    std::vector<Column> columns = columnsOf(findings);
    std::erase_if(columns, [](const Column& c) { return !c.inReport; });
    const ZtDArray<Component>& components = findings.labelling.components;
    const int rows = std::min(maxRows, components.size());
    std::vector<std::vector<ZtString>> cells(columns.size());
    std::vector<std::size_t> widths(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        cells[i].emplace_back(columns[i].heading);
        for (int row = 0; row < rows; ++row)
            cells[i].push_back(reportCell(columns[i], components[row]));
        for (const ZtString& cell : cells[i])
            widths[i] = std::max(widths[i], static_cast<std::size_t>(cell.length()));
    }
    std::string text;
    for (std::size_t row = 0; row <= static_cast<std::size_t>(rows); ++row) {
        std::string line;
        for (std::size_t i = 0; i < columns.size(); ++i)
            appendPadded(line, cells[i][row], widths[i], columns[i].text != nullptr);
        text += line + "\n";
    }
    if (rows < components.size())
        text += "... and " + std::to_string(components.size() - rows) + " more\n";
    return text;
}

ZtString headText(const Findings& f) {
    const nifti_image& h = f.volume.header();
    ZtString text;
    text.printf("%s: %s voxels of %s, %g x %g x %g mm\n", f.options.input.c_str(),
                sizeText(h).c_str(), voxelTypeName(h.datatype).c_str(), f.geometry.spacing(0),
                f.geometry.spacing(1), f.geometry.spacing(2));
    ZtString how;
    const int connectivity = f.options.connectivityFor(f.volume.is2D());
    if (f.options.labelField) {
        how.printf("pieces of a label field, connectivity %d\n\n", connectivity);
        return text + how;
    }
    how.printf("threshold %s%s (inclusive), ", numberText(f.labelling.threshold).getString(),
               f.options.otsu ? " (Otsu)" : "");
    text += how.getString();
    if (f.options.upper) {
        how.printf("upper threshold %s, ", numberText(*f.options.upper).getString());
        text += how.getString();
    }
    for (const MaskStep& step : f.options.maskSteps) {
        how.printf("%s %d, ", nameOf(step.kind), step.count);
        text += how.getString();
    }
    if (!f.options.region.empty())
        text += "within a polygon, ";
    how.printf("connectivity %d\n\n", connectivity);
    return text + how;
}

ZtString totalsText(const Findings& f) {
    const Labelling& l = f.labelling;
    const long long kept = keptVoxels(l);
    const char* const things = f.options.labelField ? "pieces" : "components";
    ZtString text;
    text.printf("total: %d %s, %lld voxels, %s mm^3, %.3f %% of the volume", l.components.size(),
                things, kept,
                numberText(static_cast<double>(kept) * f.geometry.voxelVolume()).getString(),
                100.0 * static_cast<double>(kept) / static_cast<double>(f.volume.voxelCount()));
    ZtString more;
    if (f.options.upper) {
        more.printf(", %lld of the foreground's voxels marked", l.marked);
        text += more.getString();
    }
    if (l.found != l.components.size()) {
        more.printf("\nleft out: %d of %d %s, %lld of %lld voxels", l.found - l.components.size(),
                    l.found, things, l.foreground - kept, l.foreground);
        text += more.getString();
    }
    return text + "\n";
}

using Json = nlohmann::ordered_json;

std::string textOf(const Json& json) {
    // Names of files and of values need not be UTF-8, JSON must.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string reportText(const Findings& findings, const Timings& timings, int maxRows) {
    ZtString times;
    times.printf("time: reading %.3f s, labelling %.3f s, writing %.3f s\n", timings.reading,
                 timings.labelling, timings.writing);
    return headText(findings).getString() + rowsText(findings, maxRows) + "\n" +
           totalsText(findings).getString() + times.getString();
}

long long keptVoxels(const Labelling& labelling) {
    long long kept = 0;
    for (const Component& c : labelling.components)
        kept += c.voxels;
    return kept;
}

std::string tableText(const Findings& findings, bool commas) {
    std::vector<Column> columns = columnsOf(findings);
    std::erase_if(columns, [](const Column& c) { return c.name == nullptr; });
    const char separator = commas ? ',' : '\t';
    std::string text;
    for (const Column& column : columns)
        (text += text.empty() ? "" : std::string(1, separator)) += column.name;
    text += '\n';
    for (const Component& component : findings.labelling.components) {
        bool isFirst = true;
        for (const Column& column : columns) {
            if (!isFirst)
                text += separator;
            isFirst = false;
            text += column.text ? quoted(column.text(component), commas).getString()
                                : numberText(column.number(component)).getString();
        }
        text += '\n';
    }
    return text;
}

std::string jsonText(const Findings& f) {
    const Labelling& l = f.labelling;
    std::string table;  // a line for each component, which the writer's own layouts do not offer
    for (const Component& c : l.components) {
        Json row = {
            {"label", c.label},
            {"voxels", c.voxels},
            {"volume_mm3", static_cast<double>(c.voxels) * f.geometry.voxelVolume()},
            {"share", shareOf(f, c)},
            {"centroid_voxel", {c.centroid(0), c.centroid(1), c.centroid(2)}},
            {"centroid_mm",
             {centroidInWorld(f, c, 0), centroidInWorld(f, c, 1), centroidInWorld(f, c, 2)}},
            {"box", c.box}};
        if (!f.options.labelField) {
            row["marked"] = c.marked;
        } else {
            const bool whole = c.source == std::floor(c.source) && std::fabs(c.source) < 9e15;
            row["source"] = whole ? Json(static_cast<long long>(c.source)) : Json(c.source);
            if (!f.names.isEmpty())
                row["name"] = f.names.of(c.source).getString();
        }
        table += table.empty() ? "\n " : ",\n ";
        table += textOf(row);
    }
    const double spacing[] = {f.geometry.spacing(0), f.geometry.spacing(1), f.geometry.spacing(2)};
    Json json = {{"input", f.options.input},
                 {"size", {f.volume.dim(0), f.volume.dim(1), f.volume.dim(2)}},
                 {"spacing_mm", spacing},
                 {"world", f.geometry.source()},
                 {"mode", f.options.labelField ? "labels" : "threshold"},
                 {"connectivity", f.options.connectivityFor(f.volume.is2D())}};
    if (!f.options.labelField) {
        json["threshold"] = l.threshold;
        json["upper"] = f.options.upper ? Json(*f.options.upper) : Json();
        if (!f.options.maskSteps.empty()) {
            json["mask_steps"] = Json::array();
            for (const MaskStep& step : f.options.maskSteps)
                json["mask_steps"].push_back({{"step", nameOf(step.kind)}, {"count", step.count}});
        }
        if (!f.options.region.empty())
            json["region"] = f.options.regionText;
    }
    json["found"] = l.found;
    json["components"] = l.components.size();
    json["foreground"] = l.foreground;
    json["marked"] = l.marked;
    std::string text = textOf(json);
    text.pop_back();
    return text + ",\"table\":[" + table + "\n]}\n";
}

}  // namespace ztlabel
