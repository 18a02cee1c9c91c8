#include "frames/frame_bar.h"

#include "language/parser.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace sarvane::study {
namespace {

constexpr double LatestTime = 1e11;  // seconds; farther than any bar

bool IsNumber(double value) { return std::isfinite(value) && !IsUndefined(value); }

double Combined(ColumnRule rule, double whole, double value) {
    if (IsUndefined(whole)) return rule == ColumnRule::Start ? whole : value;
    switch (rule) {
    case ColumnRule::Greatest: return value > whole || value != value ? value : whole;
    case ColumnRule::Least: return value < whole || value != value ? value : whole;
    case ColumnRule::Sum: return whole + value;
    default: return whole;
    }
}

// What counts towards a volume or a value.
double Amount(double value) { return IsNumber(value) && value > 0.0 ? value : 0.0; }

}  // namespace

ColumnRule RuleOf(std::string_view column) {
    struct Named {
        std::string_view name;
        ColumnRule rule;
    };
    static constexpr Named Rules[] = {{"open", ColumnRule::First}, {"high", ColumnRule::Greatest},
                                      {"low", ColumnRule::Least},  {"close", ColumnRule::Last},
                                      {"volume", ColumnRule::Sum}, {"time", ColumnRule::Start}};
    const auto found =
        std::ranges::find_if(Rules, [&](const Named& known) { return EqualIgnoringCase(known.name, column); });
    return found == std::end(Rules) ? ColumnRule::Last : found->rule;
}

FrameColumns FrameColumns::Among(const std::vector<std::string>& names) {
    const auto find = [&](std::string_view name) {
        const auto found =
            std::ranges::find_if(names, [&](const std::string& known) { return EqualIgnoringCase(known, name); });
        return found == names.end() ? None : static_cast<std::size_t>(found - names.begin());
    };
    return {find("time"), find("open"), find("high"), find("low"), find("close"), find("volume")};
}

std::vector<std::size_t> FrameColumns::ReadBy(FrameKind kind, const char*& missing) const {
    std::vector<std::size_t> read;
    const auto need = [&](std::size_t column, const char* name) {
        if (column == None) missing = name;
        read.push_back(column);
    };
    missing = nullptr;
    switch (kind) {
    case FrameKind::Time: need(time, "time"); break;
    case FrameKind::Count: break;
    case FrameKind::Value: need(close, "close"); [[fallthrough]];
    case FrameKind::Volume: need(volume, "volume"); break;
    case FrameKind::Range:
        need(Highest(), "close");
        need(Lowest(), "close");
        break;
    case FrameKind::Renko:
        need(close, "close");
        if (volume != None) read.push_back(volume);
        break;
    case FrameKind::HeikinAshi:
        need(open, "open");
        need(high, "high");
        need(low, "low");
        need(close, "close");
        break;
    }
    return read;
}

void FrameBar::AddOthers(const double* row, const double* before, double* bar) const {
    for (const Column& column : others) {
        const double value = row[column.source], whole = before[column.target];
        bar[column.target] = IsUndefined(value) ? whole : Combined(column.rule, whole, value);
    }
}

// Whether a new bar begins with `row`.
bool FrameBar::Begins(const State& state, const double* row) const {
    switch (kind) {
    case FrameKind::Time: {
        const double time = row[at.time];
        return !IsUndefined(time) && time >= state.end && time < LatestTime;
    }
    case FrameKind::Count:
    case FrameKind::Volume:
    case FrameKind::Value: return state.amount >= size;
    case FrameKind::Range: {
        const double high = row[at.Highest()], low = row[at.Lowest()];
        if (!IsNumber(high) || !IsNumber(low) || IsUndefined(state.low)) return false;
        return std::max(high, state.high) - std::min(low, state.low) > size;
    }
    case FrameKind::Renko:
    case FrameKind::HeikinAshi: break;
    }
    return true;
}

void FrameBar::Start(State& state, const double* row, double* bar) const {
    double start = at.time == FrameColumns::None ? UndefinedValue : row[at.time];
    if (kind == FrameKind::Time) {
        const bool isTime = IsNumber(start) && std::abs(start) < LatestTime;
        const auto second = static_cast<std::int64_t>(isTime ? std::floor(start) : 0.0);
        if (isTime && (second < begun.begin || second >= begun.end)) begun = frame->Around(second);
        state.begin = isTime ? static_cast<double>(begun.begin) : -std::numeric_limits<double>::infinity();
        state.end = isTime ? static_cast<double>(begun.end) : state.begin;
        start = isTime ? state.begin : UndefinedValue;
    }
    state.hasBar = true;
    state.amount = 0.0;
    if (kind == FrameKind::Range) state.low = state.high = UndefinedValue;
    for (const Column& column : columns) {
        bar[column.target] = column.rule == ColumnRule::Start ? start : row[column.source];
    }
}

