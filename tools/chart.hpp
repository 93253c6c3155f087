// Charts as a person reads them, and the commands that draw them.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace xim {

/// How the points of a curve are drawn.
enum class Mark {
    line,         ///< joined
    line_points,  ///< joined, each point marked
    points,       ///< each with its bounds and its label, as far as the curve has them
    band,         ///< the area between the bounds
    impulses,     ///< a line from zero
    steps_back    ///< a value holds since the point before
};

/// Points of one colour. A value that is no number leaves a gap.
struct Curve {
    std::string name;  ///< in the key; empty: not there
    Mark mark{Mark::line};
    std::string colour;           ///< as #rrggbb
    std::vector<double> x;        ///< [point], ascending; seconds since 1970 on an axis of dates
    std::vector<double> y;        ///< [point]
    std::vector<double> lower{};  ///< [point], or empty
    std::vector<double> upper{};  ///< [point], or empty
    std::vector<std::string> labels{};  ///< [point], or empty
};

/// One panel of a picture.
struct Chart {
    std::string title;
    std::string x_axis;
    std::string y_axis;
    bool has_dates{};
    /// Taken from the points if there is none.
    std::optional<std::pair<double, double>> y_range;
    std::vector<Curve> curves;  ///< the last is in front
};

/// The time of a date that starts with YYYY-MM-DD on an axis of dates; not a number for another
/// text.
double seconds_of(std::string const& date);

/// The commands that draw the charts one below the other into a file, data included. Charts
/// without a point are left out. Nothing if none is left.
/// `file`: ends in .svg or .png.
std::optional<std::string> make_plot(std::vector<Chart> const& charts, std::string const& file);

}  // namespace xim
