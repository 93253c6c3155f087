// Draws a ladder.
#pragma once

#include <optional>
#include <string>

#include "ladder.hpp"

namespace xim {

/// The commands that draw a ladder into a file, data included: over one axis each series with its
/// confidence band, over two axes a heat map of each series. Nothing for a ladder without a point.
/// `file`: ends in .svg or .png.
std::optional<std::string> make_plot(Ladder const& ladder, std::string const& file);

}  // namespace xim
