#pragma once

// Drives an operator through the binary interface, as a host does.

#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::test {

inline constexpr double U = UndefinedValue;

// Takes a text that the library handed out.
std::string Taken(TextSlot text);
std::u16string Wide(std::string_view ascii);

// The keywords of all classes of the table.
std::vector<std::string> AllKeywords();
// The class id behind a keyword.
GUID ClassIdOf(std::string_view keyword);

class OperatorDriver {
public:
    explicit OperatorDriver(std::string_view keyword);

    IZelmorOp* operator->() const { return op.Get(); }
    bool TakesBars() const { return static_cast<bool>(barOp); }
    IZelmorOp2* Bars() const { return barOp.Get(); }

    HRESULT Set(int index, std::string_view value);
    // Sets arguments 1, 2 and on to the words of a text. A "-" is not handed over.
    void SetArguments(std::string_view words);

    int InputCount() const;
    int OutputCount() const;
    std::string OutputName(int output) const;
    // All that the operator says of itself, such as "Sim( %s, 5) | in 0 | out curve1:1 | par 5 | back 5": the formula,
    // each input's argument and bar field, each output's name and kind of unit, parameters and lookback.
    std::string Description() const;

    // Starts a run with undefined or given first values. Bars count from 0.
    void Reset(const std::vector<double>& seed = {}, int mode = 0, int lastBar = 0);
    // The index that the next bar gets.
    void SetNextBar(int bar) { nextBar = bar; }
    // Takes in one bar with exactly the declared number of values.
    std::vector<double> Step(const std::vector<double>& bar);

private:
    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> barOp;
    int nextBar = 0;
};

// What a run of an operator must give, bit by bit. Outputs stand one behind the other, bar by bar; those ahead of the
// first one listed are undefined.
struct RunCase {
    const char* fact;
    std::string_view arguments;  // words from argument 1 on; a "-" keeps the default
    std::vector<std::vector<double>> bars;
    std::vector<double> outputs;
    const char* depth = nullptr;  // history depth
    std::vector<double> seed = {};
    int mode = 0;  // of ResetBar
};

// What an operator must say of itself.
struct DescriptionCase {
    const char* fact;
    std::string_view arguments;
    const char* description;
};

void CheckRun(std::string_view keyword, const RunCase& run);
void CheckCases(std::string_view keyword, std::span<const DescriptionCase> descriptions, std::span<const RunCase> runs);

// Fails unless both hold the same bits.
void ExpectSameBits(const std::vector<double>& actual, const std::vector<double>& expected, std::string_view where);

}  // namespace sarvane::test