// Notes what tells when the forming bar is full.
void FrameBar::Count(State& state, const double* row) const {
    switch (kind) {
    case FrameKind::Count: state.amount += 1.0; break;
    case FrameKind::Volume: state.amount += Amount(row[at.volume]); break;
    case FrameKind::Value: state.amount += Amount(row[at.close] * Amount(row[at.volume])); break;
    case FrameKind::Range: {
        const double high = row[at.Highest()], low = row[at.Lowest()];
        if (!IsNumber(high) || !IsNumber(low)) break;
        state.high = IsUndefined(state.high) ? high : std::max(state.high, high);
        state.low = IsUndefined(state.low) ? low : std::min(state.low, low);
        break;
    }
    default: break;
    }
}

// How many bricks the price adds: above 0 upwards, below 0 downwards. Its volume waits in the state for the next brick.
double FrameBar::BricksOf(State& state, const double* row) const {
    if (at.volume != FrameColumns::None) state.amount += Amount(row[at.volume]);
    const double price = row[at.close];
    if (!IsNumber(price)) return 0.0;
    if (IsUndefined(state.base)) {
        state.base = price;
        return 0.0;
    }
    // The last brick lies between `begin` and `end`, which is one more; before the first one both are 0. A price on the
    // edge of the next brick makes it: edges are compared as prices, since the quotient is rounded.
    const auto edge = [&](double brick) { return state.base + brick * size; };
    constexpr double FinestGrid = 1e-12;  // of a price; edges of a finer one would be the same double
    if (!(size > FinestGrid * std::max(std::abs(price), std::abs(state.base)))) return 2.0 * MostBricks;
    if (price >= edge(state.end + 1.0)) {
        double top = std::max(std::floor((price - state.base) / size), state.end + 1.0);
        if (top - state.end > MostBricks) return top - state.end;
        while (edge(top) > price) top -= 1.0;
        while (edge(top + 1.0) <= price) top += 1.0;
        return top - state.end;
    }
    if (price <= edge(state.begin - 1.0)) {
        double bottom = std::min(std::ceil((price - state.base) / size), state.begin - 1.0);
        if (state.begin - bottom > MostBricks) return bottom - state.begin;
        while (edge(bottom) < price) bottom += 1.0;
        while (edge(bottom - 1.0) >= price) bottom -= 1.0;
        return bottom - state.begin;
    }
    return 0.0;
}

void FrameBar::AddBrick(State& state, double step, const double* row, double* bar) const {
    const double from = step > 0.0 ? state.end : state.begin, to = from + step;
    const double open = state.base + from * size, close = state.base + to * size;
    for (const Column& column : columns) {
        double& target = bar[column.target];
        if (column.source == at.open) {
            target = open;
        } else if (column.source == at.high) {
            target = std::max(open, close);
        } else if (column.source == at.low) {
            target = std::min(open, close);
        } else if (column.source == at.close) {
            target = close;
        } else {
            target = column.source == at.volume ? state.amount : row[column.source];
        }
    }
    state.begin = std::min(from, to);
    state.end = std::max(from, to);
    state.amount = 0.0;
    state.hasBar = true;
}

// Puts the averaged prices in the place of a bar's own. A bar that lacks one has none of them.
void FrameBar::Smooth(State& state, const double* row, double* bar) const {
    const double open = row[at.open], high = row[at.high], low = row[at.low], close = row[at.close];
    const bool isWhole = IsNumber(open) && IsNumber(high) && IsNumber(low) && IsNumber(close);
    double first = UndefinedValue, last = UndefinedValue;
    if (isWhole) {
        last = (open + high + low + close) / 4.0;
        first = IsUndefined(state.base) ? (open + close) / 2.0 : (state.low + state.high) / 2.0;
        state.base = state.low = first;
        state.high = last;
    }
    for (const Column& column : columns) {
        double& target = bar[column.target];
        if (column.source == at.open) target = first;
        if (column.source == at.close) target = last;
        if (column.source == at.high) target = isWhole ? std::max({high, first, last}) : UndefinedValue;
        if (column.source == at.low) target = isWhole ? std::min({low, first, last}) : UndefinedValue;
    }
}

}  // namespace sarvane::study
