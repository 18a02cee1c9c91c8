// What libsarvane_study does with memory, and without.

#include "sarvane/study.hpp"
#include "support/allocation_counter.h"

#include <gtest/gtest.h>

namespace sarvane {
namespace {

const StudyLibrary& Library() {
    static const StudyLibrary library;
    return library;
}

TEST(StudyMemoryTest, TicksAllocateNothing) {
    Study study(Library(), {"Open", "High", "Low", "Close", "Volume"});
    for (const char* expression : {"Sim(Close, 5) > Exp(Close, 3)", "KaseCCSS(Bar)", "Close[2]", "sum(Volume, 4)",
                                   "at(3bars, KaseCCSS(Bar))", "at(20volume, Exp(Close, 3), closed)"}) {
        study.Add(expression);
    }
    Series series(study);
    std::vector<double> row = {1.0, 2.0, 0.5, 1.5, 9.0};
    for (int bar = 0; bar < 500; ++bar) series.Append(bar, row);
    series.ChangeLast(row);
    study.Reset();
    std::vector<double> results(study.View().ResultCount());
    for (int bar = 0; bar < 2000; ++bar) {
        study.Step(bar, row, results);
        study.Save(1);
    }
    const std::size_t before = test::AllocationCount();
    for (int tick = 0; tick < 20; ++tick) {
        row[3] += 0.1;
        series.ChangeLast(row);
        study.Step(0, row, results);
        study.Save(1);
    }
    EXPECT_EQ(test::AllocationCount(), before);
    EXPECT_GT(before, 500u) << "allocations are counted";
}

// Every allocation of a host's session fails once. The call in which it does says so, and all goes on with the next one.
TEST(StudyMemoryTest, FailedAllocationsAreAStatus) {
    const char* const columns[] = {"Close"};
    const auto live = [] { return test::LiveAllocations(); };
    Study(Library(), {"Close"}).Add("SMA(Close)");  // the standard studies are read ahead
    bool hasHappened = true;
    for (std::size_t n = 1; hasHappened; ++n) {
        const std::size_t before = live();
        test::FailingAllocation failing(n);
        std::size_t failures = 0;
        const auto insist = [&](auto call) {
            SarvaneStatus status = failing.During(call);
            failures += status == SARVANE_OUT_OF_MEMORY;
            if (status == SARVANE_OUT_OF_MEMORY) status = call();
            ASSERT_EQ(status, SARVANE_OK) << "allocation " << n;
        };
        SarvaneStudy* study = nullptr;
        SarvaneSeries* series = nullptr;
        SarvaneSeries* again = nullptr;
        void* bytes = nullptr;
        std::size_t size = 0, bars = 0;
        double close = 1.0, results[2] = {};
        insist([&] { return SarvaneCreateStudy(Library().Get(), columns, 1, &study); });
        insist([&] {
            return SarvaneAddExpression(study, "Lowest(Close, 9) * 0 + Sim(Close, 3)[1] + at(2bars, sum(Close, 2))",
                                        nullptr, nullptr);
        });
        insist([&] { return SarvaneReset(study, nullptr); });
        insist([&] { return SarvaneSave(study, 2); });
        const SarvaneSeriesSettings settings = {2, 2, 0.0, 0};
        insist([&] { return SarvaneCreateSeries(study, &settings, &series); });
        for (std::int64_t time = 0; time < 9; ++time, close += 0.5) {
            insist([&] {  // a bar whose results failed to come is there already
                SarvaneSeriesInfo info = {};
                SarvaneGetSeriesInfo(series, &info);
                return info.barCount == bars ? SarvaneAppendBar(series, time, &close)
                                             : SarvaneChangeLastBar(series, &close);
            });
            ++bars;
        }
        insist([&] { return SarvaneCorrectBar(series, 1, &close); });
        insist([&] { return SarvaneWriteSeries(series, &bytes, &size); });
        insist([&] { return SarvaneReadSeries(Library().Get(), bytes, size, &again, nullptr); });
        ASSERT_EQ(SarvaneReadResults(again, 8, 1, results), SARVANE_OK);
        EXPECT_EQ(results[0], 4.0 + 9.5) << "the mean of 3.5, 4 and 4.5, and 4.5 + 5";
        SarvaneBars* longer = nullptr;
        const std::int64_t times[] = {0, 9, 5, 9};
        const SarvaneInput input = {results, 0};
        const SarvaneBarsSettings open = {0, 1, 0};
        insist([&] {  // after a failure the bars are of no more use
            SarvaneFreeBars(longer);
            const SarvaneStatus status =
                SarvaneCreateBars("1h 09:30 Europe/Paris", columns, 1, &open, &longer, nullptr);
            return status == SARVANE_OK ? SarvaneTakeRows(longer, 4, times, &input, nullptr, nullptr) : status;
        });
        EXPECT_EQ(SarvaneCountBars(longer), 1u);
        SarvaneFreeBars(longer);
        hasHappened = failing.HasHappened();
        EXPECT_LE(failures, 1u);
        SarvaneFreeSeries(series);
        SarvaneFreeSeries(again);
        SarvaneFreeStudy(study);
        SarvaneFreeBytes(bytes);
        EXPECT_EQ(live(), before) << "allocation " << n;
    }
}

}  // namespace
}  // namespace sarvane
