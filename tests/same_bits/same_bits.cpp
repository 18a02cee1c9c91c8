// Fingerprints of all numbers that the library gives. They are the same whatever built it, and wherever it runs.
//
//     same_bits BARS           runs every class over a file of bars and over random bars, and prints its fingerprints
//     same_bits BARS FILE      compares them with the lines of a file, and fails if any line differs
//     same_bits BARS -KEYWORD  prints each number of one class, so that two builds' outputs can be compared line by line

#include "frame/numbers.h"
#include "frame/text.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"
#include "server/class_table.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace sarvane::test {
namespace {

constexpr std::size_t RandomBarsOfAll = 1'000'000;
constexpr std::size_t RunsOverTheFile = 6;  // of a class, each with other arguments
constexpr std::size_t Fields = 4;           // open, high, low, close
using Prices = std::array<double, Fields>;

// The 64-bit FNV-1a hash of the numbers' bit patterns, lowest byte first on every processor. A NaN counts as a NaN
// alone: its sign and its payload are the processor's own, and differ where the arithmetic does not.
class Fingerprint {
public:
    explicit Fingerprint(std::FILE* whereToPrint) : print(whereToPrint) {}

    void Add(double number) {
        const std::uint64_t bits = std::isnan(number) ? 0x7FF8'0000'0000'0000 : std::bit_cast<std::uint64_t>(number);
        for (int shift = 0; shift < 64; shift += 8) hash = (hash ^ (bits >> shift & 0xFF)) * 0x100'0000'01B3;
        if (print) std::fprintf(print, "%016llx\n", static_cast<unsigned long long>(bits));
    }
    void Add(const std::vector<double>& numbers) {
        for (const double number : numbers) Add(number);
    }
    std::string Text() const {
        char text[17];
        std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
        return text;
    }

private:
    std::uint64_t hash = 0xCBF2'9CE4'8422'2325;
    std::FILE* print;
};

// The generator SplitMix64. The standard library's distributions give other numbers on other systems. For the same
// reason no expression draws two numbers: which one came first would be the compiler's choice.
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    std::uint64_t Bits() {
        std::uint64_t bits = state += 0x9E37'79B9'7F4A'7C15;
        bits = (bits ^ bits >> 30) * 0xBF58'476D'1CE4'E5B9;
        bits = (bits ^ bits >> 27) * 0x94D0'49BB'1331'11EB;
        return bits ^ bits >> 31;
    }
    int Below(int n) { return static_cast<int>(Bits() % static_cast<unsigned>(n)); }
    bool OneIn(int n) { return Below(n) == 0; }

private:
    std::uint64_t state;
};

// Where random bars go beyond prices that wander.
enum class Bars { Orderly, Wild };

double OddNumber(Random& random) {
    constexpr double Most = std::numeric_limits<double>::infinity();
    constexpr double Odd[] = {
        0.0,    -0.0,         1e300, -1e300, 5e-324, 1e-101, Most, -Most, std::numeric_limits<double>::quiet_NaN(),
        0x1p53, 2147483647.0, -1.0};
    const double any = std::bit_cast<double>(random.Bits());
    return random.OneIn(4) && !std::isnan(any) ? any : Odd[random.Below(static_cast<int>(std::size(Odd)))];
}

// Prices that wander in steps of a hundredth.
class RandomPrices {
public:
    Prices Next(Random& random) {
        const int open = close;
        close = std::max(close + random.Below(201) - 100, 100);
        const int high = std::max(open, close) + random.Below(60), low = std::min(open, close) - random.Below(60);
        return {open / 100.0, high / 100.0, low / 100.0, close / 100.0};
    }

private:
    int close = 10'000;
};

// Not every platform's standard library has streams of files.
std::istringstream LinesOf(const char* path) {
    std::string text;
    if (std::FILE* const file = std::fopen(path, "rb")) {
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text.push_back(static_cast<char>(c));
        std::fclose(file);
    }
    return std::istringstream(text);
}

