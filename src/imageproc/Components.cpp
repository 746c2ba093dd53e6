// The choice of the form of labelling, and the list of components.
#include "imageproc/Components.h"

#include <cstdint>

#include "imageproc/ComponentsPlain.h"
#include "imageproc/ComponentsRuns.h"

namespace components {
namespace {

Form formInUse = Form::kAutomatic;

bool processorHasWideForm() {
#if defined(__x86_64__)
    static const bool has = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                            __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
    return has;
#else
    return false;
#endif
}

}  // namespace

void reserve(ComponentList& list, std::uint32_t count) {
    const int size = static_cast<int>(count) + 1;
    if (list.getMax() < size)
        list.remax(size);
}

bool hasForm(Form form) {
    return form != Form::kWide || (kWideKernels && processorHasWideForm());
}

void useForm(Form form) {
    formInUse = form;
}

int label(const Request& request, ComponentList& list) {
    Neighbourhood reach;
    if (formInUse == Form::kPlain || !findNeighbourhood(request.connectivity, reach))
        return labelPlain(request, list);
    const bool wide = formInUse != Form::kPortable && hasForm(Form::kWide);
    return labelRuns(request, wide ? *kWideKernels : kPortableKernels, list);
}

}  // namespace components
