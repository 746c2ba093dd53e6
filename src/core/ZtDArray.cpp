// The instance of the array that lies in the library: the characters of strings.
#include <ztlib/ZtDArray.h>

template class ZtDArray<char, 1>;
