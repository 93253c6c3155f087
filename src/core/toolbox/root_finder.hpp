// Root finders of one variable that can be chained: usually Newton's method, with a bisection
// behind it.
#pragma once

#include <cstdint>
#include <vector>

namespace ximCORE::Toolbox {

/// The function to solve. An operation that is not overridden answers false, as one that has no
/// value at `x` does: false always means "not given here".
class RootFinderFunc {
 public:
    virtual ~RootFinderFunc() = default;

    [[nodiscard]] virtual bool c_compute_value(double x, double& y) const;
    [[nodiscard]] virtual bool c_compute_derivative(double x, double& dy) const;
    [[nodiscard]] virtual bool c_compute_value_and_derivative(double x, double& y,
                                                              double& dy) const;

 protected:
    RootFinderFunc() = default;
    RootFinderFunc(RootFinderFunc const&) = default;
    RootFinderFunc& operator=(RootFinderFunc const&) = default;
};

/// A solver, for one run at a time. Nothing is logged or thrown: false is the report.
class RootFinder {
 public:
    virtual ~RootFinder() = default;

    [[nodiscard]] virtual bool run(RootFinderFunc const& func, double& root, double tolerance,
                                   std::uint64_t max_iterations) = 0;

    [[nodiscard]] std::uint64_t c_get_nb_iterations() const { return m_nb_iterations; }

 protected:
    RootFinder() = default;
    RootFinder(RootFinder const&) = default;
    RootFinder& operator=(RootFinder const&) = default;

    std::uint64_t m_nb_iterations{0};
};

/// Newton's method from a given point: root - y / dy until a step is not above `tolerance` in x.
/// `root` always holds the last point. Fails: no derivative, or `max_iterations` steps without
/// success; steps that go round in a cycle are counted without being walked, so that a large number
/// of them costs no time.
class NewtonRaphson final : public RootFinder {
 public:
    explicit NewtonRaphson(double initial_guess) : m_initial_guess(initial_guess) {}

    [[nodiscard]] bool run(RootFinderFunc const& func, double& root, double tolerance,
                           std::uint64_t max_iterations) override;

    /// How many steps of the last run were computed: without those of a cycle.
    [[nodiscard]] std::uint64_t c_get_nb_walked() const { return m_nb_walked; }

 private:
    double m_initial_guess;
    std::uint64_t m_nb_walked{0};
};

/// Bisection between two bounds until the function's absolute value is below `tolerance` (in y,
/// unlike Newton's). A success resets the object, its counter included. Fails: no value, no change
/// of sign, or more than `max_iterations` + 1 halvings; the state then stays, and the next run goes
/// on from it. `root` is set by success alone.
class Dichotomy final : public RootFinder {
 public:
    Dichotomy(double lower, double upper)
        : m_initial_lower(lower), m_initial_upper(upper), m_lower(lower), m_upper(upper) {}

    [[nodiscard]] bool run(RootFinderFunc const& func, double& root, double tolerance,
                           std::uint64_t max_iterations) override;

 private:
    void _reset();
    [[nodiscard]] bool _narrow(double mid, double value_mid);

    double m_initial_lower;
    double m_initial_upper;
    double m_lower;
    double m_upper;
    double m_value_lower{0.0};
    double m_value_upper{0.0};
};

/// Tries the finders in order, without the null ones, until one succeeds; false when none does. The
/// iteration counter of each one tried is added to `*total_iterations` if that is not null (a
/// successful bisection counts 0).
[[nodiscard]] bool rootfinder(RootFinderFunc const& func, std::vector<RootFinder*> const& finders,
                              double& root, double tolerance, std::uint64_t max_iterations,
                              std::uint64_t* total_iterations);

}  // namespace ximCORE::Toolbox
