#include "reference.h"
#include "run_study.h"
#include "temporary_file.h"
#include "verify/fingerprint.h"
#include "verify/reasons.h"
#include "verify/repaint.h"
#include "verify/warm_up.h"

#include <cmath>
#include <fmt/format.h>
#include <functional>
#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

using Column = std::vector<double>;
constexpr double Gap = UndefinedValue;

// ---- Other programs, as plain as can be

Column Mean(const Column& x, std::size_t n) {
    Column y(x.size(), Gap);
    for (std::size_t i = n - 1; i < x.size(); ++i) {
        double sum = 0.0;
        for (std::size_t k = i + 1 - n; k <= i; ++k) sum += x[k];
        y[i] = sum / static_cast<double>(n);
    }
    return y;
}

Column Average(const Column& x, std::size_t n, double share, bool startsWithMean) {
    const std::size_t first = startsWithMean ? n - 1 : 0;
    Column y(x.size(), Gap);
    y[first] = startsWithMean ? Mean(x, n)[first] : x[0];
    for (std::size_t i = first + 1; i < x.size(); ++i) y[i] = y[i - 1] + share * (x[i] - y[i - 1]);
    return y;
}

Column Deviation(const Column& x, std::size_t n, double divisor) {
    const Column mean = Mean(x, n);
    Column y(x.size(), Gap);
    for (std::size_t i = n - 1; i < x.size(); ++i) {
        double squares = 0.0;
        for (std::size_t k = i + 1 - n; k <= i; ++k) squares += (x[k] - mean[i]) * (x[k] - mean[i]);
        y[i] = std::sqrt(squares / divisor);
    }
    return y;
}

Column Each(Column x, const std::function<double(double)>& change) {
    for (double& value : x) value = IsUndefined(value) ? Gap : change(value);
    return x;
}

Column Rounded(const Column& x, double scale) {
    return Each(x, [&](double value) { return std::round(value * scale) / scale; });
}

// With `bars` empty bars ahead, and as many fewer at the end.
Column Later(Column x, std::size_t bars) {
    std::rotate(x.begin(), x.end() - static_cast<std::ptrdiff_t>(bars), x.end());
    std::fill_n(x.begin(), bars, Gap);
    return x;
}

Column From(const Column& x, std::size_t start, const std::function<Column(const Column&)>& calculate) {
    Column y(start, Gap);
    const Column part = calculate(Column(x.begin() + static_cast<std::ptrdiff_t>(start), x.end()));
    y.insert(y.end(), part.begin(), part.end());
    return y;
}

class Verify : public testing::Test {
protected:
    Verify() : bars(BarFile(BAR_FILE)), close(*bars.Find("close")) {
        bars.columns.push_back("Adj Close");
        bars.values.push_back(close);
        for (std::size_t bar = 0; bar < 2000; ++bar) bars.values.back()[bar] *= 0.5;  // ahead of a split
    }

    OtherColumn Export(const Column& values) const {
        OtherColumn other{"other.csv:x", bars.times, {}, values};
        for (const BarTime& time : bars.times)
            other.dates.push_back(std::to_string(time.second.time_since_epoch().count()));
        return other;
    }

    // The reasons that explain the column, each explanation in a line.
    std::string Reasons(const std::string& expression, const Column& column) {
        std::string text;
        for (const Explanation& found : FindReasons(library, bars, {expression}, {}, Export(column), {})) {
            text += found.reasons.empty() ? "equal" : found.reasons.front();
            for (std::size_t i = 1; i < found.reasons.size(); ++i) text += " + " + found.reasons[i];
            text += '\n';
        }
        return text.empty() ? "none" : text;
    }

    Library library;
    BarTable bars;
    Column close;
};

