#include "support/operator_driver.h"

#include <bit>
#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

const DescriptionCase descriptions[] = {
    {"a span beyond all other steps", "- 60",
     "KaseCCSS( %s) | in 0H 0L 0C | out integer1:3 integer2:3 integer3:3 integer4:3 integer5:3 integer6:3 integer7:3 "
     "integer8:3 high:1 low:1 label1:1 label2:1 label3:1 label4:1 label5:1 label6:1 | par 9 60 | back 540"},
};

const RunCase runs[] = {
    {"a seeded close is enough for votes, and a gap repeats the whole bar",
     "",
     {{U, 5, U}, {9, 5, 7}, {10, U, 8}},
     {0, 0, 0, 0, 0, 0, 0, 0, U, 6, U, U, U, U, U, U, 0, 0, 0, 0, 0, 0, 0, 0,
      9, 5, U, U, U, U, U, U, 0, 0, 0, 0, 0, 0, 0, 0, 9, 5, U, U, U, U, U, U},
     nullptr,
     {U, 6, 7}},
    {"a lag below 1 gives nothing", "9 0", {{9, 5, 7}}, {}},
};

// Bars of a range of 100 that move by `step`, with the close at a share of the range.
struct Stretch {
    int bars;
    double step;
    double close;
};

struct BoardCase {
    const char* fact;
    const char* arguments;
    std::vector<Stretch> path;
    std::string boards;  // of the last bars: eight votes, and the labels behind them
};

const BoardCase boardCases[] = {
    {"a rise that lasts signals every second bar", "", {{40, 10, 0.95}}, "0++00000 1+; 0++00000; 0++00000 1+"},
    {"a turn downward hooks, disagrees and then signals",
     "",
     {{40, 10, 0.05}, {8, 10, 0.95}, {9, -10, 0.1}},
     "0000000-; 000---0-; 000---0- 2-; 000---0- 3-; 0000000-; 0000000- 3-; 0000000-; ---00000 1-; ---00000"},
    {"a turn upward does the same",
     "",
     {{40, -10, 0.95}, {8, -10, 0.05}, {8, 10, 0.9}},
     "0000000+; 000+++0+; 000+++0+ 2+; 000+++0+ 3+; 0000000+; 0000000+ 3+; 0000000+; +++00000 1+"},
    {"still highs and lows confirm both ways",
     "",
     {{40, 1, 0.5}, {10, 0, 0.9}, {4, 0, 0.1}},
     "0+000000; 000---0- 2- 3-; 000---0-; ---00000 1-; ---00000"},
    {"a bottom hook against all else reverses",
     "",
     {{40, 0, 0.95}, {3, -20, 0.05}, {4, -20, 0.4}},
     "---00000; ---00000 1-; ---000+0; ---00000 1-"},
    {"a top hook does the same",
     "",
     {{40, -10, 0.5}, {3, 20, 0.95}, {3, 10, 0.1}},
     "+++00000 1+; +++000-0; 0000000+ 3+"},
    {"at the bottom a line rises with a lead above 2",
     "",
     {{40, -10, 0.05}, {4, 10, 0.08}},
     "--000000; 0-000000; 0000000+; 0000000+ 3+"},
    {"a span of several bars",
     "2 3",
     {{40, 10, 0.95}, {6, -10, 0.1}, {8, 10, 0.8}},
     "---00000; -0-0+00+ 2+; 00-++00+ 3+; 000+++0+ 2+; +++00000 1+; +++00000; +++00000 1+"},
};

// A label is its number, counted from 1, with its digit behind it.
std::string BoardOf(const std::vector<double>& out) {
    std::string board;
    for (std::size_t i = 0; i < 8; ++i) board += out[i] == 0 ? '0' : out[i] == 1 ? '+' : out[i] == -1 ? '-' : '?';
    for (std::size_t i = 0; i < 6; ++i) {
        if (out[10 + i] == U) continue;
        const std::size_t digit = '1' + i / 2, number = 1 + i % 2;
        const bool valid = std::bit_cast<std::uint64_t>(out[10 + i]) == (digit << 8 | number);
        board.append(" ").append(1, valid ? static_cast<char>(digit) : '?').append(number == 1 ? "+" : "-");
    }
    return board;
}

TEST(KaseCCSSOp, Cases) { CheckCases("KaseCCSS", descriptions, runs); }

TEST(KaseCCSSOp, ShowsItsBoard) {
    for (const auto& [fact, arguments, path, expected] : boardCases) {
        OperatorDriver op("KaseCCSS");
        op.SetArguments(arguments);
        op.Reset();
        std::string boards;
        double low = 1000;
        for (const auto& [bars, step, close] : path) {
            for (int i = 0; i < bars; ++i, low += step)
                boards += "; " + BoardOf(op.Step({low + 100, low, low + 100 * close}));
        }
        EXPECT_TRUE(boards.ends_with("; " + expected)) << fact << boards;
    }
}

}  // namespace
}  // namespace sarvane::test
