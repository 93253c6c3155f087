#include "dsl/encoded.hpp"

#include <algorithm>
#include <fstream>
#include <locale>
#include <utility>

#include "dsl/amount.hpp"
#include "dsl/cashflow.hpp"

namespace ximDSL {

namespace {

/// More items than this are made room for one by one: the counts of a file are not to be trusted.
constexpr std::uint64_t max_reserved_items = 100'000;

/// Opens the file before anything is encoded: a tree that could not be saved is still fresh.
template <class Encode>
bool save(std::string const& filename, Encode const& encode) {
    std::ofstream file(filename);
    Encoded encoded;
    if (!file.is_open() || !encode(encoded)) return false;
    Toolkit::serialize(encoded, file);
    file.close();
    return !file.fail();
}

}  // namespace

ItemEncoded::ItemEncoded(char item_tag, int item_id, int item_op)
    : tag(item_tag), id(item_id), op(item_op) {
    payload.imbue(std::locale::classic());
}

bool encode(std::vector<Observation> const& observations, Encoded& encoded) {
    Counts counts{encoded.amounts, encoded.events, encoded.cashflows};
    for (auto const& observation : observations) {
        if (observation.amount == nullptr || !observation.amount->c_count(counts)) return false;
    }
    encoded.amounts = counts.amounts;
    encoded.events = counts.events;
    for (std::size_t index = 0; index < observations.size(); ++index) {
        auto const& [date, amount] = observations[index];
        amount->write(encoded);
        auto& item = encoded.items.emplace_back('o', static_cast<int>(index), 0);
        check_field(encoded, date);
        item.payload << date << ',' << amount->c_get_id();
    }
    return encoded.text_with_comma.empty();
}

void Toolkit::serialize(Encoded const& encoded, std::ostream& out) {
    out.imbue(std::locale::classic());
    out << encoded.root << ' ' << encoded.amounts << ' ' << encoded.events << ' '
        << encoded.cashflows << '\n';
    for (auto const& item : encoded.items) {
        out << item.tag << ' ' << item.id << ' ' << item.op << ' ' << item.payload.str() << '\n';
    }
}

void Toolkit::deserialize(std::istream& in, Encoded& encoded) {
    in.imbue(std::locale::classic());
    if (!(in >> encoded.root >> encoded.amounts >> encoded.events >> encoded.cashflows)) return;
    auto const bounded = [](std::uint64_t count) { return std::min(count, max_reserved_items); };
    encoded.items.reserve(
        bounded(bounded(encoded.amounts) + bounded(encoded.events) + bounded(encoded.cashflows)));
    char tag{};
    int id{};
    int op{};
    std::string payload;
    while (in >> tag >> id >> op >> payload) {
        encoded.items.emplace_back(tag, id, op).payload << payload;
    }
}

bool Save(CashFlowPtr const& cashflow, std::string const& filename) {
    if (cashflow == nullptr) return false;
    return save(filename, [&](Encoded& encoded) { return cashflow->encode(encoded); });
}

bool Save(std::vector<Observation> const& observations, std::string const& filename) {
    return save(filename, [&](Encoded& encoded) { return encode(observations, encoded); });
}

}  // namespace ximDSL
