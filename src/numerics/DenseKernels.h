// The loops over rows and columns of dense matrices, for several instruction sets.
//
// They are compiled from one text (DenseKernels.inl) in plain C++ and, where the compiler can, for
// two wider instruction sets; which one runs is chosen at run time. Every element goes through the
// same operations in the same order in all of them, so their results are the same to the last bit.
// Nothing that this header declares may bring code into the wide units that other units could
// share.
#pragma once

#include <ztlib/ZtExport.h>

namespace numerics {

/// A product of blocks of matrices that are given by their rows: element (i, j) of `rows` x
/// `columns` is to[i][column + j], its factors are left[i][leftColumn + k] and right[k][column + j]
/// for k from 0 to depth - 1. `to` overlaps neither factor.
template <class T>
struct BlockProduct {
    T* const* to;
    const T* const* left;
    const T* const* right;
    int column;
    int leftColumn;
    int rows;
    int columns;
    int depth;
};

inline constexpr int kColumnRoom = 15;

template <class T>
struct DenseKernels {
    /// Adds the product to `to`, or subtracts it, one k after the other in rising order.
    void (*add)(const BlockProduct<T>& product);
    void (*subtract)(const BlockProduct<T>& product);

    /// Subtracts from each of `count` rows the rows before it, changed already, times the row's own
    /// elements leftColumn, leftColumn + 1 ..., on `columns` columns from `column` on.
    void (*subtractTriangle)(T* const* rows, int leftColumn, int column, int count, int columns);

    /// The index of the largest absolute value, the last of equal ones, found as by a loop that
    /// starts with value 0 and asks whether each next one is greater or equal: 0 if value 0 is NaN,
    /// other NaNs are passed over. Expects count > 0.
    int (*lastLargest)(const T* values, int count);

    /// One step of elimination in `width` columns of `count` elements, the pivot being the first
    /// element of the first column: divides the rest of that column by it and subtracts from every
    /// other column that, times the column's first element. What lies in the kColumnRoom elements
    /// behind each column is changed, too.
    void (*eliminate)(T* const* columns, int width, int count);

    /// The inner product, as 64 / sizeof(T) partial sums of every so many-th product, which are
    /// then added by halves: the upper half to the lower one, until one is left.
    T (*dot)(const T* a, const T* b, int count);

    /// out = b - A x for a matrix of `rows` rows; the products are as those of `dot`.
    void (*residual)(const T* matrix, int rows, int columns, const T* x, const T* b, T* out);

    /// Solves L R x = x in place, R standing on and above the diagonal of the `count` rows and L,
    /// whose diagonal is 1, below it. In blocks of eight rows: from each x the `dot` with the rest
    /// of its row beyond the block is subtracted, then the products within, beginning at those with
    /// the x that is found first.
    void (*substitute)(const T* const* rows, int count, T* x);
};

/// The kernels for the element types that the library knows.
struct DenseForm {
    DenseKernels<float> ofFloat;
    DenseKernels<double> ofDouble;

    const DenseKernels<float>& of(const float*) const { return ofFloat; }
    const DenseKernels<double>& of(const double*) const { return ofDouble; }
};

// The form for every processor, and those for wider ones: null in a build without them.
extern const DenseForm* const kPlainForm;
extern const DenseForm* const kAvx2Form;
extern const DenseForm* const kAvx512Form;

/// The forms by name; `kAutomatic` is the best one for this processor.
enum class Form { kAutomatic, kPlain, kAvx2, kAvx512 };

/// Whether this processor and this build have the form. Exported for the tests, as is the next.
ZTLIB_API bool hasForm(Form form);

/// Makes all matrices use `form` from now on. Expects `hasForm(form)`.
ZTLIB_API void useForm(Form form);

/// The form in use.
const DenseForm& denseForm();

}  // namespace numerics