// The date and what stands behind the prices are not read.
std::vector<Prices> ReadBars(const char* path) {
    std::istringstream file = LinesOf(path);
    std::string line;
    std::getline(file, line);
    std::vector<Prices> bars;
    while (std::getline(file, line)) {
        const char* next = line.data();
        const char* const end = next + line.size();
        Prices bar{};
        for (double& price : bar) {
            next = std::find(next, end, ',');
            next = std::from_chars(next + (next != end), end, price).ptr;
        }
        bars.push_back(bar);
    }
    return bars;
}

// A text for an argument, most often one that its description allows.
std::u16string ArgumentText(const ArgumentDescription& argument, Random& random) {
    const auto decimal = [](int number) { return Widen(std::to_string(number)); };
    const auto thousandths = [](int number) { return std::u16string(FormatText("%f", number / 1000.0)); };
    switch (argument.kind) {
    case ArgumentKind::Count: return decimal(random.OneIn(3) ? random.Below(60) : random.Below(12) - random.OneIn(8));
    case ArgumentKind::Number:
        if (argument.greatest < 1000.0 && random.OneIn(2)) return decimal(random.Below(101));
        return random.OneIn(2) ? decimal(random.Below(30)) : thousandths(random.Below(4050) - 50);
    case ArgumentKind::Word:
        if (random.OneIn(16)) return decimal(random.Below(8));
        return Widen(argument.words[static_cast<std::size_t>(random.Bits() % argument.words.size())].text);
    default: return random.OneIn(2) ? u"1" : u"0";
    }
}

// An operator with random arguments of its class, and inputs that suit it.
class Run {
public:
    Run(const ClassEntry& entry, Random& numbers, Bars kindOfBars)
        : about(*entry.about), random(numbers), bars(kindOfBars) {
        if (FAILED(entry.create(nullptr, IID_IZelmorOp, op.Slot()))) std::abort();
        op->QueryInterface(IID_IZelmorOp2, barOp.Slot());
        if (random.OneIn(4)) Set(-1, std::to_string(random.Below(40)));
        if (random.OneIn(4)) Set(-2, std::to_string(random.Below(16)));
        short index = -1;
        for (const ArgumentDescription& argument : about.arguments) {
            ++index;
            const int leftOut = argument.isOptional || argument.canBeBound ? 3 : 24;
            if (!argument.IsInput() && !random.OneIn(leftOut))
                op->SetParameter(index, ArgumentText(argument, random).c_str(), nullptr);
        }
        ushort count = 0;
        op->GetInputCount(&count, nullptr);
        in.resize(count);
        for (short input = 0; input < count; ++input) inputs.push_back(InputAt(input));
        op->GetOutputCount(&count, nullptr);
        out.resize(count);
    }

    void Reset(int lastBar) {
        std::vector<double> seed;
        if (random.OneIn(4)) {
            for (Input& input : inputs) seed.push_back(Value(input, {100.0, 101.0, 99.0, 100.5}));
        }
        const int count = static_cast<int>(seed.size()), mode = random.Below(2);
        if (!barOp) {
            op->Reset(count, seed.data());
            return;
        }
        const double step[] = {0.25, 0.25};
        if (random.OneIn(4)) barOp->SetPriceStep(2, step);
        barOp->ResetBar(mode, lastBar, count, seed.data());
    }

    // Takes in one bar, now and then with snapshots in between, and adds up what comes out.
    void Step(int bar, const Prices& prices, Fingerprint& fingerprint) {
        if (random.OneIn(24)) op->SaveState(static_cast<short>(1 + random.Below(3)));
        if (random.OneIn(48)) op->RestoreState(static_cast<short>(1 + random.Below(3)));
        if (random.OneIn(8)) {  // the last bar changes
            op->SaveState(4);
            Calculate(bar, prices, fingerprint);
            op->RestoreState(4);
        }
        Calculate(bar, prices, fingerprint);
    }

private:
    struct Input {
        std::size_t field = Fields;  // of the bar; or a value of its own:
        bool isParameter = false;    // one that is no constant and stays the same for a while
        bool isWhole = false;        // small whole numbers, many of which are equal
        double value = 5.0;
    };

