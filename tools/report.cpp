#include "report.hpp"

#include <array>
#include <cstddef>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "table.hpp"
#include "ximAPI/diagnosis.hpp"

namespace xim {

namespace {

std::string yes_no(Json::Value const& value) {
    return value.isBool() && value.asBool() ? "yes" : "no";
}

void add_estimate(Table& table, std::string const& greek, std::string const& name,
                  Json::Value const& estimate) {
    table.add({greek, name, number(estimate["Mean"]), number(estimate["Lower"]),
               number(estimate["Upper"]), number(estimate["Stddev"])});
}

/// The events as they nest: an event names the positions of those that depend on it.
std::string describe(Json::Value const& event) {
    Json::Value const& attributes = event["Attributes"];
    std::ostringstream line;
    for (char const* key : {"Script", "Name", "Ticker", "Currency", "ChoiceOwnership"}) {
        if (attributes.isMember(key)) {
            line << (line.tellp() > 0 ? ", " : "") << text(attributes[key]);
        }
    }
    for (auto const& [start, end] :
         {std::pair{"StartLeft", "EndLeft"}, {"StartRight", "EndRight"}, {"Start", "End"}}) {
        if (attributes.isMember(start)) {
            line << ", " << start << " " << attributes[start].asInt() << " to "
                 << attributes[end].asInt();
        }
    }
    if (attributes.isMember("Quantity")) {
        line << ", quantity " << number(attributes["Quantity"]);
    }
    if (attributes["HasValue"].isBool() && attributes["HasValue"].asBool()) {
        Json::Value const& value = attributes["Value"];
        line << " = " << (value.isBool() ? yes_no(value) : number(value));
    }
    return line.str();
}

}  // namespace

void report_log(Json::Value const& answer, std::ostream& out) {
    std::string last;
    std::size_t nb_equal = 0;
    auto const print = [&] {
        if (nb_equal > 0) out << last;
        if (nb_equal > 1) out << " (" << nb_equal << " times)";
        if (nb_equal > 0) out << '\n';
    };
    for (Json::Value const& record : answer["Logger"]) {
        std::string const level = text(record["Level"]);
        if (level != "WARNING" && level != "ERROR" && level != "EXCEPTION") continue;
        std::string line = level + ": " + text(record["Message"]);
        if (line == last) {
            ++nb_equal;
            continue;
        }
        print();
        last = std::move(line);
        nb_equal = 1;
    }
    print();
}

void report_script(Json::Value const& request, std::ostream& out) {
    Json::Value const& script = request["ContractConfiguration"]["Script"];
    if (!script.isString()) {
        return;
    }
    out << ximAPI::render_diagnosis(ximAPI::diagnose_script(script.asString()), script.asString());
}

void report_price(Json::Value const& answer, std::ostream& out) {
    Json::Value const& results = answer["Pricer"]["Pricer"];
    Json::Value const& price = results["Price"][0]["Value"];
    std::string const currency = text(answer["ContractConfiguration"]["PremiumCurrency"]);
    out << "Price            " << number(price["Mean"]) << ' ' << currency << '\n'
        << "Confidence       " << number(price["Lower"]) << " to " << number(price["Upper"]) << '\n'
        << "Standard error   " << number(price["Stddev"]) << '\n';
    Table table({"Greek", "Underlying", "Value", "Lower", "Upper", "Standard error"});
    bool any = false;
    for (char const* greek : {"Delta", "Gamma", "Vega", "Volga", "Vanna"}) {
        for (Json::Value const& row : results[greek]) {
            add_estimate(table, greek, text(row["Ticker"]), row["Value"]);
            any = true;
        }
    }
    for (char const* greek : {"XGamma", "XVolga", "XVanna", "Cega"}) {
        for (Json::Value const& cell : results[greek]) {
            add_estimate(table, greek,
                         text(cell["FirstTicker"]) + " / " + text(cell["SecondTicker"]),
                         cell["Value"]);
            any = true;
        }
    }
    if (any) {
        out << "\nGreeks, per unit of relative spot move, of volatility and of correlation\n";
        table.print(out);
    }
}

void report_contract(Json::Value const& answer, std::ostream& out) {
    Json::Value const& contract = answer["Contract"];
    out << "Script\n" << text(contract["Script"]) << "\n\nUnderlyings\n";
    Table underlyings({"Ticker", "Name", "Class", "Currency", "Last quote", "Quanto"});
    for (Json::Value const& row : contract["Underlyings"]) {
        underlyings.add({text(row["Ticker"]), text(row["CompleteName"]), text(row["AssetClass"]),
                         text(row["QuoteCurrency"]),
                         yes_no(row["HasLastQuote"]) == "yes" ? number(row["LastQuote"]) : "none",
                         yes_no(row["IsQuanto"])});
    }
    underlyings.print(out);

    Json::Value const& matrix = contract["CorrelationMatrix"];
    if (matrix["Rows"].size() > 1) {
        out << "\nCorrelations, percent\n";
        std::vector<std::string> head{""};
        for (Json::Value const& ticker : matrix["Cols"]) {
            head.push_back(text(ticker));
        }
        Table correlations(head);
        for (Json::ArrayIndex i = 0; i < matrix["Rows"].size(); ++i) {
            std::vector<std::string> row{text(matrix["Rows"][i])};
            for (Json::Value const& cell : matrix["Data"][i]) {
                row.push_back(yes_no(cell["HasValue"]) == "yes" ? number(cell["Value"]) : "none");
            }
            correlations.add(row);
        }
        correlations.print(out);
    }

    out << "\nFixings\n";
    Table fixings({"Date", "Ticker", "Currency", "Quote", "Past"});
    for (Json::Value const& row : contract["Fixings"]) {
        fixings.add({text(row["Date"]), text(row["Ticker"]), text(row["QuoteCurrency"]),
                     yes_no(row["HasQuote"]) == "yes" ? number(row["Quote"]) : "open",
                     yes_no(row["IsPast"])});
    }
    fixings.print(out);

    out << "\nEvents\n";
    Table events({"#", "Date", "Type", "What"});
    Json::ArrayIndex index = 0;
    for (Json::Value const& row : contract["Events"]) {
        events.add({std::to_string(index++), text(row["Date"]), text(row["Type"]), describe(row)});
    }
    events.print(out);
}

}  // namespace xim
