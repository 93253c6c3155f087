#include "core/toolbox/root_finder.hpp"

#include <bit>
#include <cmath>
#include <optional>
#include <tuple>

namespace ximCORE::Toolbox {

bool RootFinderFunc::c_compute_value(double, double&) const {
    return false;
}

bool RootFinderFunc::c_compute_derivative(double, double&) const {
    return false;
}

bool RootFinderFunc::c_compute_value_and_derivative(double, double&, double&) const {
    return false;
}

namespace {

/// Tells when a sequence in which each number follows from the one before has begun to repeat: each
/// is compared with the one kept at the last power of two (R. Brent, 1980).
class Repetition {
 public:
    /// How many iterations ago `x` stood; 0 while it is not known to have stood before.
    [[nodiscard]] std::uint64_t length_at(double x, std::uint64_t iteration) {
        auto const bits = std::bit_cast<std::uint64_t>(x);
        if (m_kept == bits) {
            return iteration - m_iteration;
        }
        if (iteration >= 2 * m_iteration) {
            m_kept = bits;
            m_iteration = iteration;
        }
        return 0;
    }

 private:
    std::optional<std::uint64_t> m_kept;
    std::uint64_t m_iteration{0};
};

}  // namespace

bool NewtonRaphson::run(RootFinderFunc const& func, double& root, double tolerance,
                        std::uint64_t max_iterations) {
    m_nb_iterations = m_nb_walked = 0;
    root = m_initial_guess;
    double y = 0.0;
    double dy = 0.0;
    Repetition repetition;
    while (true) {
        if (!func.c_compute_value_and_derivative(root, y, dy)) {
            std::ignore =
                func.c_compute_value(root, y);  // Relied on: only a missing derivative ends the run
            if (!func.c_compute_derivative(root, dy)) {
                return false;
            }
        } else if (auto const length = repetition.length_at(root, m_nb_iterations); length > 0) {
            // the steps of a cycle are all too long: whole rounds of it need not be walked
            m_nb_iterations += (max_iterations - 1 - m_nb_iterations) / length * length;
        }
        double const next = root - y / dy;
        double const step = std::abs(next - root);
        root = next;
        ++m_nb_iterations;
        ++m_nb_walked;
        if (step <= tolerance) {
            return true;
        }
        if (m_nb_iterations >= max_iterations) {
            return false;
        }
    }
}

bool Dichotomy::run(RootFinderFunc const& func, double& root, double tolerance,
                    std::uint64_t max_iterations) {
    if (m_nb_iterations == 0 && !(func.c_compute_value(m_lower, m_value_lower) &&
                                  func.c_compute_value(m_upper, m_value_upper))) {
        return false;
    }
    while (m_nb_iterations <= max_iterations) {
        ++m_nb_iterations;
        double const mid = (m_lower + m_upper) * 0.5;
        double value_mid = 0.0;
        if (!func.c_compute_value(mid, value_mid)) {
            return false;
        }
        if (std::abs(value_mid) < tolerance) {
            _reset();
            root = mid;
            return true;
        }
        if (!_narrow(mid, value_mid)) {
            return false;
        }
    }
    return false;
}

void Dichotomy::_reset() {
    m_nb_iterations = 0;
    m_lower = m_initial_lower;
    m_upper = m_initial_upper;
    m_value_lower = 0.0;
    m_value_upper = 0.0;
}

bool Dichotomy::_narrow(double mid, double value_mid) {
    if (m_value_lower * value_mid < 0.0) {
        m_upper = mid;
        m_value_upper = value_mid;
        return true;
    }
    if (m_value_upper * value_mid < 0.0) {
        m_lower = mid;
        m_value_lower = value_mid;
        return true;
    }
    return false;
}

bool rootfinder(RootFinderFunc const& func, std::vector<RootFinder*> const& finders, double& root,
                double tolerance, std::uint64_t max_iterations, std::uint64_t* total_iterations) {
    for (RootFinder* const finder : finders) {
        if (finder == nullptr) {
            continue;
        }
        bool const found = finder->run(func, root, tolerance, max_iterations);
        if (total_iterations != nullptr) {
            *total_iterations += finder->c_get_nb_iterations();
        }
        if (found) {
            return true;
        }
    }
    return false;
}

}  // namespace ximCORE::Toolbox