    void Set(short index, const std::string& text) { op->SetParameter(index, Widen(text).c_str(), nullptr); }

    Input InputAt(short number) {
        constexpr std::u16string_view Names[] = {OpenField, HighField, LowField, CloseField};
        TextSlot text = nullptr;
        ushort argument = 0;
        op->GetInputBarType(number, &text, nullptr);
        op->GetInputCurve(number, &argument, nullptr);
        Input input;
        input.field =
            static_cast<std::size_t>(std::find(std::begin(Names), std::end(Names), std::u16string_view(text)) - Names);
        CoTaskMemFree(text);
        input.isParameter = !about.Argument(argument).IsInput();
        input.isWhole = random.OneIn(3);
        return input;
    }

    double Value(Input& input, const Prices& prices) {
        if (random.OneIn(40)) return UndefinedValue;
        if (bars == Bars::Wild && random.OneIn(40)) return OddNumber(random);
        if (input.field < Fields) return prices[input.field];
        if (input.isParameter) {
            if (random.OneIn(10)) input.value = random.OneIn(4) ? random.Below(40) / 8.0 : 1 + random.Below(20);
            return input.value;
        }
        return input.isWhole ? random.Below(5) : prices[Fields - 1] + random.Below(400) / 100.0;
    }

    void Calculate(int bar, const Prices& prices, Fingerprint& fingerprint) {
        const bool isMissing = random.OneIn(60);
        for (std::size_t i = 0; i < in.size(); ++i) in[i] = isMissing ? UndefinedValue : Value(inputs[i], prices);
        const int inCount = static_cast<int>(in.size()), outCount = static_cast<int>(out.size());
        barOp ? barOp->CalculateBar(bar, inCount, in.data(), outCount, out.data())
              : op->Calculate(inCount, in.data(), outCount, out.data());
        fingerprint.Add(out);
    }

    const Description& about;
    Random& random;
    Bars bars;
    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> barOp;
    std::vector<Input> inputs;
    std::vector<double> in, out;
};

void RunOverFile(const ClassEntry& entry, const std::vector<Prices>& bars, Fingerprint& fingerprint) {
    for (std::size_t seed = 0; seed < RunsOverTheFile; ++seed) {
        Random random(seed);
        Run run(entry, random, Bars::Orderly);
        const int last = static_cast<int>(bars.size()) - 1;
        run.Reset(last);
        for (int bar = 0; bar <= last; ++bar) run.Step(bar, bars[static_cast<std::size_t>(bar)], fingerprint);
    }
}

void RunOverRandomBars(const ClassEntry& entry, Fingerprint& fingerprint) {
    const std::size_t wanted = RandomBarsOfAll / ClassTable().size() + 1;
    for (std::size_t done = 0; done < wanted;) {
        Random random(1000 + done);
        Run run(entry, random, random.OneIn(2) ? Bars::Wild : Bars::Orderly);
        const int count = 10 + random.Below(200);
        RandomPrices prices;
        run.Reset(random.OneIn(2) ? count - 1 : random.Below(count));
        for (int bar = 0; bar < count; ++bar) run.Step(bar, prices.Next(random), fingerprint);
        done += static_cast<std::size_t>(count);
    }
}

// What the library makes of texts that may be numbers.
void ReadTexts(Fingerprint& fingerprint) {
    constexpr std::u16string_view Characters = u"00123456789abcdef..eEpPxX+- inf";
    Random random(1);
    for (int i = 0; i < 100'000; ++i) {
        std::u16string text;
        const std::size_t most = i % 2 ? 14 : Characters.size();  // every second time mostly digits
        for (int length = random.Below(i % 100 ? 12 : 400); length > 0; --length)
            text += Characters[static_cast<std::size_t>(random.Bits() % most)];
        fingerprint.Add(TextToDouble(text.c_str()));
        fingerprint.Add(TextToInt(text.c_str()));
    }
}

