// How plots are written for gnuplot, which is a program of its own: the library does not need it.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>

namespace xim {

/// Whether a file name ends in .svg or .png, the two kinds of picture.
bool is_picture(std::string const& file);

/// Whether a file can be written: gnuplot would draw onto the terminal instead. Leaves the file as
/// it is, and no file where there was none.
bool can_write(std::string const& file);

/// A text as a gnuplot string. Line ends, which would end the command, become blanks.
std::string quoted(std::string const& text);

/// The same for a label, where nothing is markup.
std::string label(std::string const& text);

/// A column of a data line; gnuplot leaves out what is no number.
void write_number(std::ostream& out, double value);

/// Terminal and output file of a picture of panels one below the other. `file`: a picture.
void write_output(std::ostream& out, std::string const& file, std::size_t nb_panels);

/// Runs gnuplot on the commands. What went wrong as a text for a person; nothing on success.
std::optional<std::string> draw(std::string const& commands);

}  // namespace xim
