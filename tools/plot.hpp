// Draws a ladder through gnuplot, which is a program of its own: the library does not need it.
#pragma once

#include <optional>
#include <string>

#include "ladder.hpp"

namespace xim {

/// The commands that draw a ladder into a file, data included: over one axis each series with its
/// confidence band, over two axes a heat map of each series.
/// Nothing for a file name that does not end in .svg or .png.
std::optional<std::string> make_plot(Ladder const& ladder, std::string const& file);

/// Runs gnuplot on the commands. What went wrong as a text for a person; nothing on success.
std::optional<std::string> draw(std::string const& commands);

}  // namespace xim
