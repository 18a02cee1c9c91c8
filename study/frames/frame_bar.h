#pragma once

#include "frames/frame.h"
#include "sarvane/component.h"
#include "sarvane/values.h"

#include <cmath>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace sarvane::study {

// What a column of a longer bar is of those of its bars. A missing value does not enter.
enum class ColumnRule : unsigned char { First, Greatest, Least, Last, Sum, Start };

// By the column's name: the first "open", the greatest "high", the least "low", the last "close", the sum of "volume",
// the time at which the frame starts, or its first bar, for "time", and else the last value.
ColumnRule RuleOf(std::string_view column);

// Names of the columns that a frame of this kind may go by, without that of the time.
std::vector<std::string_view> ColumnsOf(FrameKind kind);

// Where a frame finds what it goes by, among the values of a bar.
struct FrameColumns {
    static constexpr std::size_t None = static_cast<std::size_t>(-1);
    std::size_t time = None;  // seconds since 1970, UTC
    std::size_t open = None, high = None, low = None, close = None;
    std::size_t volume = None;

    // The columns that a frame of this kind reads; `missing` becomes the name of one that is not there but must be.
    std::vector<std::size_t> ReadBy(FrameKind kind, const char*& missing) const;
};

// Makes bars of a frame from bars that come one by one. What it knows of the bar that is forming is a record, which its
// owner keeps and copies: so a bar can be taken back, and comes again with other values.
//
// A bar without a time, or with one before the start of the forming bar, belongs to that. A bar is closed when the next
// one begins. Bricks of Renko begin at multiples of their height from the first price on; one is added when the price
// lies a whole brick above or below the last one (Steve Nison, Beyond Candlesticks, 1994). The closing price of a
// Heikin-Ashi bar is the mean of the four prices, and its open the middle of the last such bar (Dan Valcu, Using the
// Heikin-Ashi Technique, Technical Analysis of Stocks & Commodities, February 2004). Bars of volume and value as Marcos
// Lopez de Prado, Advances in Financial Machine Learning, 2018, chapter 2, has them.
class FrameBar {
public:
    struct State {
        bool hasBar = false;
        double begin = 0.0, end = 0.0;  // of a stretch of time; of the brick, in brick heights from `base`
        double amount = 0.0;            // how many, or how much, the forming bar holds; volume that belongs to no brick
        double low = 0.0, high = 0.0;   // of a bar of range; open and close of the last Heikin-Ashi bar
        double base = UndefinedValue;   // first price of all, for bricks
    };

    struct Column {
        std::size_t source;  // among the values of a bar
        std::size_t target;  // among those of the forming bar
        ColumnRule rule;
    };

    // At most so many bricks are made of one bar.
    static constexpr double MostBricks = 100000.0;

    FrameBar(std::shared_ptr<const Frame> made, const FrameColumns& where, std::vector<Column> read)
        : frame(std::move(made)), at(where), columns(std::move(read)), kind(frame->Kind()), size(frame->Size()) {
        for (const Column& column : columns) (column.rule == ColumnRule::Last ? lastValues : others).push_back(column);
    }

    // Takes the next bar into `state` and `bar`. `close` is called, and may fail, as often as a bar is closed by it, ahead
    // of any change of `bar`. Answers S_FALSE if the forming bar stays as it is, or a failure.
    template <class Close>
    HRESULT Take(State& state, const double* row, double* bar, Close close) const {
        if (StaysInStretch(state, row)) {
            Add(row, bar, bar);
            return S_OK;
        }
        return TakeOther(state, row, bar, close);
    }

    // Whether a bar belongs to the stretch of time of the forming one. Then `Add` takes it, into what was `before`.
    bool StaysInStretch(const State& state, const double* row) const {
        return kind == FrameKind::Time && !(row[at.time] >= state.end) && state.hasBar;
    }
    void Add(const double* row, const double* before, double* bar) const {
        for (const Column& column : lastValues) {
            const double value = row[column.source];
            bar[column.target] = IsUndefined(value) ? before[column.target] : value;
        }
        for (const Column& column : others) {
            const double value = row[column.source], whole = before[column.target];
            bar[column.target] = IsUndefined(value) ? whole : Combined(column.rule, whole, value);
        }
    }
    // For any other bar.
    template <class Close>
    HRESULT TakeOther(State& state, const double* row, double* bar, Close close) const {
        if (kind == FrameKind::Renko) {
            const double bricks = BricksOf(state, row);
            if (std::abs(bricks) > MostBricks) return E_INVALIDARG;
            const double step = bricks < 0.0 ? -1.0 : 1.0;
            for (double i = 0.0; i != bricks; i += step) {
                if (state.hasBar) {
                    if (const HRESULT status = close(); FAILED(status)) return status;
                }
                AddBrick(state, step, row, bar);
            }
            return bricks != 0.0 ? S_OK : S_FALSE;
        }
        if (!state.hasBar || Begins(state, row)) {
            if (state.hasBar) {
                if (const HRESULT status = close(); FAILED(status)) return status;
            }
            Start(state, row, bar);
        } else {
            Add(row, bar, bar);
        }
        Count(state, row);
        if (kind == FrameKind::HeikinAshi) Smooth(state, row, bar);
        return S_OK;
    }

private:
    static double Combined(ColumnRule rule, double whole, double value) {
        if (IsUndefined(whole)) return rule == ColumnRule::Start ? whole : value;
        switch (rule) {
        case ColumnRule::Greatest: return value > whole || value != value ? value : whole;
        case ColumnRule::Least: return value < whole || value != value ? value : whole;
        case ColumnRule::Sum: return whole + value;
        default: return whole;
        }
    }
    bool Begins(State& state, const double* row) const;
    void Start(State& state, const double* row, double* bar) const;
    void Count(State& state, const double* row) const;
    double BricksOf(State& state, const double* row) const;
    void AddBrick(State& state, double step, const double* row, double* bar) const;
    void Smooth(State& state, const double* row, double* bar) const;

    std::shared_ptr<const Frame> frame;
    mutable Stretch begun;  // last: a tick begins it again
    FrameColumns at;
    std::vector<Column> columns;
    std::vector<Column> lastValues, others;  // the same by their rule
    FrameKind kind;
    double size;
};

}  // namespace sarvane::study