void WriteTexts(Fingerprint& fingerprint) {
    Random random(1);
    for (int i = 0; i < 3000; ++i) {
        const double odd = OddNumber(random);
        const int number = random.Below(1 << 30);
        const FormattedText text =
            FormatText("%d, %.3f, %f, %20.10f", number, odd, std::isnan(odd) ? 0.5 : number / 4096.0, i / 2048.0);
        for (const char16_t character : std::u16string_view(text)) fingerprint.Add(character);
    }
}

// Around powers of ten, where the number of digits changes.
void Round(Fingerprint& fingerprint) {
    for (int power = -323; power <= 308; ++power) {
        const std::string text = "1e" + std::to_string(power);
        double nearest = 0.0;
        std::from_chars(text.data(), text.data() + text.size(), nearest);
        for (int away = -60; away <= 60; ++away) {
            for (int digits = 1; digits <= 15; ++digits) {
                const auto bits = std::bit_cast<std::int64_t>(nearest) + away * (1 + digits % 3);
                fingerprint.Add(RoundToSignificant(std::bit_cast<double>(bits), digits));
            }
        }
    }
}

// All lines, or only that of one keyword with each number printed.
std::vector<std::string> Lines(const std::vector<Prices>& bars, const std::optional<std::string>& only) {
    std::vector<std::string> lines;
    std::FILE* const print = only ? stdout : nullptr;
    const auto wanted = [&](const std::string& name) { return !only || *only == name; };
    for (const ClassEntry& entry : ClassTable()) {
        if (!wanted(entry.keyword)) continue;
        Fingerprint overFile(print), overRandomBars(print);
        RunOverFile(entry, bars, overFile);
        RunOverRandomBars(entry, overRandomBars);
        lines.push_back(std::string(entry.keyword) + " " + overFile.Text() + " " + overRandomBars.Text());
    }
    const std::pair<const char*, void (*)(Fingerprint&)> others[] = {
        {"TextToDouble", ReadTexts}, {"FormatText", WriteTexts}, {"RoundToSignificant", Round}};
    for (const auto& [name, addAll] : others) {
        if (!wanted(name)) continue;
        Fingerprint fingerprint(print);
        addAll(fingerprint);
        lines.push_back(std::string(name) + " " + fingerprint.Text());
    }
    return lines;
}

int Compare(const std::vector<std::string>& lines, const char* path) {
    std::istringstream file = LinesOf(path);
    std::set<std::string> expected;
    for (std::string line; std::getline(file, line);) expected.insert(line);
    int differences = 0;
    for (const std::string& line : lines) {
        if (expected.erase(line) == 0) std::printf("computed, not in the file: %s\n", line.c_str()), ++differences;
    }
    for (const std::string& line : expected)
        std::printf("in the file, not computed: %s\n", line.c_str()), ++differences;
    std::printf("%zu fingerprints compared, %s\n", lines.size(), differences == 0 ? "all are equal" : "some differ");
    return differences == 0 ? 0 : 1;
}

}  // namespace
}  // namespace sarvane::test

int main(int argc, char** argv) {
    using namespace sarvane::test;
    const std::vector<Prices> bars = argc > 1 ? ReadBars(argv[1]) : std::vector<Prices>();
    if (bars.empty() || argc > 3) {
        std::fputs("usage: same_bits BARS [FILE | -KEYWORD]\n", stderr);
        return 2;
    }
    if (argc == 3 && argv[2][0] != '-') return Compare(Lines(bars, std::nullopt), argv[2]);
    for (const std::string& line : Lines(bars, argc == 3 ? std::optional<std::string>(argv[2] + 1) : std::nullopt))
        std::printf("%s\n", line.c_str());
    return 0;
}
