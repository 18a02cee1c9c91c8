#include "fault.h"

#include <cmath>
#include <memory>
#include <string>

namespace sarvane::sql {
namespace {

struct FrameCloser {
    void operator()(SarvaneFrame* frame) const { SarvaneFreeFrame(frame); }
};

struct LastFrame {
    std::string text;
    std::unique_ptr<SarvaneFrame, FrameCloser> frame;
};

}  // namespace
}  // namespace sarvane::sql

using namespace sarvane::sql;

int FrameStart(SqlText frame, double seconds, double* start, SqlFault* fault) {
    thread_local LastFrame last;
    return Answer(fault, [&] {
        const std::string text(frame.first ? frame.first : "", frame.length);
        if (!last.frame || last.text != text) {
            SarvaneFrame* read = nullptr;
            SarvaneProblem* problem = nullptr;
            const SarvaneStatus status = SarvaneReadFrame(text.c_str(), &read, &problem);
            if (status != SARVANE_OK) return SetProblem(fault, status, problem), 0;
            last.frame.reset(read);
            last.text = text;
        }
        constexpr double Farthest = 9e10;  // seconds
        if (!(std::abs(seconds) < Farthest)) return SetFaultMessage(fault, "a time that no calendar has"), 0;
        int64_t begin = 0, end = 0;
        const auto second = static_cast<int64_t>(std::floor(seconds));
        const SarvaneStatus status = SarvaneGetStretch(last.frame.get(), second, &begin, &end);
        if (status != SARVANE_OK) return SetFault(fault, status), 0;
        *start = static_cast<double>(begin);
        return 1;
    });
}
