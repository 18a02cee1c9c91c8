// Any text as bars that come line by line, with ticks and corrections. The first byte chooses how snapshots are kept.
// What was shown last of each bar is what a run over the final bars gives.

#include "live.h"

#include "check.h"
#include "failure.h"

#include <bit>
#include <optional>

namespace sarvane::fuzz {
namespace {

using namespace study;

const std::vector<std::string> Expressions = {"Sim(Close, 3)",         "MedOp(Close, 5)",
                                              "VolStop(Bar, 2, 3, 0)", "Exp(Sim(Close, 4), 3)",
                                              "BarMul(Bar, 2)",        "Samp(Close, Close > Open, 2)"};

using Values = std::vector<std::uint64_t>;

Values Present(const std::vector<Result>& results) {
    Values values;
    for (const Result& result : results) values.push_back(std::bit_cast<std::uint64_t>(*result.value));
    return values;
}

class Session {
public:
    explicit Session(std::uint8_t choice) : distance(choice % 6), slots(2 + choice / 6 % 4) {}

    // Takes in all rows that the reader has. False if the columns do not suit the expressions.
    bool TakeRows(RowReader& reader) {
        for (;;) {
            try {
                if (!reader.Next()) return true;
            } catch (const Failure&) {
                if (!reader.HasHeader()) return false;
                continue;
            }
            try {
                if (!live) Start(reader.Header());
            } catch (const Failure&) {
                return false;
            }
            try {
                live->Take(reader.Row());
            } catch (const Failure&) {
            }
        }
    }

    void CheckShown() {
        if (!live) return;
        Study study(library, live->Bars());
        for (const std::string& expression : Expressions) study.Add(expression, true);
        study.Reset();
        Check(shown.size() == live->Bars().BarCount(), "every bar is shown");
        for (std::size_t bar = 0; bar < shown.size(); ++bar) {
            study.Step(bar);
            Check(shown[bar] == Present(study.Results()), "what is shown is what a run over the bars gives");
        }
        live->Finish();
    }

private:
    void Start(const BarHeader& header) {
        live.emplace(
            library, header, Expressions, true, RunSettings(), distance,
            [&](std::size_t bar) {
                shown.resize(std::max(shown.size(), bar + 1));
                shown[bar] = Present(live->Results());
            },
            slots);
    }

    inline static const Library library;
    std::size_t distance, slots;
    std::optional<Live> live;
    std::vector<Values> shown;
};

}  // namespace
}  // namespace sarvane::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace sarvane;
    if (size == 0) return 0;
    fuzz::Session session(data[0]);
    study::RowReader reader("input");
    reader.Add({reinterpret_cast<const char*>(data + 1), size - 1});
    reader.End();
    if (session.TakeRows(reader)) session.CheckShown();
    return 0;
}
