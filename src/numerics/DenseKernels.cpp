// The choice among the forms of the kernels.
#include "numerics/DenseKernels.h"

#include <ztlib/ZtContract.h>

namespace numerics {

namespace {

bool processorHas(Form form) {
#if defined(__x86_64__)
    if (form == Form::kAvx2)
        return __builtin_cpu_supports("avx2");
    if (form == Form::kAvx512)
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512vl");
#endif
    return form == Form::kAutomatic || form == Form::kPlain;
}

const DenseForm* formOf(Form form) {
    switch (form) {
        case Form::kPlain:
            return kPlainForm;
        case Form::kAvx2:
            return kAvx2Form;
        case Form::kAvx512:
            return kAvx512Form;
        default:
            return hasForm(Form::kAvx512) ? kAvx512Form
                   : hasForm(Form::kAvx2) ? kAvx2Form
                                          : kPlainForm;
    }
}

const DenseForm*& formInUse() {
    static const DenseForm* form = formOf(Form::kAutomatic);
    return form;
}

}  // namespace

bool hasForm(Form form) {
    return processorHas(form) && formOf(form);
}

void useForm(Form form) {
    ZT_REQUIRE(hasForm(form));
    formInUse() = formOf(form);
}

const DenseForm& denseForm() {
    return *formInUse();
}

}  // namespace numerics
