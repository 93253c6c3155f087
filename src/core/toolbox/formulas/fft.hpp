// The fast Fourier transform of the smile pricers: radix two, for lengths that are powers of two.
#pragma once

#include <complex>
#include <cstdint>

#include "core/toolbox/containers.hpp"

namespace ximCORE::Toolbox {

class FFT {
 public:
    /// Forward transform (J. Cooley and J. Tukey, 1965), not scaled: out[k] is the sum over j of
    /// in[j] exp(-2 pi i j k / N). `out` takes the size `N`. `N`: a power of two; this is not
    /// checked, and another length gives numbers without meaning. The rounding of the roots stays
    /// below N 2e-16 times the root of the sum of the squared inputs. Cost: N log2(N) products and
    /// one table of N knots. Fails: an `in` shorter than `N` raises `SegmentationFaultException`.
    static void evaluate(Array1D<std::complex<double>> const& in,
                         Array1D<std::complex<double>>& out, unsigned N);
};

}  // namespace ximCORE::Toolbox
