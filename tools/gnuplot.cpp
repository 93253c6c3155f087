#include "gnuplot.hpp"

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <system_error>

namespace xim {

namespace {

constexpr int c_width = 900;
constexpr std::size_t c_panel_height = 420;

bool ends_with(std::string const& text, std::string const& end) {
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

bool is_picture(std::string const& file) {
    return ends_with(file, ".svg") || ends_with(file, ".png");
}

bool can_write(std::string const& file) {
    std::error_code none;
    bool const is_new = !std::filesystem::exists(file, none);
    bool const writable = std::ofstream(file, std::ios::app).is_open();
    if (is_new && writable) std::filesystem::remove(file, none);
    return writable;
}

std::string quoted(std::string const& text) {
    std::string result = "'";
    for (char const c : text) {
        if (c == '\'') result += '\'';  // only a single quote is special between single quotes
        result += c == '\n' || c == '\r' ? ' ' : c;
    }
    return result + '\'';
}

std::string label(std::string const& text) {
    return quoted(text) + " noenhanced";
}

void write_number(std::ostream& out, double value) {
    constexpr int c_digits = 12;  // seconds since 1970 among them
    if (!std::isfinite(value)) {
        out << "nan ";
        return;
    }
    std::ostringstream text;
    text << std::setprecision(c_digits) << value;
    out << text.str() << ' ';
}

void write_output(std::ostream& out, std::string const& file, std::size_t nb_panels) {
    out << "set terminal " << (ends_with(file, ".svg") ? "svg" : "pngcairo") << " size " << c_width
        << ',' << c_panel_height * nb_panels << "\nset output " << quoted(file)
        << "\nset datafile missing 'nan'\n";
}

std::optional<std::string> draw(std::string const& commands) {
    if (std::system("command -v gnuplot >/dev/null 2>&1") != 0) {
        return "Plots need the program gnuplot: install the Debian package gnuplot-nox.";
    }
    std::signal(SIGPIPE, SIG_IGN);  // a gnuplot that ends early is reported, not fatal
    std::FILE* const pipe = popen("gnuplot", "w");
    if (pipe == nullptr) return "Cannot start gnuplot.";
    bool const written = std::fwrite(commands.data(), 1, commands.size(), pipe) == commands.size();
    if (pclose(pipe) != 0 || !written) return "gnuplot could not draw the plot.";
    return std::nullopt;
}

}  // namespace xim
