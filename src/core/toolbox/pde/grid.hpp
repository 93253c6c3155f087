// The arrays of values on a space grid, one element for each point, declared without their library:
// headers that only name them stay light, what computes with them includes <Eigen/Core>.

#pragma once

namespace Eigen {
template <typename Scalar, int rows, int cols, int options, int max_rows, int max_cols>
class Array;
}

namespace ximCORE::Toolbox {

using Grid = Eigen::Array<double, -1, 1, 0, -1, 1>;
using IntGrid = Eigen::Array<int, -1, 1, 0, -1, 1>;

}  // namespace ximCORE::Toolbox
