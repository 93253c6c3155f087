// A source of market data that answers from small tables and keeps a journal of what it was asked.

#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/data/api.hpp"

namespace ximCORE::Data {

/// What a source was asked and what became of it; outlives the source.
struct Journal {
    std::vector<std::string> questions;
    int connected = 0;
    int disconnected = 0;
    int deleted = 0;
};

/// Answers from small tables; texts are "ticker", "base quote", "date ticker" or "date first
/// second".
class TableSource final : public API {
 public:
    explicit TableSource(Journal& journal) : m_journal(journal) {}
    ~TableSource() override { ++m_journal.deleted; }

    bool can_connect = true;
    bool can_disconnect = true;
    std::vector<GetCurrenciesOut> currencies;
    std::vector<GetUnderlyingsOut> underlyings;
    std::vector<GetCurrencyPairsOut> pairs;
    std::map<std::string, float> spots;
    std::map<std::string, float> volatilities;
    std::map<std::string, float> correlations;
    bool is_chatty = false;  // answers with all that it knows

    bool connect() override {
        ++m_journal.connected;
        return can_connect;
    }
    bool disconnect() override {
        ++m_journal.disconnected;
        return can_disconnect;
    }
    bool get_currencies(std::vector<GetCurrenciesIn> const& in,
                        std::vector<GetCurrenciesOut>& out) override {
        for (auto const& request : in) note(request.ticker);
        out = currencies;
        return false;
    }
    bool get_underlyings(std::vector<GetUnderlyingsIn> const& in,
                         std::vector<GetUnderlyingsOut>& out) override {
        for (auto const& request : in) note(request.ticker);
        out = underlyings;
        return false;
    }
    bool get_currency_pairs(std::vector<GetCurrencyPairsIn> const& in,
                            std::vector<GetCurrencyPairsOut>& out) override {
        for (auto const& request : in) {
            note(std::string(request.base) + " " + request.quote);
            for (auto const& pair : pairs)
                if (is_chatty || (std::string(pair.base.c_str()) == request.base &&
                                  std::string(pair.quote.c_str()) == request.quote))
                    out.push_back(pair);
        }
        return false;
    }
    bool get_spots(std::vector<GetSpotsIn> const& in, std::vector<GetSpotsOut>& out) override {
        answer(in, out, spots);
        return false;
    }
    bool get_black_scholes_volatilities(std::vector<GetBlackScholesVolatilitiesIn> const& in,
                                        std::vector<GetBlackScholesVolatilitiesOut>& out) override {
        answer(in, out, volatilities);
        return false;
    }
    bool get_correlations(std::vector<GetCorrelationsIn> const& in,
                          std::vector<GetCorrelationsOut>& out) override {
        for (auto const& request : in) {
            auto const key = std::string(request.date) + " " + request.first + " " + request.second;
            note(key);
            auto const found = correlations.find(key);
            if (found == correlations.end()) continue;
            auto& reply = out.emplace_back();
            reply.date.set(request.date);
            reply.first.set(request.first);
            reply.second.set(request.second);
            reply.value.set(found->second);
        }
        return false;
    }

 private:
    void note(std::string const& question) { m_journal.questions.push_back(question); }

    template <class In, class Out>
    void answer(std::vector<In> const& in, std::vector<Out>& out,
                std::map<std::string, float> const& table) {
        std::set<std::string> asked;
        for (auto const& request : in) {
            asked.insert(std::string(request.date) + " " + request.ticker);
            note(std::string(request.date) + " " + request.ticker);
        }
        for (auto const& [key, value] : table) {
            if (!is_chatty && !asked.contains(key)) continue;
            auto& reply = out.emplace_back();
            reply.date.set(key.substr(0, key.find(' ')));
            reply.ticker.set(key.substr(key.find(' ') + 1));
            reply.value.set(value);
        }
    }

    Journal& m_journal;
};

}  // namespace ximCORE::Data
