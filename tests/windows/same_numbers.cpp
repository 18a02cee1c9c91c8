// Compares the numbers that two builds of the library give, to the last bit.
//
//     same_numbers write BARS FILE    runs every class over a file of bars, reads and writes texts and rounds, and
//                                     writes all results as bit patterns
//     same_numbers compare FILE FILE  names what differs, and fails if anything does

#include "frame/numbers.h"
#include "frame/text.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"
#include "server/class_table.h"
#include "support/random_bars.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace sarvane::test {
namespace {

constexpr std::size_t Fields = 4;  // open, high, low, close
using Bar = std::vector<double>;

// The date and what stands behind the prices are not read.
std::vector<Bar> ReadBars(const char* path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    std::vector<Bar> bars;
    while (std::getline(file, line)) {
        std::istringstream cells(line);
        std::string cell;
        std::getline(cells, cell, ',');
        Bar bar;
        while (bar.size() < Fields && std::getline(cells, cell, ',')) bar.push_back(std::strtod(cell.c_str(), nullptr));
        bars.push_back(bar);
    }
    return bars;
}

std::size_t FieldOf(IZelmorOp& op, short input) {
    TextSlot text = nullptr;
    op.GetInputBarType(input, &text, nullptr);
    const std::u16string type = text ? text : u"";
    CoTaskMemFree(text);
    return type == u"BAR_TYPE_OPEN" ? 0 : type == u"BAR_TYPE_HIGH" ? 1 : type == u"BAR_TYPE_LOW" ? 2 : 3;
}

void WriteLine(std::FILE* file, const char* name, const std::vector<double>& values) {
    std::fputs(name, file);
    for (const double value : values)
        std::fprintf(file, " %016llx", static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(value)));
    std::fputc('\n', file);
}

// A run over all bars, with a gap here and there, and with a step back now and then.
void WriteRun(std::FILE* file, const ClassEntry& entry, const std::string& arguments, const std::vector<Bar>& bars) {
    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> barOp;
    if (FAILED(entry.create(nullptr, IID_IZelmorOp, op.Slot()))) std::abort();
    op->QueryInterface(IID_IZelmorOp2, barOp.Slot());
    std::istringstream words(arguments);
    std::string word;
    for (short index = 1; words >> word; ++index) {
        if (word == "-") continue;
        TextSlot error = nullptr;
        op->SetParameter(index, std::u16string(word.begin(), word.end()).c_str(), &error);
        CoTaskMemFree(error);
    }
    ushort inputs = 0, outputs = 0;
    op->GetInputCount(&inputs, nullptr);
    op->GetOutputCount(&outputs, nullptr);
    std::vector<std::size_t> fields;
    for (short input = 0; input < inputs; ++input) fields.push_back(FieldOf(*op.Get(), input));

    std::vector<double> in(inputs), out(outputs);
    const int last = static_cast<int>(bars.size()) - 1;
    barOp ? barOp->ResetBar(1, last, 0, nullptr) : op->Reset(0, nullptr);
    for (int index = 0; index <= last; ++index) {
        const Bar& bar = bars[static_cast<std::size_t>(index)];
        for (std::size_t i = 0; i < in.size(); ++i) in[i] = index % 97 == 96 ? UndefinedValue : bar[fields[i]];
        const auto calculate = [&] {
            barOp ? barOp->CalculateBar(index, inputs, in.data(), outputs, out.data())
                  : op->Calculate(inputs, in.data(), outputs, out.data());
        };
        if (index % 50 == 49) {
            op->SaveState(1);
            calculate();
            op->RestoreState(1);
        }
        calculate();
        WriteLine(file, entry.keyword, out);
    }
}

// What the library makes of texts that may be numbers.
void WriteTexts(std::FILE* file) {
    constexpr std::u16string_view Characters = u"00123456789abcdef..eEpPxX+- inf";
    std::mt19937_64 random(1);
    for (int i = 0; i < 300000; ++i) {
        std::u16string text;
        for (std::size_t length = random() % (i % 100 ? 12 : 400); length > 0; --length)
            text += Characters[random() % (i % 2 ? 14 : Characters.size())];  // every second time mostly digits
        WriteLine(file, "TextToDouble", {TextToDouble(text.c_str()), static_cast<double>(TextToInt(text.c_str()))});
    }
}

void WriteFormats(std::FILE* file) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 3000; ++i) {
        const auto any = std::bit_cast<double>(random());
        const FormattedText text =
            FormatText("%d, %.3f, %f, %20.10f", static_cast<int>(random()), any, std::remainder(any, 1e6), i / 2048.0);
        const std::u16string characters(text);
        WriteLine(file, "FormatText", {characters.begin(), characters.end()});
    }
}

void WriteRoundings(std::FILE* file) {
    for (int power = -323; power <= 308; ++power) {
        const std::string text = "1e" + std::to_string(power);
        double nearest = 0.0;
        std::from_chars(text.data(), text.data() + text.size(), nearest);
        for (int away = -60; away <= 60; ++away) {
            std::vector<double> rounded;
            for (int digits = 1; digits <= 15; ++digits) {
                const auto bits = std::bit_cast<std::int64_t>(nearest) + away * (1 + digits % 3);
                rounded.push_back(RoundToSignificant(std::bit_cast<double>(bits), digits));
            }
            WriteLine(file, "RoundToSignificant", rounded);
        }
    }
}

int Write(const char* barFile, const char* path) {
    const std::vector<Bar> bars = ReadBars(barFile);
    std::FILE* const file = std::fopen(path, "wb");
    if (bars.empty() || !file) return 1;
    for (const ClassEntry& entry : ClassTable()) {
        RandomBars random(1);
        for (int i = 0; i < 6; ++i) WriteRun(file, entry, i > 0 ? RandomArguments(random, *entry.about) : "", bars);
    }
    WriteTexts(file);
    WriteFormats(file);
    WriteRoundings(file);
    return std::fclose(file) == 0 ? 0 : 1;
}

int Compare(const char* firstPath, const char* secondPath) {
    std::ifstream first(firstPath), second(secondPath);
    std::map<std::string, std::size_t> differences;  // how many lines of each kind
    std::size_t lines = 0;
    std::string one, other;
    while (std::getline(first, one)) {
        ++lines;
        if (!std::getline(second, other)) break;
        if (one != other) ++differences[one.substr(0, one.find(' '))];
    }
    if (lines == 0 || second.eof() || std::getline(second, other)) {
        std::puts("the files do not go together");
        return 1;
    }
    for (const auto& [keyword, count] : differences) std::printf("%s differs in %zu lines\n", keyword.c_str(), count);
    std::printf("%zu lines compared, %zu kinds differ\n", lines, differences.size());
    return differences.empty() ? 0 : 1;
}

}  // namespace
}  // namespace sarvane::test

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    return std::string(argv[1]) == "write" ? sarvane::test::Write(argv[2], argv[3])
                                           : sarvane::test::Compare(argv[2], argv[3]);
}
