// The product forms of a contract: one row per kind with its text in JSON and the reader of its
// keys.
//
// A new product is its class with a `build`, its table in fields_products.hpp, and
// `&read_product<Class>` in its row here.
#pragma once

#include <json/value.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

#include "api/json/engine.hpp"
#include "api/json/fields_products.hpp"
#include "ximAPI/cashflow.hpp"
#include "ximAPI/enums.hpp"

namespace ximAPI::Toolkit {

struct ProductRow {
    ContractKind kind;
    std::string_view text;
    /// Makes the product from the keys of the contract's object; null for a kind that has none.
    std::unique_ptr<ICashFlow> (*reader)(Json::Value const&);
};

template <class Product>
std::unique_ptr<ICashFlow> read_product(Json::Value const& json) {
    auto product = std::make_unique<Product>();
    deserialize(json, *product);
    return product;
}

// clang-format off
inline constexpr auto product_table = std::to_array<ProductRow>({
    {ContractKind::CONSOLE, "CONSOLE", &read_product<Console>},
    {ContractKind::FILE, "FILE", &read_product<File>},
    {ContractKind::AIRGBAG_CERTIFICATE_EXAMPLE, "AIRGBAG_CERTIFICATE_EXAMPLE", nullptr},
    {ContractKind::AMERICAN_OPTION_EXAMPLE, "AMERICAN_OPTION_EXAMPLE", &read_product<AmericanOptionExample>},
    {ContractKind::ASIAN_OPTION_EXAMPLE, "ASIAN_OPTION_EXAMPLE", &read_product<AsianOptionExample>},
    {ContractKind::BARRIER_OPTION_EXAMPLE, "BARRIER_OPTION_EXAMPLE", &read_product<BarrierOptionExample>},
    {ContractKind::BARRIER_REVERSE_CONVERTIBLE_EXAMPLE, "BARRIER_REVERSE_CONVERTIBLE_EXAMPLE", &read_product<BarrierReverseConvertibleExample>},
    {ContractKind::BONUS_CERTIFICATE_EXAMPLE, "BONUS_CERTIFICATE_EXAMPLE", nullptr},
    {ContractKind::BUTTERFLY_SPREAD_EXAMPLE, "BUTTERFLY_SPREAD_EXAMPLE", &read_product<ButterflySpreadOptionExample>},
    {ContractKind::CAPPED_BONUS_CERTIFICATE_EXAMPLE, "CAPPED_BONUS_CERTIFICATE_EXAMPLE", nullptr},
    {ContractKind::CONDOR_SPREAD_EXAMPLE, "CONDOR_SPREAD_EXAMPLE", &read_product<CondorSpreadExample>},
    {ContractKind::DIGITAL_OPTION_EXAMPLE, "DIGITAL_OPTION_EXAMPLE", &read_product<DigitalOptionExample>},
    {ContractKind::DISCOUNT_CERTIFICATE_EXAMPLE, "DISCOUNT_CERTIFICATE_EXAMPLE", nullptr},
    {ContractKind::DOUBLE_BARRIER_OPTION_EXAMPLE, "DOUBLE_BARRIER_OPTION_EXAMPLE", &read_product<DoubleBarrierOptionExample>},
    {ContractKind::EUROPEAN_OPTION_EXAMPLE, "EUROPEAN_OPTION_EXAMPLE", &read_product<EuropeanOptionExample>},
    {ContractKind::MULTI_ASSET_OPTION_EXAMPLE, "MULTI_ASSET_OPTION_EXAMPLE", &read_product<MultiAssetOptionExample>},
    {ContractKind::OUT_PERFORMANCE_BONUS_CERTIFICATE_EXAMPLE, "OUT_PERFORMANCE_BONUS_CERTIFICATE_EXAMPLE", nullptr},
    {ContractKind::REVERSE_CONVERTIBLE_EXAMPLE, "REVERSE_CONVERTIBLE_EXAMPLE", &read_product<ReverseConvertibleExample>},
    {ContractKind::RISK_REVERSAL_EXAMPLE, "RISK_REVERSAL_EXAMPLE", &read_product<RiskReversalExample>},
    {ContractKind::SPREAD_OPTION_EXAMPLE, "SPREAD_OPTION_EXAMPLE", &read_product<SpreadOptionExample>},
    {ContractKind::STRADDLE_EXAMPLE, "STRADDLE_EXAMPLE", &read_product<StraddleExample>},
    {ContractKind::STRANGLE_EXAMPLE, "STRANGLE_EXAMPLE", &read_product<StrangleExample>},
    {ContractKind::TWIN_WIN_CERTIFICATE_EXAMPLE, "TWIN_WIN_CERTIFICATE_EXAMPLE", nullptr},
    {ContractKind::AUTOCALL, "AUTOCALL", &read_product<Autocall>},
    {ContractKind::VANILLA, "VANILLA", &read_product<Vanilla>},
});
// clang-format on

/// Whether each row stands at the place of its kind's value.
template <std::size_t n>
consteval bool in_order(std::array<ProductRow, n> const& rows) {
    for (std::size_t index = 0; index < n; ++index) {
        if (static_cast<std::size_t>(rows[index].kind) != index) return false;
    }
    return true;
}
static_assert(in_order(product_table));

template <>
inline constexpr auto texts<ContractKind> = [] {
    std::array<std::string_view, product_table.size()> column{};
    for (std::size_t index = 0; index < column.size(); ++index)
        column[index] = product_table[index].text;
    return column;
}();

/// The product of a kind, read from the keys of the contract's object; null for a kind without a
/// product.
inline std::unique_ptr<ICashFlow> read_product_of(ContractKind kind, Json::Value const& json) {
    auto const index = static_cast<std::size_t>(kind);
    if (index >= product_table.size() || product_table[index].reader == nullptr) return nullptr;
    return product_table[index].reader(json);
}

}  // namespace ximAPI::Toolkit
