#include "plot.hpp"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <sstream>

#include "table.hpp"

namespace xim {

namespace {

constexpr int c_width = 900;
constexpr int c_panel_height = 420;

bool ends_with(std::string const& text, std::string const& end) {
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// A text between single quotes: only these are special there. Line ends would end the command.
std::string quoted(std::string const& text) {
    std::string result = "'";
    for (char const c : text) {
        if (c == '\'') result += '\'';
        result += c == '\n' || c == '\r' ? ' ' : c;
    }
    return result + '\'';
}

/// The same for a label, where nothing is markup.
std::string label(std::string const& text) {
    return quoted(text) + " noenhanced";
}

/// gnuplot leaves out what is no number.
void write_number(std::ostream& out, double value) {
    out << (std::isfinite(value) ? number(value) : "nan") << ' ';
}

void write_tics(std::ostream& out, char const* axis, Axis const& of) {
    constexpr std::size_t c_most_tics = 12;
    std::size_t const step = (of.labels.size() + c_most_tics - 1) / c_most_tics;
    out << "set " << axis << "tics (";
    for (std::size_t i = 0; i < of.labels.size(); i += step) {
        out << (i > 0 ? ", " : "") << quoted(of.labels[i]) << ' ' << i;
    }
    out << ") noenhanced\n";
}

/// A point on each line, from left to right: x, mean, lower, upper.
void write_line_data(std::ostream& out, std::size_t rank, Axis const& axis, Series const& series) {
    std::vector<std::size_t> order(series.points.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](auto i, auto j) { return axis.values[i] < axis.values[j]; });
    out << "$data" << rank << " << EOD\n";
    for (std::size_t const k : order) {
        auto const& [mean, lower, upper] = series.points[k];
        for (double const value : {axis.values[k], mean, lower, upper}) write_number(out, value);
        out << '\n';
    }
    out << "EOD\n";
}

void write_line_plot(std::ostream& out, std::size_t rank, Axis const& axis, Series const& series) {
    out << "set title " << label(series.name) << "\nset xlabel " << label(axis.name) << '\n'
        << "plot $data" << rank
        << " using 1:3:4 with filledcurves fillcolor rgb '#9ecae1' title 'confidence', $data"
        << rank << " using 1:2 with linespoints linecolor rgb '#08519c' pointtype 7 pointsize 0.6 "
        << "title 'mean'";
    if (std::isfinite(series.central.mean)) {
        out << ", " << number(series.central.mean)
            << " linecolor rgb '#969696' dashtype 2 title 'central'";
    }
    out << '\n';
}

/// A cell on each line: second value, first value, mean.
void write_grid_data(std::ostream& out, std::size_t rank, std::size_t nb_columns,
                     Series const& series) {
    out << "$data" << rank << " << EOD\n";
    for (std::size_t k = 0; k < series.points.size(); ++k) {
        out << k % nb_columns << ' ' << k / nb_columns << ' ';
        write_number(out, series.points[k].mean);
        out << '\n';
    }
    out << "EOD\n";
}

void write_grid_plot(std::ostream& out, std::size_t rank, Ladder const& ladder,
                     Series const& series) {
    constexpr std::size_t c_most_labelled_cells = 150;
    out << "set title " << label(series.name) << "\nset xlabel " << label(ladder.second->name)
        << "\nset ylabel " << label(ladder.first.name) << '\n'
        << "plot $data" << rank
        << " using 1:2:($1-0.5):($1+0.5):($2-0.5):($2+0.5):3 with boxxyerror fillstyle solid "
        << "fillcolor palette notitle";
    if (series.points.size() <= c_most_labelled_cells) {
        out << ", $data" << rank << " using 1:2:(sprintf('%.5g', $3)) with labels notitle";
    }
    out << '\n';
}

void write_output(std::ostream& out, std::string const& file, std::size_t nb_panels) {
    std::size_t const height = c_panel_height * nb_panels;
    out << "set terminal " << (ends_with(file, ".svg") ? "svg" : "pngcairo") << " size " << c_width
        << ',' << height << "\nset output " << quoted(file) << "\nset datafile missing 'nan'\n";
}

}  // namespace

std::optional<std::string> make_plot(Ladder const& ladder, std::string const& file) {
    if (!ends_with(file, ".svg") && !ends_with(file, ".png")) return std::nullopt;
    std::ostringstream out;
    auto const& all = ladder.series;
    write_output(out, file, all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (ladder.second) {
            write_grid_data(out, i, ladder.second->labels.size(), all[i]);
        } else {
            write_line_data(out, i, ladder.first, all[i]);
        }
    }
    if (ladder.second) {
        write_tics(out, "x", *ladder.second);
        write_tics(out, "y", ladder.first);
        out << "set autoscale fix\nset palette defined (0 '#f7fbff', 1 '#4292c6')\n";
    } else {
        out << "set grid\nset style fill solid 0.6 noborder\nset key outside right top\n";
    }
    out << "set multiplot layout " << all.size() << ",1\n";
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (ladder.second) {
            write_grid_plot(out, i, ladder, all[i]);
        } else {
            write_line_plot(out, i, ladder.first, all[i]);
        }
    }
    out << "unset multiplot\nset output\n";
    return out.str();
}

std::optional<std::string> draw(std::string const& commands) {
    if (std::system("command -v gnuplot >/dev/null 2>&1") != 0) {
        return "Plots need the program gnuplot: install the Debian package gnuplot-nox.";
    }
    std::signal(SIGPIPE, SIG_IGN);  // a gnuplot that ends early is reported, not fatal
    std::FILE* const pipe = popen("gnuplot", "w");
    if (pipe == nullptr) return "Cannot start gnuplot.";
    bool const written = std::fwrite(commands.data(), 1, commands.size(), pipe) == commands.size();
    if (pclose(pipe) != 0 || !written) return "gnuplot could not draw the ladder.";
    return std::nullopt;
}

}  // namespace xim
