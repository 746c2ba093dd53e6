// The public labelling functions: checks, thresholds and messages around the labelling itself.
#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtProgressInterface.h>

#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "core/WorkArray.h"
#include "imageproc/Components.h"

namespace ZtConnectedComponents {

Component::Component() : alias(0), numVoxels(0), mark(0), sumX(0), sumY(0), sumZ(0) {}

Component::Component(const Component& other) = default;

Component& Component::operator=(const Component& other) = default;

void Component::addAlias(Component& other, int labelMode) {
    numVoxels += other.numVoxels;
    if (!labelMode)
        mark += other.mark;
    sumX += other.sumX;
    sumY += other.sumY;
    sumZ += other.sumZ;
    other.sumX = other.sumY = other.sumZ = 0;
    other.alias = alias;
    other.numVoxels = 0;
    other.mark = 0;
}

int compareComponents(const Component& a, const Component& b) {
    return (a.numVoxels > b.numVoxels) - (a.numVoxels < b.numVoxels);
}

namespace {

using components::ComponentList;
using components::Element;
using components::Request;

// Room for these many components, entry 0 included, and one to tell that there are too many.
constexpr std::uint32_t kMost16 = 64998;
constexpr std::uint32_t kMost32 = 9999998;

bool findElement(ZtPrimType type, Element& element) {
    switch (type.getType()) {
        case ZtPrimType::BYTE:
            element = Element::kByte;
            return true;
        case ZtPrimType::SHORT:
            element = Element::kShort;
            return true;
        case ZtPrimType::INT:
            element = Element::kInt;
            return true;
        case ZtPrimType::FLOAT:
            element = Element::kFloat;
            return true;
        case ZtPrimType::DOUBLE:
            element = Element::kDouble;
            return true;
        case ZtPrimType::USHORT:
            element = Element::kUshort;
            return true;
        default:
            return false;
    }
}

int roundToInt(double value) {
    const double rounded = std::floor(value + 0.5);
    if (!(rounded > INT_MIN))
        return std::isnan(rounded) ? 0 : INT_MIN;
    return rounded < INT_MAX ? static_cast<int>(rounded) : INT_MAX;
}

/// The threshold that `value` means for an element type.
double threshold(double value, Element element) {
    switch (element) {
        case Element::kByte:
            return static_cast<unsigned char>(roundToInt(value));
        case Element::kShort:
            return static_cast<short>(roundToInt(value));
        case Element::kInt:
            return roundToInt(value);
        case Element::kUshort:
            return static_cast<unsigned short>(roundToInt(value));
        case Element::kFloat:
            return static_cast<float>(value);
        case Element::kDouble:
            break;
    }
    return value;
}

/// The number of voxels; an array of them fits into memory, or ZtMemoryException is thrown.
std::uint64_t voxelsIn(const int* dims, std::size_t labelBytes) {
    if (dims[0] < 1 || dims[1] < 1 || dims[2] < 1)
        return 0;
    std::uint64_t count = 1;
    for (int i = 0; i < 3; ++i) {
        const std::uint64_t n = static_cast<std::uint64_t>(dims[i]);
        if (count > static_cast<std::size_t>(PTRDIFF_MAX) / labelBytes / n)
            ztThrowMemoryException(SIZE_MAX);
        count *= n;
    }
    return count;
}

int run(Request& request, const int* dims, ComponentList& list) {
    request.nx = dims[0];
    request.ny = dims[1];
    request.nz = dims[2];
    int count = 0;
    if (voxelsIn(dims, static_cast<std::size_t>(request.labelBytes)) > 0) {
        count = components::label(request, list);
    } else {
        components::reserve(list, 0);
        list.resize(1);
        list[0] = Component();
    }
    if (count < 0)
        std::fputs("ERROR: too many components", stderr);
    return count;
}

template <class Label>
int labelThresholded(ZtTypedPointer data, const int* dims, int connectivity, Label*& labels,
                     double minValue, double maxValue, std::uint32_t limit, ComponentList* list) {
    Request request = {};
    if (!findElement(data.primType(), request.element)) {
        const int code = data.primType();
        const bool named = code >= 0 && code <= 9;
        std::fprintf(stderr, "Unsupported data type %s in ZtRawData()\n",
                     named ? data.primType().getName() : "unknown");
        return -1;
    }
    ComponentList temporary;
    WorkArray<Label> allocated;
    if (!labels)
        allocated.allocate(voxelsIn(dims, sizeof(Label)));
    request.data = data;
    request.connectivity = connectivity;
    request.lower = threshold(minValue, request.element);
    request.upper = threshold(maxValue, request.element);
    request.labels = labels ? labels : allocated.data();
    request.labelBytes = sizeof(Label);
    request.limit = limit;
    request.zeroUnvisited = !labels;
    const int count = run(request, dims, list ? *list : temporary);
    if (!labels)
        labels = allocated.release();
    return count;
}

/// Reports the work to a progress object, if there is one, for as long as it lives.
class Reported {
public:
    explicit Reported(ZtProgressInterface* progress) : progress_(progress) {
        if (progress_)
            progress_->startWorkingNoStop("");
    }
    ~Reported() {
        if (progress_)
            progress_->stopWorking();
    }
    Reported(const Reported&) = delete;
    Reported& operator=(const Reported&) = delete;

private:
    ZtProgressInterface* progress_;
};

template <class Label>
int labelValues(const unsigned char* field, const int* dims, int connectivity, Label* labels,
                std::uint32_t limit, ComponentList& list, ZtProgressInterface* progress) {
    Request request = {};
    request.data = field;
    request.labelMode = true;
    request.connectivity = connectivity;
    request.labels = labels;
    request.labelBytes = sizeof(Label);
    request.limit = limit;
    const Reported reported(progress);
    return run(request, dims, list);
}

}  // namespace

int labelCC(ZtTypedPointer data, const int* dims, int connectivity, unsigned short*& labels, int,
            double minValue, double maxValue, int, int, ZtDArray<Component>* components,
            ZtProgressInterface*) {
    return labelThresholded(data, dims, connectivity, labels, minValue, maxValue, kMost16,
                            components);
}

int labelCCHuge(ZtTypedPointer data, const int* dims, int connectivity, int*& labels, int,
                double minValue, double maxValue, int, int, ZtDArray<Component>* components,
                ZtProgressInterface*) {
    return labelThresholded(data, dims, connectivity, labels, minValue, maxValue, kMost32,
                            components);
}

int labelLabels(unsigned char* labelField, const int* dims, int connectivity,
                unsigned short* labels, int, int, ZtDArray<Component>& components,
                ZtProgressInterface* progress) {
    return labelValues(labelField, dims, connectivity, labels, kMost16, components, progress);
}

int labelLabelsHuge(unsigned char* labelField, const int* dims, int connectivity, int* labels, int,
                    int, ZtDArray<Component>& components, ZtProgressInterface* progress) {
    return labelValues(labelField, dims, connectivity, labels, kMost32, components, progress);
}

}  // namespace ZtConnectedComponents
