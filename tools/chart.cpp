#include "chart.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

#include "gnuplot.hpp"

namespace xim {

namespace {

/// Bounds of the numbers that are drawn.
struct Range {
    double lower{std::numeric_limits<double>::infinity()};
    double upper{-std::numeric_limits<double>::infinity()};

    void add(std::vector<double> const& values) {
        for (double const value : values) {
            if (!std::isfinite(value)) continue;
            lower = std::min(lower, value);
            upper = std::max(upper, value);
        }
    }
};

bool has_point(Curve const& curve) {
    for (std::size_t i = 0; i < curve.x.size(); ++i) {
        bool const has_value = curve.mark == Mark::band
                                   ? std::isfinite(curve.lower[i]) && std::isfinite(curve.upper[i])
                                   : std::isfinite(curve.y[i]);
        if (std::isfinite(curve.x[i]) && has_value) return true;
    }
    return false;
}

/// Columns: x, y, lower, upper, label.
void write_data(std::ostream& out, std::string const& name, Curve const& curve) {
    out << name << " << EOD\n";
    for (std::size_t i = 0; i < curve.x.size(); ++i) {
        double const y = i < curve.y.size() ? curve.y[i] : std::nan("");
        write_number(out, curve.x[i]);
        write_number(out, y);
        write_number(out, i < curve.lower.size() ? curve.lower[i] : y);
        write_number(out, i < curve.upper.size() ? curve.upper[i] : y);
        out << (i < curve.labels.size() ? '"' + curve.labels[i] + '"' : "\"\"") << '\n';
    }
    out << "EOD\n";
}

std::string style_of(Curve const& curve) {
    switch (curve.mark) {
        case Mark::line:
            return "using 1:2 with lines linewidth 2";
        case Mark::line_points:
            return "using 1:2 with linespoints pointtype 7 pointsize 0.6 linewidth 2";
        case Mark::points:
            return curve.lower.empty() ? "using 1:2 with points pointtype 7 pointsize 0.4"
                                       : "using 1:2:3:4 with yerrorbars pointtype 7 pointsize 0.8";
        case Mark::band:
            return "using 1:3:4 with filledcurves";
        case Mark::impulses:
            return "using 1:2 with impulses linewidth 3";
        case Mark::steps_back:
            return "using 1:2 with fsteps linewidth 2";
    }
    return "";
}

void write_curve(std::ostream& out, std::string const& data, Curve const& curve) {
    out << data << ' ' << style_of(curve)
        << (curve.mark == Mark::band ? " fillcolor rgb '" : " linecolor rgb '") << curve.colour
        << "' " << (curve.name.empty() ? "notitle" : "title " + label(curve.name));
    if (!curve.labels.empty()) {
        out << ", " << data << " using 1:2:5 with labels offset 0,0.9 notitle";
    }
}

/// The range with a margin on both sides: gnuplot wants an interval with an inside.
/// `margin_of_a_point`: for a range without width.
Range widened(Range const& range, double margin_of_a_point) {
    constexpr double c_margin = 0.03;
    double const width = range.upper - range.lower;
    double const margin = width > 0.0 ? c_margin * width : margin_of_a_point;
    return {range.lower - margin, range.upper + margin};
}

/// `quote`: round the bounds, which gnuplot wants for dates.
void write_range(std::ostream& out, char axis, Range const& range, char const* quote = "") {
    out << "set " << axis << "range [" << quote;
    write_number(out, range.lower);
    out << quote << ':' << quote;
    write_number(out, range.upper);
    out << quote << "]\n";
}

/// Six dates at equal distances.
void write_date_axis(std::ostream& out, Range const& x) {
    constexpr double c_month = 30.0 * 86400.0;
    constexpr double c_intervals = 5.0;
    Range const range = widened(x, c_month);
    out << "set xdata time\nset timefmt '%s'\nset xtics '";
    write_number(out, range.lower);
    out << "', ";
    write_number(out, (range.upper - range.lower) / c_intervals);
    out << "format '%Y-%m-%d'\n";
    write_range(out, 'x', range, "'");
}

void write_axes(std::ostream& out, Chart const& chart) {
    Range x;
    Range y;
    for (Curve const& curve : chart.curves) {
        x.add(curve.x);
        if (curve.mark != Mark::band) y.add(curve.y);
        if (curve.mark == Mark::impulses) y.add({0.0});
        if (curve.mark != Mark::band && curve.mark != Mark::points) continue;
        y.add(curve.lower);
        y.add(curve.upper);
    }
    if (chart.has_dates) {
        write_date_axis(out, x);
    } else {
        out << "set xdata\nset xtics autofreq format '%h'\n";
        write_range(out, 'x', widened(x, 1.0));
    }
    if (chart.y_range) {
        write_range(out, 'y', {chart.y_range->first, chart.y_range->second});
    } else {
        write_range(out, 'y', widened(y, std::max(0.05 * std::abs(y.lower), 0.1)));
    }
}

}  // namespace

double seconds_of(std::string const& date) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    if (std::sscanf(date.c_str(), "%4d-%2u-%2u", &year, &month, &day) != 3) return std::nan("");
    std::chrono::year_month_day const fields{std::chrono::year(year), std::chrono::month(month),
                                             std::chrono::day(day)};
    if (!fields.ok()) return std::nan("");
    return std::chrono::duration<double>(std::chrono::sys_days(fields).time_since_epoch()).count();
}

std::optional<std::string> make_plot(std::vector<Chart> const& charts, std::string const& file) {
    std::ostringstream data;
    std::ostringstream panels;
    std::size_t nb_panels = 0;
    std::size_t nb_curves = 0;
    for (Chart const& chart : charts) {
        if (std::none_of(chart.curves.begin(), chart.curves.end(), has_point)) continue;
        ++nb_panels;
        panels << "set title " << label(chart.title) << "\nset xlabel " << label(chart.x_axis)
               << "\nset ylabel " << label(chart.y_axis) << '\n';
        write_axes(panels, chart);
        char const* separator = "plot ";
        for (Curve const& curve : chart.curves) {
            if (!has_point(curve)) continue;
            std::string const name = "$data" + std::to_string(nb_curves++);
            write_data(data, name, curve);
            panels << separator;
            write_curve(panels, name, curve);
            separator = ", ";
        }
        panels << '\n';
    }
    if (nb_panels == 0) return std::nullopt;
    std::ostringstream out;
    write_output(out, file, nb_panels);
    out << data.str() << "set grid\nset style fill solid 0.6 noborder\n"
        << "set key outside right top samplen 2\nset lmargin 12\nset rmargin 22\n"
        << "set tics font ',10'\nset multiplot layout " << nb_panels << ",1\n"
        << panels.str() << "unset multiplot\nset output\n";
    return out.str();
}

}  // namespace xim
