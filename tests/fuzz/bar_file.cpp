// Any text as a file of bars. Read piece by piece it gives the same rows and faults as read at once.

#include "bars/bar_file.h"
#include "check.h"
#include "failure.h"

#include <algorithm>
#include <fmt/ranges.h>
#include <optional>

namespace sarvane::fuzz {
namespace {

using namespace study;

// What is read, as text: rows and faults in their order. Bars are stored as they come.
std::string Reading(std::string_view text, std::size_t pieceSize) {
    RowReader reader("bars");
    std::optional<BarFile> bars;
    std::string reading;
    bool ended = false;
    while (!ended) {
        ended = text.empty();
        reader.Add(text.substr(0, pieceSize));
        text.remove_prefix(std::min(pieceSize, text.size()));
        if (ended) reader.End();
        for (bool more = true; more;) {
            try {
                more = reader.Next();
                if (!more) break;
                if (!bars) bars.emplace(reader.Header());
                bars->Append(reader.Row());
                reading +=
                    fmt::format("{} {} {}\n", reader.Line(), reader.Row().date, fmt::join(reader.Row().values, " "));
            } catch (const Failure& failure) {
                reading += fmt::format("{}\n", failure.what());
                if (!reader.HasHeader()) return reading;  // it ends the program
            }
        }
    }
    if (!bars) return reading;
    for (std::size_t bar = 0; bar < bars->BarCount(); ++bar) {
        reading += bars->Date(bar);
        for (std::size_t column = 0; column < bars->Columns().size(); ++column)
            reading += fmt::format(" {}", bars->Value(column, bar));
    }
    return reading;
}

}  // namespace
}  // namespace sarvane::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace sarvane::fuzz;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string whole = Reading(text, std::max<std::size_t>(size, 1));
    Check(Reading(text, 1 + size % 7) == whole, "pieces read as the whole does");
    return 0;
}