TEST_F(Verify, NamesTheReasonThatWasPlanted) {
    Column wrongBar = close, noise = Mean(close, 20);
    wrongBar[1000] += 5.0;
    for (std::size_t i = 0; i < noise.size(); ++i)
        noise[i] += IsUndefined(noise[i]) ? 0.0 : std::sin(7.0 * static_cast<double>(i * i));
    const Column exponential = Average(close, 12, 2.0 / 13.0, false), withMean = Average(close, 12, 2.0 / 13.0, true);
    const struct {
        const char* expression;
        Column column;
        std::vector<const char*> parts;  // of the one explanation that is wanted
    } cases[] = {
        {"Sim(Close, 20)", Mean(close, 20), {"equal"}},
        {"Sim(Close, 20)", noise, {"none"}},
        {"Sim(Close, 20)", Rounded(Mean(close, 20), 100.0), {"rounded to 2 decimals"}},
        {"Sim(Close, 20)", Each(Mean(close, 20), [](double x) { return double{static_cast<float>(x)}; }), {"float32"}},
        {"Sim(Close, 20)", Later(Mean(close, 20), 2), {"shifted: its values stand 2 bars later"}},
        {"Sim(Close, 20)", Rounded(Later(Mean(close, 20), 1), 1000.0), {"1 bar later + rounded to 3 decimals"}},
        {"EMA(Close, 12)", withMean, {"other seed: its exponential"}},
        {"Exp(Close, 12)", withMean, {"other seed: its exponential"}},
        {"Exp(Close, 12)", exponential, {"--digits 15"}},
        {"Smo(Close, 12)", Average(close, 12, 1.0 / 12.0, false), {"other seed: its smoothed"}},
        {"RMA(Close, 12)", Average(close, 12, 2.0 / 13.0, true), {"other smoothing: its smoothed"}},
        {"EMA(Close, 12)", Average(close, 12, 1.0 / 12.0, false), {"other smoothing: its exponential"}},
        {"EMA(Close, 12)", Average(close, 12, 1.0 / 12.0, true), {"other seed", " + other smoothing"}},
        {"EMA(Close, 12)",
         From(close, 7, [](const Column& x) { return Average(x, 12, 2.0 / 13.0, false); }),
         {"its data begin 7 bars later"}},
        {"EMA(Close, 12)",
         From(close, 1500, [](const Column& x) { return Average(x, 12, 2.0 / 13.0, false); }),
         {"its data begin 1500 bars later"}},
        {"SDev(Close, 20)", Deviation(close, 20, 19.0), {"other deviation"}},
        {"(Bollinger(Close, 20).upper - Sim(Close, 20)) / 2", Deviation(close, 20, 19.0), {"other deviation"}},
        {"StdDev(Close, 20)", Later(Deviation(close, 20, 19.0), 1), {"1 bar later", " + other deviation"}},
        {"Sim(Close, 20)", Mean(*bars.Find("Adj Close"), 20), {"adjusted prices in the place of unadjusted"}},
        {"Sim('Adj Close', 20)", Mean(close, 20), {"unadjusted prices in the place of adjusted"}},
        {"Sim(Close, 20)", Mean(wrongBar, 20), {"one bar differs: its close of"}},
        {"Sim(Close, 20)", Rounded(Mean(wrongBar, 20), 100.0), {"one bar differs: its close of", " + rounded"}},
        {"EMA(Close, 12)", Average(wrongBar, 12, 2.0 / 13.0, false), {"one bar differs: its close of"}},
    };
    for (const auto& one : cases) {
        const std::string found = Reasons(one.expression, one.column);
        for (const char* part : one.parts)
            EXPECT_NE(found.find(part), std::string::npos) << one.expression << ": " << part << " in\n" << found;
        EXPECT_LE(std::ranges::count(found, '\n'), 1) << one.expression << ": only " << one.parts.front() << " in\n"
                                                      << found;
    }
}

TEST_F(Verify, NamesHowGapsAndMissingBarsWereTaken) {
    Column carried = close, skipped, kept;
    for (std::size_t bar = 0; bar < close.size(); ++bar) {
        if (bar % 300 == 50) {
            (*bars.Find("close"))[bar] = Gap;
            carried[bar] = carried[bar - 1];
        } else {
            skipped.push_back(close[bar]);
        }
    }
    skipped = Mean(skipped, 20);
    for (std::size_t bar = 50; bar < close.size(); bar += 300)
        skipped.insert(skipped.begin() + static_cast<std::ptrdiff_t>(bar), Gap);
    EXPECT_EQ(Reasons("Sim(Close, 20)", Mean(carried, 20)), "equal\n") << "the operator carries gaps itself";
    EXPECT_NE(Reasons("Sim(Close, 20)", skipped).find("gaps skipped"), std::string::npos);
    EXPECT_NE(Reasons("sum(Close, 20) / 20", Mean(carried, 20)).find("gaps carried"), std::string::npos);

    *bars.Find("close") = close;
    OtherColumn other = Export({});
    const auto isMissing = [](const BarTime& time) { return time.second.time_since_epoch().count() / 86400 % 97 == 0; };
    for (std::size_t bar = 0; bar < close.size(); ++bar) {
        if (!isMissing(bars.times[bar])) kept.push_back(close[bar]);
    }
    std::erase_if(other.times, isMissing);
    other.values = Mean(kept, 20);
    const auto found = FindReasons(library, bars, {"Sim(Close, 20)"}, {}, other, {});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NE(found[0].reasons[0].find("bars missing"), std::string::npos) << found[0].reasons[0];
}

