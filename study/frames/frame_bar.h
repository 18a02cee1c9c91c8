#pragma once

#include "frames/frame.h"
#include "sarvane/component.h"
#include "sarvane/values.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// What a column of a longer bar is of those of its bars. A missing value does not enter.
enum class ColumnRule : unsigned char { First, Greatest, Least, Last, Sum, Start };

// By the column's name: the first "open", the greatest "high", the least "low", the last "close", the sum of "volume",
// the time at which the frame starts, or its first bar, for "time", and else the last value.
ColumnRule RuleOf(std::string_view column);

// Where a frame finds what it goes by, among the values of a bar.
struct FrameColumns {
    static constexpr std::size_t None = static_cast<std::size_t>(-1);
    std::size_t time = None;  // seconds since 1970, UTC
    std::size_t open = None, high = None, low = None, close = None;
    std::size_t volume = None;

    // Where columns of these names stand, in any letter case.
    static FrameColumns Among(const std::vector<std::string>& names);
    // The columns that a frame of this kind reads; `missing` becomes the name of one that is not there but must be.
    std::vector<std::size_t> ReadBy(FrameKind kind, const char*& missing) const;
    // What the greatest and the least price of a bar are for frames by range: the close alone where one is missing.
    std::size_t Highest() const { return low == None ? close : high == None ? close : high; }
    std::size_t Lowest() const { return Highest() == high ? low : close; }
};

// Makes bars of a frame from bars that come one by one. The longer bar that is not complete yet is the forming one. What is
// known of it lies in a State and in an array of its values, which the caller keeps: whoever copies both can go back.
//
// A bar without a time belongs to the forming one, and so does one whose time lies before the forming bar's begin. A bar is
// closed when the next one begins.
//
// Sources. Volume and value: Marcos Lopez de Prado, Advances in Financial Machine Learning, 2018, chapter 2. Renko: Steve
// Nison, Beyond Candlesticks, 1994; bricks begin at multiples of their height from the first price on. Heikin-Ashi: Dan
// Valcu, Using the Heikin-Ashi Technique, Technical Analysis of Stocks & Commodities, February 2004.
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
        clock = kind == FrameKind::Time ? at.time : 0;
        const auto isLast = [](const Column& column) { return column.rule == ColumnRule::Last; };
        std::ranges::copy_if(columns, std::back_inserter(lasts), isLast);
        std::ranges::remove_copy_if(columns, std::back_inserter(others), isLast);
    }

    // Takes the next bar, `row`, into `state` and the forming bar, `bar`. `close` is called each time that the forming bar is
    // complete, while `bar` still holds it. Answers S_OK, the failure of `close`, or E_INVALIDARG for too many bricks.
    template <class Close>
    HRESULT Take(State& state, const double* row, double* bar, Close close) const {
        if (kind == FrameKind::Time && IsAhead(row, StretchEnd(state))) {
            Add(row, bar, bar);
            return S_OK;
        }
        return TakeOther(state, row, bar, close);
    }

    // Where the stretch of time of the forming bar ends; ahead of all times if the frame goes by something else. A row
    // ahead of it only adds to the forming bar.
    double StretchEnd(const State& state) const {
        return kind == FrameKind::Time && state.hasBar ? state.end : -std::numeric_limits<double>::infinity();
    }
    bool IsAhead(const double* row, double end) const { return row[clock] < end; }
    // Makes of `bar` what was `before`, and `row`.
    void Add(const double* row, const double* before, double* bar) const {
        for (const Column& column : lasts) {
            const double value = row[column.source];
            bar[column.target] = IsUndefined(value) ? before[column.target] : value;
        }
        if (!others.empty()) AddOthers(row, before, bar);
    }

private:
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
            return S_OK;
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

    void AddOthers(const double* row, const double* before, double* bar) const;
    bool Begins(const State& state, const double* row) const;
    void Start(State& state, const double* row, double* bar) const;
    void Count(State& state, const double* row) const;
    double BricksOf(State& state, const double* row) const;
    void AddBrick(State& state, double step, const double* row, double* bar) const;
    void Smooth(State& state, const double* row, double* bar) const;

    std::shared_ptr<const Frame> frame;
    mutable Stretch begun;  // last: a tick begins it again
    FrameColumns at;
    std::size_t clock = 0;  // column of the time; any other one if the frame does not go by time
    std::vector<Column> columns;
    std::vector<Column> lasts, others;  // those that keep the last value, and the others
    FrameKind kind;
    double size;
};

}  // namespace sarvane::study
