#include "plot.hpp"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <sstream>

#include "chart.hpp"
#include "gnuplot.hpp"

namespace xim {

namespace {

void write_tics(std::ostream& out, char const* axis, Axis const& of) {
    constexpr std::size_t c_most_tics = 12;
    std::size_t const step = (of.labels.size() + c_most_tics - 1) / c_most_tics;
    out << "set " << axis << "tics (";
    for (std::size_t i = 0; i < of.labels.size(); i += step) {
        out << (i > 0 ? ", " : "") << quoted(of.labels[i]) << ' ' << i;
    }
    out << ") noenhanced\n";
}

/// From left to right: the band, the mean, and the central value as a level line.
Chart line_chart(Axis const& axis, Series const& series) {
    std::vector<std::size_t> order(series.points.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](auto i, auto j) { return axis.values[i] < axis.values[j]; });
    Curve band{"confidence", Mark::band, "#9ecae1", {}, {}};
    Curve mean{"mean", Mark::line_points, "#08519c", {}, {}};
    Curve central{"central", Mark::line, "#969696", {}, {}};
    for (std::size_t const k : order) {
        for (Curve* curve : {&band, &mean, &central}) curve->x.push_back(axis.values[k]);
        band.lower.push_back(series.points[k].lower);
        band.upper.push_back(series.points[k].upper);
        mean.y.push_back(series.points[k].mean);
        central.y.push_back(series.central.mean);
    }
    return {series.name, axis.name, "", false, {}, {band, central, mean}};
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

std::string make_heat_map(Ladder const& ladder, std::string const& file) {
    std::ostringstream out;
    auto const& all = ladder.series;
    write_output(out, file, all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        write_grid_data(out, i, ladder.second->labels.size(), all[i]);
    }
    write_tics(out, "x", *ladder.second);
    write_tics(out, "y", ladder.first);
    out << "set autoscale fix\nset palette defined (0 '#f7fbff', 1 '#4292c6')\n"
        << "set multiplot layout " << all.size() << ",1\n";
    for (std::size_t i = 0; i < all.size(); ++i) write_grid_plot(out, i, ladder, all[i]);
    out << "unset multiplot\nset output\n";
    return out.str();
}

}  // namespace

std::optional<std::string> make_plot(Ladder const& ladder, std::string const& file) {
    if (ladder.first.values.empty() || ladder.series.front().points.empty()) return std::nullopt;
    if (ladder.second) return make_heat_map(ladder, file);
    std::vector<Chart> charts;
    for (Series const& series : ladder.series) charts.push_back(line_chart(ladder.first, series));
    return make_plot(charts, file);
}

}  // namespace xim