TEST_F(Verify, ComparesByTimeAndTellsWithItsStatus) {
    std::string text = "time,mean,rounded,wrong\n";
    const Column mean = Mean(close, 20);
    const BarFile file(BAR_FILE);
    for (std::size_t bar = 19; bar < 2000; bar += 1 + bar % 2)
        text += fmt::format("{},{},{:.2f},{}\n", file.Date(bar), mean[bar], mean[bar],
                            mean[bar] + std::sin(static_cast<double>(bar * bar)));
    const TemporaryFile other(text);
    const auto verify = [&](const std::string& column, const std::string& options = "") {
        return RunStudy("verify " BAR_FILE " \"Sim(Close, 20)\" --against \"" + other.Path().string() + ":" + column +
                        "\" " + options);
    };
    const ProgramRun equal = verify("mean"), rounded = verify("rounded"),
                     strict = verify("rounded", "--tolerance 1e-9"), wrong = verify("wrong");
    EXPECT_EQ(equal.status, 0) << equal.text;
    EXPECT_EQ(rounded.status, 0) << rounded.text;
    EXPECT_NE(rounded.text.find("rounded to 2 decimals"), std::string::npos) << rounded.text;
    EXPECT_EQ(strict.status, 3) << strict.text;
    EXPECT_EQ(wrong.status, 3) << wrong.text;
    EXPECT_NE(wrong.text.find("no reason found"), std::string::npos) << wrong.text;
    EXPECT_EQ(verify("nothing").status, 1);
}

// ---- Fingerprints

TEST(Fingerprint, IsTheNameBasedUuidOfTheNumbersBytes) {
    // Python: data = struct.pack("<dQd", 1.5, 0x7FF8000000000000, -0.0)
    //         uuid.UUID(bytes=hashlib.sha1(bytes(16) + data).digest()[:16], version=5)
    const double numbers[] = {1.5, Gap, -0.0}, others[] = {1.5, std::nan("1"), -0.0}, positive[] = {1.5, Gap, 0.0};
    EXPECT_EQ(FingerprintOf(numbers), "0a7043fc-46b2-514e-8dd6-de6c7d17febc");
    EXPECT_EQ(FingerprintOf(others), FingerprintOf(numbers));
    EXPECT_NE(FingerprintOf(positive), FingerprintOf(numbers));
}

TEST(Fingerprint, TellsWhetherInputOrOutputDiffers) {
    const ProgramRun written = RunStudy("run " BAR_FILE " \"Sim(Close, 20)\" --fingerprint");
    const TemporaryFile file(written.text);
    std::string data = (std::ostringstream() << std::ifstream(BAR_FILE).rdbuf()).str();
    data.replace(data.find("1455.219971"), 11, "1455.219972");
    const TemporaryFile other(data), broken("{}");
    const auto verify = [](const std::string& bars, const TemporaryFile& fingerprint) {
        return RunStudy("verify " + bars + " --fingerprint " + fingerprint.Path().string());
    };
    EXPECT_EQ(verify(BAR_FILE, file).status, 0);
    const ProgramRun differing = verify(other.Path().string(), file);
    EXPECT_EQ(differing.status, 3);
    EXPECT_NE(differing.text.find("input \"close\" differs\noutput \"Sim(Close, 20)\" differs\n"), std::string::npos)
        << differing.text;
    EXPECT_EQ(verify(BAR_FILE, broken).status, 1);
}

