#include "core/toolbox/matrix_base.hpp"

#include <gtest/gtest.h>

using ximCORE::Toolbox::LinearAlgebra::MatrixBase;

namespace {

TEST(MatrixBase, AOneSidedOperationWantsAllExtentsEqual) {
    MatrixBase const size(2, 3, 4);
    EXPECT_TRUE(MatrixBase::check_lft_op(size, MatrixBase(2, 3, 4)));
    EXPECT_TRUE(MatrixBase::check_rgt_op(size, MatrixBase(2, 3, 4)));
    for (MatrixBase const& other :
         {MatrixBase(1, 3, 4), MatrixBase(2, 1, 4), MatrixBase(2, 3, 1), MatrixBase()}) {
        EXPECT_FALSE(MatrixBase::check_lft_op(size, other));
        EXPECT_FALSE(MatrixBase::check_rgt_op(size, other));
    }
}

TEST(MatrixBase, ATwoSidedOperationWantsTheFlaggedExtentsEqual) {
    MatrixBase const a(2, 3, 4);
    MatrixBase const b(2, 9, 4);
    EXPECT_TRUE(MatrixBase::check_bin_op(a, b, MatrixBase(1, 0, 1)));
    EXPECT_FALSE(MatrixBase::check_bin_op(a, b, MatrixBase(0, 1, 0)));
    EXPECT_FALSE(MatrixBase::check_bin_op(a, b, MatrixBase(1, 1, 1)));
    EXPECT_TRUE(MatrixBase::check_bin_op(a, MatrixBase(), MatrixBase(0, 0, 0)));
}

TEST(MatrixBase, HasThreeExtents) {
    MatrixBase const size(2, 3, 4);
    EXPECT_EQ(size.c_get_extent(0), 2U);
    EXPECT_EQ(size.c_get_extent(1), 3U);
    EXPECT_EQ(size.c_get_extent(2), 4U);
    EXPECT_EQ(MatrixBase().c_get_extent(2), 0U);
}

}  // namespace
