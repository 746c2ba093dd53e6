// The singular value decomposition for the one size that is known beforehand.
#include "numerics/SingularValues3.h"

#include <type_traits>

#include "numerics/Decomposition.h"

namespace numerics {

template <class T>
int decompose3(const T* a, SingularValues3<T>& out, int maxIterations) {
    using Three = std::integral_constant<int, 3>;
    T work[12];
    return Decomposition<T, Three>(
               Three(), Three(),
               {out.left[0], out.right[0], out.w, work, work + 3, work + 6, work + 9})
        .run(a, maxIterations);
}

template int decompose3(const float*, SingularValues3<float>&, int);
template int decompose3(const double*, SingularValues3<double>&, int);

}  // namespace numerics