// The file that users can check their own build by holds every operator.
TEST(Fingerprint, OfTheShippedBarsHoldsAllOperators) {
    const std::string path = PROJECT_FOLDER "/data/sp500_daily.fingerprint.json";
    const std::string text = (std::ostringstream() << std::ifstream(path).rdbuf()).str();
    const RunFingerprint shipped = RunFingerprint::FromJson(text, path);
    const Library library;
    for (const OperatorClass& known : library.Classes()) {
        const auto calls = [&](const std::string& expression) { return expression.starts_with(known.keyword + '('); };
        EXPECT_TRUE(std::ranges::any_of(shipped.expressions, calls)) << known.keyword;
    }
    const ProgramRun run = RunStudy("verify " BAR_FILE " --fingerprint " + path);
    EXPECT_EQ(run.status, 0) << run.text;
}

// ---- Values that change later

TEST(Repaint, IsFoundWhereAnOperatorShowsTheLastBarsOnly) {
    const BarFile file(BAR_FILE);
    BarFile bars(BarHeader{"bars", "date", file.Columns()});
    for (std::size_t bar = 0; bar < 60; ++bar) bars.Append(file.Row(bar));
    const auto results = FindRepaints(Library(), bars, {"TDREBO(Bar)", "KasePeakOsc(Bar, 8, 65, 2)"}, {});
    const RepaintResult& levels = results.front();
    ASSERT_FALSE(levels.repaints.empty());
    EXPECT_EQ(levels.repaints.front().barsLater, 2u);
    EXPECT_TRUE(IsUndefined(levels.repaints.front().after));
    EXPECT_TRUE(results.back().repaints.empty());
}

TEST(Repaint, TellsOfMarksThatATickShowedAndTheBarsEndDidNotHave) {
    const TemporaryFile file("time,open,high,low,close\n2020-01-01,1,1,1,1\n2020-01-02,1,1,1,1\n2020-01-03,1,9,1,9\n"
                             "2020-01-03,1,9,1,1\n2020-01-04,1,1,1,1\n");
    const BarFile bars(file.Path());
    ASSERT_EQ(bars.Ticks().size(), 1u);
    const auto results = FindRepaints(Library(), bars, {"CountOp(Bar, 1, Close > 5, Close > 7)", "Close"}, {});
    const auto label = std::ranges::find(results, "label1", [](const auto& result) { return result.column.output; });
    ASSERT_NE(label, results.end());
    EXPECT_EQ(label->tickBars, 1u);
    EXPECT_EQ(label->firstTickBar, 2u);
    EXPECT_EQ(results.back().tickBars, 0u) << "a curve moves with every tick";
}

// ---- Where the data start

TEST(WarmUp, MeasuresWhatTheDefinitionsTell) {
    const Library library;
    const BarTable bars{BarFile(BAR_FILE)};
    const auto settled = [&](const std::string& expression, int digits) {
        return BarsUntilSettled(library, bars, {expression}, {}, false, digits).front();
    };
    EXPECT_EQ(settled("Close", 15), 0u);
    EXPECT_EQ(settled("Sim(Close, 20)", 10), 19u);
    EXPECT_EQ(settled("HiLev(Close, Close, 50)", 15), 49u);
    EXPECT_EQ(settled("OBV()", 2), std::nullopt);
    // After each bar 11/13 of a wrong start are left.
    EXPECT_NEAR(static_cast<double>(*settled("EMA(Close, 12)", 12) - *settled("EMA(Close, 12)", 6)),
                std::log(1e6) / std::log(13.0 / 11.0), 3.0);
}

TEST(WarmUp, UnsettledValuesAreToldOrLeftOut) {
    const std::string run = "run " BAR_FILE " \"EMA(Close, 12)\" --format csv";
    const std::string plain = RunStudy(run).text, settled = RunStudy(run + " --settled 4").text,
                      last = RunStudy(run + " --last 5").text;
    EXPECT_NE(plain.find("EMA(Close, 12): values ahead of 2000-02-29 depend on"), std::string::npos);
    EXPECT_NE(plain.find("\n2000-02-28,1"), std::string::npos);
    EXPECT_EQ(settled.find("depend on"), std::string::npos);
    EXPECT_NE(settled.find("\n2000-02-28,\n2000-02-29,1"), std::string::npos);
    EXPECT_EQ(last.find("depend on"), std::string::npos);
}

}  // namespace
}  // namespace sarvane::study
