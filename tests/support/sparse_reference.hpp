// The theta scheme once more, as plainly as it is written: a sparse matrix that is built and
// factorised anew at each step. What the production solver is compared with, for its numbers in the
// tests and for its speed in the benchmarks.

#pragma once

#include <Eigen/SparseLU>
#include <cstddef>
#include <vector>

#include "core/toolbox/pde/solver.hpp"

namespace ximCORE::Testing {

/// The coefficients of u_xx, u_x and u, and the source, at each point.
struct Coefficients {
    Eigen::ArrayXd a;
    Eigen::ArrayXd b;
    Eigen::ArrayXd c;
    Eigen::ArrayXd s;
};

struct SparseReference {
    using BoundaryCondition = Toolbox::XTPDE::BoundaryCondition;

    Coefficients coefficients;
    double dx;
    double explicit_rate;
    BoundaryCondition boundary_condition;

    /// One step of the signed length t: (1 + i t L) u_new = (1 - e t L) u_old - t S.
    void step(double t, Eigen::ArrayXd& u) const {
        Eigen::Index const last = u.size() - 1;
        double const e = explicit_rate * t;
        double const i = (1.0 - explicit_rate) * t;
        auto const below = [&](Eigen::Index k) {
            return coefficients.a[k] / (dx * dx) - 0.5 * coefficients.b[k] / dx;
        };
        auto const at = [&](Eigen::Index k) {
            return coefficients.c[k] - 2.0 * coefficients.a[k] / (dx * dx);
        };
        auto const above = [&](Eigen::Index k) {
            return coefficients.a[k] / (dx * dx) + 0.5 * coefficients.b[k] / dx;
        };
        if (e != 0.0) {
            Eigen::ArrayXd const old = u;
            for (Eigen::Index k = 1; k < last; ++k)
                u[k] = old[k] - e * (below(k) * old[k - 1] + at(k) * old[k] +
                                     above(k) * old[k + 1] + coefficients.s[k]);
        }
        if (i == 0.0) return;
        std::vector<Eigen::Triplet<double, int>> entries;
        auto const put = [&](Eigen::Index row, Eigen::Index col, double value) {
            entries.emplace_back(static_cast<int>(row), static_cast<int>(col), value);
        };
        Eigen::VectorXd rhs = u;
        bool const neumann = boundary_condition == BoundaryCondition::NEUMANN;
        put(0, 0, 1.0);
        put(last, last, neumann ? -1.0 : 1.0);
        if (neumann) {
            put(0, 1, -1.0);
            put(last, last - 1, 1.0);
            rhs[0] = u[0] - u[1];
            rhs[last] = u[last - 1] - u[last];
        }
        for (Eigen::Index k = 1; k < last; ++k) {
            put(k, k - 1, i * below(k));
            put(k, k, 1.0 + i * at(k));
            put(k, k + 1, i * above(k));
            rhs[k] -= i * coefficients.s[k];
        }
        Eigen::SparseMatrix<double, 0, int> matrix(u.size(), u.size());
        matrix.setFromTriplets(entries.begin(), entries.end());
        Eigen::SparseLU<Eigen::SparseMatrix<double, 0, int>, Eigen::COLAMDOrdering<int>> lu;
        lu.analyzePattern(matrix);
        lu.factorize(matrix);
        u = lu.solve(rhs).array();
    }
};

}  // namespace ximCORE::Testing
