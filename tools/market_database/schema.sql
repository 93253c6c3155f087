-- The tables of a market database. Run inside the database: mariadb market < schema.sql
-- Texts compare byte by byte: tickers are case-sensitive. Volatilities and correlations are in percent.

SET NAMES utf8mb4;

CREATE TABLE IF NOT EXISTS Currency (
    _ticker                       VARCHAR(15) NOT NULL PRIMARY KEY,
    _name                         VARCHAR(255),
    _forward_rate_affinity_factor DOUBLE,
    _calendar                     VARCHAR(31),
    _day_counter                  VARCHAR(15)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;

CREATE TABLE IF NOT EXISTS Spot (
    _date   DATE        NOT NULL,
    _ticker VARCHAR(15) NOT NULL,
    _bid    DOUBLE,
    _ask    DOUBLE,
    PRIMARY KEY (_ticker, _date)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;

CREATE TABLE IF NOT EXISTS BlackScholesVolatility (
    _date   DATE        NOT NULL,
    _ticker VARCHAR(15) NOT NULL,
    _value  DOUBLE,
    PRIMARY KEY (_ticker, _date)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;

CREATE TABLE IF NOT EXISTS Correlation (
    _date   DATE        NOT NULL,
    _first  VARCHAR(15) NOT NULL,
    _second VARCHAR(15) NOT NULL,
    _value  DOUBLE,
    PRIMARY KEY (_first, _second, _date)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;

CREATE TABLE IF NOT EXISTS ShareUnderlying (
    _ticker          VARCHAR(15) NOT NULL PRIMARY KEY,
    _name            VARCHAR(255),
    _currency        VARCHAR(3),
    _fixing_calendar VARCHAR(31),
    _day_counter     VARCHAR(15)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;

CREATE TABLE IF NOT EXISTS FundUnderlying LIKE ShareUnderlying;

CREATE TABLE IF NOT EXISTS IndexUnderlying LIKE ShareUnderlying;

CREATE TABLE IF NOT EXISTS ExchangeRateUnderlying (
    _ticker          VARCHAR(15) NOT NULL PRIMARY KEY,
    _name            VARCHAR(255),
    _quote_currency  VARCHAR(3),
    _fixing_calendar VARCHAR(31),
    _day_counter     VARCHAR(15),
    _base_currency   VARCHAR(3),
    KEY (_base_currency, _quote_currency)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;

CREATE TABLE IF NOT EXISTS SwapRateUnderlying (
    _ticker          VARCHAR(15) NOT NULL PRIMARY KEY,
    _name            VARCHAR(255),
    _currency        VARCHAR(3),
    _fixing_calendar VARCHAR(31),
    _day_counter     VARCHAR(15),
    _start           VARCHAR(7),
    _end             VARCHAR(7),
    _frequency       VARCHAR(7)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;

CREATE TABLE IF NOT EXISTS ZeroCouponBondUnderlying (
    _ticker          VARCHAR(15) NOT NULL PRIMARY KEY,
    _name            VARCHAR(255),
    _currency        VARCHAR(3),
    _fixing_calendar VARCHAR(31),
    _day_counter     VARCHAR(15),
    _start           VARCHAR(7),
    _end             VARCHAR(7),
    _calendar        VARCHAR(31)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;

CREATE TABLE IF NOT EXISTS DepositRateUnderlying (
    _ticker          VARCHAR(15) NOT NULL PRIMARY KEY,
    _name            VARCHAR(255),
    _currency        VARCHAR(3),
    _fixing_calendar VARCHAR(31),
    _day_counter     VARCHAR(15),
    _start           VARCHAR(7),
    _end             VARCHAR(7)
) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;
