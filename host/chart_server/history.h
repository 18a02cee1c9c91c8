#pragma once

#include "live.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace sarvane::study {

// What a followed file showed earlier: after each row that was taken in, or with the older bars cut off behind one of
// them. Rows of the recent past are kept as they were before each change; the results of that time are calculated anew, by
// a series of its own that goes there from where it was last, over its snapshots.
//
// `Take` and `Forget` come from the thread that follows the file. What reads the present bars is called while they stay as
// they are; `Calculate` takes longer and needs no bars, but comes from one thread at a time.
class History {
public:
    explicit History(std::unique_ptr<Series> past) : series(std::move(past)) {}

    // A row was taken in: `bar` is new, or was `before`.
    void Take(std::size_t bar, const std::vector<double>* before);
    // The bars are others, and nothing is known of what they were.
    void Forget();

    // A state of the past: the rows up to an update, and of these the first bars.
    struct Moment {
        std::uint64_t update;
        std::size_t barCount;
    };
    std::uint64_t FirstUpdate() const { return firstUpdate; }
    std::uint64_t LastUpdate() const { return firstUpdate + changes.size(); }
    // After an update, or the nearest one that is known.
    Moment After(std::uint64_t update, std::size_t presentCount) const;
    // The last one in which this bar was the newest, which it must have been.
    Moment AtEndOf(std::size_t bar, std::size_t presentCount) const;

    // The values of the bars that have changed since, and what they were.
    struct Values {
        std::size_t bar;
        const std::vector<double>* row;
    };
    std::vector<Values> ChangedSince(const Moment& moment) const;

    // What is to be calculated to get to a moment.
    struct Way {
        std::size_t first;
        std::vector<std::int64_t> times;
        std::vector<double> rows;
    };
    Way WayTo(const Moment& moment, const BarFile& present);
    // Fails if an operator does, or memory ends.
    void Calculate(const Way& way);
    // After such a failure.
    void LoseWay() { seriesAt.reset(); }
    // Of a bar at the moment that was calculated last.
    Series::Row Results(std::size_t bar) const { return series->Results(bar); }

private:
    struct Change {
        std::size_t bar;
        bool isNew;
        std::vector<double> before;
    };

    std::size_t CountAfter(std::uint64_t update, std::size_t presentCount) const;

    std::unique_ptr<Series> series;
    std::optional<Moment> seriesAt;  // unless that is not known any more
    std::deque<Change> changes;      // the first one leads from `firstUpdate` to the next update
    std::uint64_t firstUpdate = 0;
};

}  // namespace sarvane::study
