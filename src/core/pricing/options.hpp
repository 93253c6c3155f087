// The process-wide settings of the pricing engines. A request writes them before a run and owns
// them until it ends; the engines, the contract and the models only read them. Header-only, so that
// lower layers read their switches without linking against the engines. Nothing guards them: two
// pricings must not overlap.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <tuple>

#include "core/toolbox/basis.hpp"
#include "core/toolbox/json_serializable.hpp"

namespace ximCORE::Pricing {

/// How the ramp of a smoothed condition lies about its threshold; the contract's `If` applies it.
enum class SmoothingType : std::uint8_t { NONE, LOWER, SYMETRIC, UPPER };

enum class PricingMethod : std::uint8_t {
    MONTE_CARLO,
    FINITE_DIFFERENCE,
    STATIC_REPLICATION,
    AUTOMATIC_ADJOINT_DIFFERENTIATION
};

/// The settings of every engine. Bumps are in basis points: a spot x moves to x (1 + b / 10000), a
/// volatility, correlation or rate to x + b / 10000. A direction not below 0 computes the up state,
/// one not above 0 the down state; 0 is two-sided.
struct Options {
    /// A difference of first order.
    struct Directional final : Toolbox::JsonSerializable {
        bool activate{false};
        std::int32_t direction{0};  ///< -1 left, 0 centred, +1 right
        double bump{1.0};

        void serialize(Json::Value& json) const override {
            json["Activate"] = activate;
            json["Bump"] = bump;
            json["FDM"] = direction;
        }
        /// An absent member keeps its value.
        void deserialize(Json::Value const& json) override {
            std::ignore = s_set_bool(json, "Activate", activate);
            std::ignore = s_set_double(json, "Bump", bump);
            std::ignore = s_set_int(json, "FDM", direction);
        }
    };

    /// A second difference, along one direction or two of the same nature.
    struct Convexity final : Toolbox::JsonSerializable {
        bool activate{false};
        double bump{1.0};

        void serialize(Json::Value& json) const override {
            json["Activate"] = activate;
            json["Bump"] = bump;
        }
        /// An absent member keeps its value.
        void deserialize(Json::Value const& json) override {
            std::ignore = s_set_bool(json, "Activate", activate);
            std::ignore = s_set_double(json, "Bump", bump);
        }
    };

    /// A second difference along a spot and a volatility.
    struct Mixed final : Toolbox::JsonSerializable {
        bool activate{false};
        double spot_bump{1.0};
        double vol_bump{1.0};

        void serialize(Json::Value& json) const override {
            json["Activate"] = activate;
            json["SpotBump"] = spot_bump;
            json["VolBump"] = vol_bump;
        }
        /// An absent member keeps its value.
        void deserialize(Json::Value const& json) override {
            std::ignore = s_set_bool(json, "Activate", activate);
            std::ignore = s_set_double(json, "SpotBump", spot_bump);
            std::ignore = s_set_double(json, "VolBump", vol_bump);
        }
    };

    using Delta = Directional;
    using Vega = Directional;
    using Rho = Directional;
    using Cega = Directional;
    using Gamma = Convexity;
    using Volga = Convexity;
    using XGamma = Convexity;
    using XVolga = Convexity;
    using Vanna = Mixed;
    using XVanna = Mixed;

    /// Sensitivity to dividends: a switch without a computation and without a JSON form of its own.
    struct Epsilonn final : Toolbox::JsonSerializable {
        bool activate{false};
        std::int32_t direction{0};
        double bump{1.0};
    };

    struct Greeks final : Toolbox::JsonSerializable {
        Delta delta;
        Vega vega;
        Rho rho;
        Epsilonn epsilonn;
        Vanna vanna;
        Gamma gamma;
        Cega cega;
        Volga volga;
        XVolga xvolga;
        XVanna xvanna;
        XGamma xgamma;

        void serialize(Json::Value& json) const override {
            s_each(*this,
                   [&](char const* key, auto const& record) { record.serialize(json[key]); });
        }
        /// A record that is absent keeps its values.
        void deserialize(Json::Value const& json) override {
            s_each(*this, [&](char const* key, auto& record) {
                std::ignore = s_set_object(json, key, record);
            });
        }

     private:
        /// The records with their keys, in order.
        static void s_each(auto& greeks, auto&& visit) {
            visit("Delta", greeks.delta);
            visit("Vega//",
                  greeks.vega);  // Relied on: stored settings spell these keys with two slashes
            visit("Rho//", greeks.rho);
            visit("Epsilonn", greeks.epsilonn);
            visit("Vanna//", greeks.vanna);
            visit("Gamma", greeks.gamma);
            visit("Cega", greeks.cega);
            visit("Volga//", greeks.volga);
            visit("XVolga//", greeks.xvolga);
            visit("XVanna//", greeks.xvanna);
            visit("XGamma", greeks.xgamma);
        }
    };

    Greeks greeks;
    Toolbox::DayCounter day_counter;  ///< convention of the time axis of the helpers
    SmoothingType smoothing{SmoothingType::NONE};
    PricingMethod method{PricingMethod::MONTE_CARLO};
};

/// Settings of the simulation.
struct MCOptions {
    /// `automatic` runs trials in blocks where contract and model allow, and one by one elsewhere;
    /// `reference` always runs them one by one.
    enum class Engine : std::uint8_t { automatic, reference };

    std::uint64_t trials{100000};
    std::uint8_t nb_threads{1};
    double confidence_level{
        95.0};  // Relied on: stored and never read, the interval has a fixed quantile
    double antithetic_factor{
        0.0};  ///< weight of the mirrored path, the plain one has the rest; 0: none is drawn
    Engine engine{Engine::automatic};
    bool ran_in_blocks{false};  ///< the last simulation, for whoever debugs
};

/// Settings of the closed forms.
struct CFOptions {
    std::uint64_t moneyness_grid_size{0};
    double grid_lower_bound{0.0};
    double grid_upper_bound{0.0};
};

/// Settings of the finite differences.
struct PDEOptions {
    bool use_richardson_romberg{false};
};

/// The one value of each block. `IPricer` derives from the first, `IMCPricer`, `ICFPricer` and
/// `IPDEPricer` from the others, so that each is read as its `s_options`.
struct PricerOptions {
    using Options = Pricing::Options;
    inline static Options s_options;
};
struct MCPricerOptions {
    using Options = MCOptions;
    inline static Options s_options;
};
struct CFPricerOptions {
    using Options = CFOptions;
    inline static Options s_options;
};
struct PDEPricerOptions {
    using Options = PDEOptions;
    inline static Options s_options;
};

}  // namespace ximCORE::Pricing
