#include "core/toolbox/formulas/fft.hpp"

#include <numbers>

namespace ximCORE::Toolbox {

namespace {

using Complex = std::complex<double>;

/// A position of the working table. A part of the transform leaves its result in `even` or in
/// `odd`, as the whole above it asks: the two halves of a whole then combine in place.
struct EvenOddKnot {
    Complex even;
    Complex odd;
    Complex root;  // exp(-2 pi i position / N)
};

class Recursion {
 public:
    Recursion(Array1D<Complex> const& in, unsigned size) : m_in(in), m_size(size), m_knots(size) {
        Complex const twiddle = std::exp(Complex(0.0, -2.0 * std::numbers::pi / size));
        Complex root = 1.0;
        for (EvenOddKnot& knot : m_knots) {
            knot.root = root;
            root *= twiddle;
        }
    }

    /// Transforms in[offset], in[offset + stride], ... into the `size / stride` knots from `first`.
    void run(std::uint64_t stride, std::uint64_t offset, std::uint64_t first,
             Complex EvenOddKnot::*result) {
        std::uint64_t const half = m_size / stride / 2;
        if (half == 0) {
            m_knots.unsafe_get(first).*result = m_in.get(offset);
            return;
        }
        run(2 * stride, offset, first, &EvenOddKnot::even);
        run(2 * stride, offset + stride, first + half, &EvenOddKnot::odd);
        for (std::uint64_t k = 0; k < half; ++k) {
            EvenOddKnot& low = m_knots.unsafe_get(first + k);
            EvenOddKnot& high = m_knots.unsafe_get(first + half + k);
            Complex const even = low.even;
            Complex const odd = m_knots.get(stride * k).root * high.odd;
            low.*result = even + odd;
            high.*result = even - odd;
        }
    }

    [[nodiscard]] Array1D<EvenOddKnot> const& c_get_knots() const { return m_knots; }

 private:
    Array1D<Complex> const& m_in;
    std::uint64_t m_size;
    Array1D<EvenOddKnot> m_knots;
};

}  // namespace

void FFT::evaluate(Array1D<Complex> const& in, Array1D<Complex>& out, unsigned N) {
    out = Array1D<Complex>(N);
    if (N == 0) {
        return;
    }
    Recursion recursion(in, N);
    recursion.run(1, 0, 0, &EvenOddKnot::even);
    for (std::uint64_t k = 0; k < N; ++k) {
        out.unsafe_get(k) = recursion.c_get_knots().get(k).even;
    }
}

}  // namespace ximCORE::Toolbox
