// Makes the table of the kernels that a unit has defined: function templates `convert`, `map`,
// `widen`, `countEqual`, `swap` over element types and sizes. Included into the same namespace.

template <class... T>
struct Types {};

/// In the order of `Kind`.
using AllTypes = Types<std::uint8_t, std::int16_t, std::int32_t, float, double, std::uint16_t>;

template <class To, class... From>
constexpr void setRow(Kernels& kernels, int to, Types<From...>) {
    int from = 0;
    ((kernels.convert[to][from] = convert<To, From>, kernels.map[to][from] = map<To, From>, ++from),
     ...);
}

template <class... T>
constexpr Kernels tableOf(Types<T...> types) {
    Kernels kernels{};
    int kind = 0;
    ((setRow<T>(kernels, kind, types), kernels.widen[kind] = widen<T>,
      kernels.countEqual[kind] = countEqual<T>, ++kind),
     ...);
    kernels.swap2 = swap<2>;
    kernels.swap4 = swap<4>;
    kernels.swap8 = swap<8>;
    kernels.stream = stream;
    kernels.endStream = endStream;
    return kernels;
}
