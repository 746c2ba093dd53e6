// Connected-component labelling behind the public functions: one entry for all of them, and the
// choice of the form. Internal; exported for the tests and the benchmarks.
#pragma once

#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>

#include <cstdint>

#include "imageproc/ComponentsRequest.h"

namespace components {

using ComponentList = ZtDArray<ZtConnectedComponents::Component>;

/// Gives `list` room for `count` components and the background, and leaves its content as it is.
void reserve(ComponentList& list, std::uint32_t count);

/// The ways to label, which all give the same answer.
enum class Form : unsigned char {
    kAutomatic,  ///< the fastest one that the processor has
    kPlain,      ///< voxel by voxel (ComponentsPlain.h): the oracle
    kPortable,   ///< run by run, in plain C++
    kWide,       ///< run by run, with AVX2, BMI2 and POPCNT
};

/// Whether this processor and this build have the form.
ZTLIB_API bool hasForm(Form form);

/// Makes every labelling use `form` from now on. Expects `hasForm(form)`.
ZTLIB_API void useForm(Form form);

/// Labels by the form in use. Returns the number of components, or -1 when there are too many.
ZTLIB_API int label(const Request& request, ComponentList& list);

}  // namespace components
