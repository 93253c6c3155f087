// Writes the demonstration market data as two sources of the library: the document in the market
// file format, and a table of its spots. The build runs it; the repository holds this program
// alone. The spots are five seeded random walks around levels that run linearly between yearly
// anchors, in integers only, so that every machine writes the same bytes. Usage: generate
// DOCUMENT.cpp SERIES.cpp

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/data/demo/content.hpp"

namespace {

namespace Demo = ximCORE::Data::Demo;
namespace chrono = std::chrono;

constexpr int first_year = 2013;
constexpr chrono::sys_days first_day = chrono::year(2013) / 11 / 5;
constexpr chrono::sys_days last_day = chrono::year(2023) / 11 / 5;
constexpr std::size_t document_size = 1436337;
constexpr std::int64_t million = 1000000;

struct ClosedDays {
    int year;
    std::string_view days;  // month and day of each weekday without a quote, blank-separated
};

// clang-format off
constexpr auto american_closed_days = std::to_array<ClosedDays>({
    {2013, "1128 1225"},
    {2014, "0101 0120 0217 0418 0526 0704 0901 1127 1225"},
    {2015, "0101 0119 0216 0403 0525 0703 0907 1126 1225"},
    {2016, "0101 0118 0215 0325 0530 0704 0905 1124 1226"},
    {2017, "0102 0116 0220 0414 0529 0704 0904 1123 1225"},
    {2018, "0101 0115 0219 0330 0528 0704 0903 1122 1205 1225"},
    {2019, "0101 0121 0218 0419 0527 0704 0902 1128 1225"},
    {2020, "0101 0120 0217 0410 0525 0703 0907 1126 1225"},
    {2021, "0101 0118 0215 0402 0531 0705 0906 1125 1224"},
    {2022, "0117 0221 0415 0530 0620 0704 0905 1124 1226"},
    {2023, "0102 0116 0220 0407 0529 0619 0704 0904"},
});

constexpr auto european_closed_days = std::to_array<ClosedDays>({
    {2013, "1225"},
    {2014, "0101 0418 0421 0501 1225 1226"},
    {2015, "0101 0403 0406 0501 1225"},
    {2016, "0101 0325 0328 1226"},
    {2017, "0414 0417 0501 1225 1226"},
    {2018, "0101 0330 0402 0501 1225 1226"},
    {2019, "0101 0419 0422 0501 1225 1226"},
    {2020, "0101 0410 0413 0501 1225"},
    {2021, "0101 0402 0405"},
    {2022, "0415 0418 1226"},
    {2023, "0407 0410 0501"},
});

constexpr auto japanese_closed_days = std::to_array<ClosedDays>({
    {2013, "1223 1231"},
    {2014, "0101 0102 0103 0113 0211 0321 0429 0505 0721 0915 0923 1013 1103 1124 1223 1231"},
    {2015, "0101 0102 0112 0211 0429 0504 0505 0720 0921 0922 0923 1012 1103 1123 1223 1231"},
    {2016, "0101 0111 0211 0321 0429 0504 0505 0718 0811 0919 0922 1010 1103 1123 1223"},
    {2017, "0102 0103 0109 0320 0504 0505 0717 0811 0918 1009 1103 1123"},
    {2018, "0101 0102 0103 0108 0212 0321 0430 0504 0716 0917 0924 1008 1123 1224 1231"},
    {2019, "0101 0102 0103 0114 0211 0321 0429 0430 0715 0812 0916 0923 1014 1022 1104 1231"},
    {2020, "0101 0102 0103 0113 0211 0224 0320 0429 0504 0505 0723 0724 0810 0921 0922 1103 1123 1231"},
    {2021, "0101 0111 0211 0223 0429 0504 0505 0722 0723 0809 0920 0923 1103 1123 1231"},
    {2022, "0103 0110 0211 0223 0321 0429 0504 0505 0718 0811 0919 0923 1010 1103 1123"},
    {2023, "0102 0103 0109 0223 0321 0504 0505 0717 0811 0918 1009 1103"},
});
// clang-format on

/// One walk. The anchors are the levels of 5 November of 2013 to 2023, in thousandths.
struct Walk {
    std::string_view ticker;
    int decimals;
    bool is_rate;  // quoted on all weekdays and on the last day, with half the noise
    std::span<ClosedDays const> closed_days;
    std::array<std::int64_t, 11> anchors;
};

// clang-format off
constexpr auto walk_table = std::to_array<Walk>({
    {"USD-EUR", 5, true, {}, {742, 800, 919, 900, 861, 877, 903, 846, 866, 1005, 932}},
    {"USD-JPY", 3, true, {}, {98500, 114600, 121600, 103100, 114100, 113200, 109200, 103500, 113400, 146700, 149400}},
    {"^STOXX50E", 2, false, european_closed_days, {3050000, 3100000, 3440000, 2950000, 3690000, 3210000, 3680000, 3210000, 4360000, 3690000, 4170000}},
    {"^GSPC", 2, false, american_closed_days, {1760000, 2020000, 2100000, 2080000, 2590000, 2740000, 3080000, 3510000, 4700000, 3770000, 4360000}},
    {"^N225", 2, false, japanese_closed_days, {14200000, 16900000, 19100000, 16900000, 22500000, 21900000, 23300000, 24100000, 29600000, 27200000, 32000000}},
});
// clang-format on

/// Prices in millionths.
struct Quote {
    chrono::year_month_day day;
    std::int64_t bid;
    std::int64_t ask;
};

std::string two_digits(unsigned number) {
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

std::string month_day(chrono::year_month_day day) {
    return two_digits(unsigned(day.month())) + two_digits(unsigned(day.day()));
}

bool is_quoted(Walk const& walk, chrono::sys_days day) {
    if (walk.is_rate && day == last_day) return true;
    if (chrono::weekday(day).iso_encoding() > 5) return false;
    chrono::year_month_day const fields(day);
    for (auto const& closed : walk.closed_days)
        if (closed.year == int(fields.year()))
            return closed.days.find(month_day(fields)) == std::string_view::npos;
    return true;
}

/// The level between the anchors around the day, in millionths.
std::int64_t level(Walk const& walk, chrono::sys_days day) {
    auto const anchor_day = [](int i) {
        return chrono::sys_days(chrono::year(first_year + i) / 11 / 5);
    };
    int i = 0;
    while (i < 9 && anchor_day(i + 1) <= day) ++i;
    auto const anchor = [&](int k) { return walk.anchors[static_cast<std::size_t>(k)] * 1000; };
    return anchor(i) + (anchor(i + 1) - anchor(i)) * (day - anchor_day(i)).count() /
                           (anchor_day(i + 1) - anchor_day(i)).count();
}

/// Steele, Lea, Flood: Fast splittable pseudorandom number generators (2014), with the constants of
/// splitmix64.
std::uint64_t next_random(std::uint64_t& state) {
    state += 0x9E3779B97F4A7C15;
    std::uint64_t z = state;
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EB;
    return z ^ (z >> 31U);
}

/// The noise, in parts per million of the level, fades by 1/32 a quote; a step is uniform within
/// the reach.
std::vector<Quote> quotes(Walk const& walk, std::uint64_t seed) {
    std::int64_t const reach = walk.is_rate ? 4000 : 8000;
    std::uint64_t state = seed;
    std::int64_t noise = 0;
    std::vector<Quote> out;
    for (auto day = first_day; day <= last_day; day += chrono::days(1)) {
        if (!is_quoted(walk, day)) continue;
        auto const step = next_random(state) % static_cast<std::uint64_t>(2 * reach + 1);
        noise = noise * 31 / 32 + static_cast<std::int64_t>(step) - reach;
        std::int64_t const mid = level(walk, day) * (million + noise) / million;
        out.push_back({day, mid - mid / 10000, mid + mid / 10000});
    }
    return out;
}

/// Millionths as a decimal number, cut behind `decimals` digits.
std::string amount(std::int64_t millionths, int decimals) {
    std::string fraction = std::to_string(million + millionths % million).substr(1);
    fraction.resize(static_cast<std::size_t>(decimals));
    return std::to_string(millionths / million) + "." + fraction;
}

std::string date_text(chrono::year_month_day day) {
    return std::to_string(int(day.year())) + "-" + two_digits(unsigned(day.month())) + "-" +
           two_digits(unsigned(day.day()));
}

/// One object of the document, member by member.
class Object {
 public:
    explicit Object(std::string_view type) { text("type", type); }

    Object& text(std::string_view key, std::string_view value) {
        return number(key, '"' + std::string(value) + '"');
    }
    Object& number(std::string_view key, std::string_view value) {
        m_text += m_text.empty() ? "{" : ",";
        m_text += '"';
        m_text += key;
        m_text += "\":";
        m_text += value;
        return *this;
    }
    /// Every object ends with the day on which the data were made.
    std::string finish() { return text("creation_date", "2023-11-05").m_text + "}"; }

 private:
    std::string m_text;
};

void add_descriptions(std::vector<std::string>& objects) {
    for (auto const& row : Demo::currency_table)
        objects.push_back(Object("Currency")
                              .text("ticker", row.ticker)
                              .text("name", row.name)
                              .text("calendar", Demo::calendar)
                              .text("day_counter", Demo::day_counter)
                              .number("forward_rate_affinity_factor",
                                      amount(row.affinity_factor_tenths * million / 10, 1))
                              .finish());
    for (auto const& row : Demo::share_table)
        objects.push_back(Object("ShareUnderlying")
                              .text("ticker", row.ticker)
                              .text("name", row.name)
                              .text("currency", row.currency)
                              .text("fixing_calendar", Demo::calendar)
                              .text("day_counter", Demo::day_counter)
                              .finish());
    for (auto const& row : Demo::exchange_rate_table)
        objects.push_back(Object("ExchangeRateUnderlying")
                              .text("ticker", row.ticker)
                              .text("name", row.name)
                              .text("base_currency", row.base)
                              .text("currency", row.quote)
                              .text("fixing_calendar", Demo::calendar)
                              .text("day_counter", Demo::day_counter)
                              .finish());
}

void add_spots(std::vector<std::string>& objects, Walk const& walk,
               std::vector<Quote> const& spots) {
    for (auto const& spot : spots)
        objects.push_back(Object("Spot")
                              .text("ticker", walk.ticker)
                              .text("date", date_text(spot.day))
                              .number("bid", amount(spot.bid, walk.decimals))
                              .number("ask", amount(spot.ask, walk.decimals))
                              .finish());
}

void add_parameters(std::vector<std::string>& objects) {
    for (auto const ticker : Demo::volatility_tickers)
        objects.push_back(Object("BlackScholesVolatility")
                              .text("ticker", ticker)
                              .text("date", Demo::volatility_date)
                              .number("value", amount(Demo::volatility_percent * million, 1))
                              .finish());
    for (auto const& row : Demo::correlation_table)
        objects.push_back(Object("Correlation")
                              .text("first", row.first)
                              .text("second", row.second)
                              .text("date", Demo::correlation_date)
                              .number("value", amount(row.percent * million, 1))
                              .finish());
    objects.push_back(
        Object("YahooProvider").text("ticker", "^GSPC").text("code", "^GSPC").finish());
}

/// The objects as one array, padded with blanks before its end.
std::string join(std::vector<std::string> const& objects) {
    std::string document;
    char separator = '[';
    for (auto const& object : objects) {
        document += separator;
        document += object;
        separator = ',';
    }
    document.resize(document_size - 1, ' ');
    return document + "]";
}

void write_document(std::ostream& out, std::string_view document) {
    constexpr std::size_t line_size = 512;
    out << "#include \"core/data/demo/document.hpp\"\n\n"
           "#pragma GCC diagnostic ignored \"-Woverlength-strings\"\n\n"
           "namespace ximCORE::Data::Demo {\n\n"
           "std::string_view document() {\n    static constexpr char text[] =";
    for (std::size_t i = 0; i < document.size(); i += line_size) {
        out << "\n        \"";
        for (char const c : document.substr(i, line_size)) out << (c == '"' ? "\\" : "") << c;
        out << '"';
    }
    out << ";\n    return {text, sizeof text - 1};\n}\n\n}  // namespace ximCORE::Data::Demo\n";
}

/// The mid in the arithmetic of whoever reads the document: bid and ask in single precision.
float mid(Quote const& quote, int decimals) {
    auto const read = [&](std::int64_t millionths) {
        return static_cast<float>(std::strtod(amount(millionths, decimals).c_str(), nullptr));
    };
    return static_cast<float>(0.5 * static_cast<double>(read(quote.bid) + read(quote.ask)));
}

void write_quotes(std::ostream& out, Walk const& walk, std::vector<Quote> const& spots,
                  std::size_t number) {
    out << "constexpr Quote quotes_" << number << "[] = {\n";
    for (auto const& spot : spots) {
        std::array<char, 40> value{};
        std::snprintf(value.data(), value.size(), "%a",
                      static_cast<double>(mid(spot, walk.decimals)));
        out << "    {" << int(spot.day.year()) << month_day(spot.day) << ", " << value.data()
            << "F},\n";
    }
    out << "};\n\n";
}

void write_series(std::ostream& out, std::vector<std::vector<Quote>> const& spots) {
    out << "#include \"core/data/demo/document.hpp\"\n\n"
           "namespace ximCORE::Data::Demo {\n\nnamespace {\n\n";
    for (std::size_t i = 0; i < spots.size(); ++i) write_quotes(out, walk_table[i], spots[i], i);
    out << "constexpr Series series_table[] = {\n";
    for (std::size_t i = 0; i < spots.size(); ++i)
        out << "    {\"" << walk_table[i].ticker << "\", quotes_" << i << "},\n";
    out << "};\n\n}  // namespace\n\n"
           "std::span<Series const> series() { return series_table; }\n\n"
           "}  // namespace ximCORE::Data::Demo\n";
}

/// Writes a file; false when it cannot be written whole.
bool write_file(char const* path, auto&& write) {
    std::ofstream out(path);
    write(out);
    out.close();
    if (!out) std::cerr << "Cannot write " << path << "\n";
    return static_cast<bool>(out);
}

bool generate(char const* document_path, char const* series_path) {
    std::vector<std::vector<Quote>> spots;
    for (auto const& walk : walk_table) spots.push_back(quotes(walk, spots.size() + 1));
    std::vector<std::string> objects;
    add_descriptions(objects);
    for (std::size_t i = 0; i < spots.size(); ++i) add_spots(objects, walk_table[i], spots[i]);
    add_parameters(objects);
    return write_file(document_path,
                      [&](std::ostream& out) { write_document(out, join(objects)); }) &&
           write_file(series_path, [&](std::ostream& out) { write_series(out, spots); });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "Usage: generate DOCUMENT.cpp SERIES.cpp\n";
        return EXIT_FAILURE;
    }
    return generate(argv[1], argv[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
}
