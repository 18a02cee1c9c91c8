// docs/operators.md tells of the library what the library tells of itself.

#include "description.h"
#include "language/unicode.h"
#include "reference.h"
#include "run_study.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>
#include <map>

namespace sarvane::study {
namespace {

const Library& Operators() {
    static const Library library;
    return library;
}

// The part of the reference below one heading.
struct Entry {
    std::string keyword;
    std::string text;
};

std::vector<Entry> ReadEntries() {
    std::string reference = Reference();
    std::vector<Entry> entries;
    for (std::size_t heading; (heading = reference.rfind("\n### ")) != std::string::npos; reference.resize(heading)) {
        const std::size_t end = reference.find('\n', heading + 1);
        entries.push_back({reference.substr(heading + 5, end - heading - 5), reference.substr(end)});
    }
    return entries;
}

const std::vector<Entry>& Entries() {
    static const std::vector<Entry> entries = ReadEntries();
    return entries;
}

// "Sim(x, 20)" as an operator to which the arguments are handed over.
ComPtr<IZelmorOp> Called(const OperatorClass& operatorClass, const std::string& call) {
    ComPtr<IZelmorOp> op = Operators().Create(operatorClass);
    std::istringstream arguments(call.substr(call.find('(') + 1, call.rfind(')') - call.find('(') - 1));
    std::string argument;
    for (int i = 0; std::getline(arguments >> std::ws, argument, ','); ++i) {
        if (i > 0 && !argument.empty()) Operators().SetArgument(*op.Get(), operatorClass, i, argument);
    }
    return op;
}

std::string Counted(const std::vector<std::string>& texts) {
    return texts.empty() ? "0" : fmt::format("{}: `{}`", texts.size(), fmt::join(texts, "` `"));
}

std::string UnitName(int kind) {
    const std::map<int, std::string> names = {
        {1, "curve"}, {2, "deviation"}, {3, "number"}, {8, "product"}, {9, "quotient"}};
    return names.at(kind);
}

std::string ClassLines(const OperatorClass& operatorClass) {
    const ComPtr<IZelmorOp> op = Operators().Create(operatorClass);
    ComPtr<IZelmorOp2> second;
    op->QueryInterface(IID_IZelmorOp2, second.Slot());
    std::vector<std::string> outputs;
    for (const auto& [name, kind] : Describe(Operators(), *op.Get()).outputs)
        outputs.push_back(fmt::format("`{}` {}", name, UnitName(kind)));
    return fmt::format("\nClass `{}`, id `{}`{}.\nOutputs: {}: {}.\n\n", operatorClass.name,
                       Utf8(BracedText(operatorClass.id)).substr(1, 36), second ? ", with the second interface" : "",
                       outputs.size(), fmt::join(outputs, ", "));
}

std::string CallLine(const OperatorClass& operatorClass, const std::string& call) {
    const Description described = Describe(Operators(), *Called(operatorClass, call).Get());
    std::vector<std::string> inputs;
    for (const auto& [argument, field] : described.inputs)
        inputs.push_back(fmt::format("{}{}{}", argument, field.empty() ? "" : ".", field));
    const std::string formula = described.formula.empty() ? "empty" : fmt::format("`{}`", described.formula);
    return fmt::format("\n| `{}` | {} | {} | {} | {} |\n", call, formula, Counted(inputs),
                       Counted(described.parameters), described.lookback);
}

TEST(Reference, HasAnEntryForEveryClass) {
    std::vector<std::string> described, known;
    for (const Entry& entry : Entries()) described.push_back(entry.keyword);
    for (const OperatorClass& operatorClass : Operators().Classes()) known.push_back(operatorClass.keyword);
    std::ranges::sort(described);
    std::ranges::sort(known);
    EXPECT_EQ(described, known);
}

TEST(Reference, TellsTheFactsOfTheLibrary) {
    for (const Entry& entry : Entries()) {
        const OperatorClass& operatorClass = Operators().FindOrFail(entry.keyword);
        std::vector<std::string> expected = {ClassLines(operatorClass)};
        for (const auto& call : Matches(entry.text, std::regex("\n\\| `(" + entry.keyword + "\\([^`]*\\))`")))
            expected.push_back(CallLine(operatorClass, call[1]));
        EXPECT_GE(expected.size(), 2u) << entry.keyword << " has no call";
        for (const std::string& lines : expected)
            EXPECT_NE(entry.text.find(lines), std::string::npos) << entry.keyword << " should say" << lines;
    }
}

TEST(Reference, ShowsTheArgumentsAsTheLibraryDescribesThem) {
    for (const Entry& entry : Entries()) {
        const std::string table = DescribeMarkdown(Operators().FindOrFail(entry.keyword));
        EXPECT_NE(entry.text.find("\n\n" + table + "\n"), std::string::npos) << entry.keyword << " should have\n"
                                                                             << table;
    }
}

TEST(Reference, TellsTheDefaults) {
    std::size_t count = 0;
    for (const Entry& entry : Entries()) {
        for (const auto& row : Matches(entry.text, std::regex(R"(\n\| (\d+) [^|]*\| `([^`]*)` \|)"))) {
            const OperatorClass& operatorClass = Operators().FindOrFail(entry.keyword);
            const ComPtr<IZelmorOp> op = Operators().Create(operatorClass);
            const Description before = Describe(Operators(), *op.Get());
            Operators().SetArgument(*op.Get(), operatorClass, std::stoi(row[1]), row[2].str());
            EXPECT_TRUE(Describe(Operators(), *op.Get()) == before) << entry.keyword << " argument " << row[1];
            ++count;
        }
    }
    EXPECT_GT(count, 50u);
}

TEST(Reference, ShowsWhatStudyPrints) {
    std::filesystem::current_path(PROJECT_FOLDER);
    const std::string documents = Reference() + Document("expressions.md") + Document("time_frames.md");
    for (const auto& block : Matches(documents, std::regex("```console\n\\$ study ([^\n]*)\n([^`]*)```")))
        EXPECT_EQ(RunStudy(block[1]).text, block[2]) << block[1];
    for (const Entry& entry : Entries())
        EXPECT_NE(entry.text.find("```console\n$ study run data/"), std::string::npos) << entry.keyword;
}

TEST(Reference, ShowsAPictureOfEveryOperator) {
    std::vector<std::string> shown, drawn;
    for (const Entry& entry : Entries()) {
        const std::regex reference("\n```\n\n!\\[" + entry.keyword + "\\(.*\\]\\(pictures/(.*)\\)\n");
        for (const auto& picture : Matches(entry.text, reference)) shown.push_back(picture[1]);
    }
    for (const auto& file : std::filesystem::directory_iterator(PROJECT_FOLDER "/docs/pictures")) {
        drawn.push_back(file.path().filename().string());
        std::string signature(8, ' ');
        std::ifstream(file.path(), std::ios::binary).read(signature.data(), 8);
        EXPECT_EQ(signature, "\x89PNG\r\n\x1a\n") << drawn.back();
    }
    std::ranges::sort(shown);
    std::ranges::sort(drawn);
    EXPECT_EQ(shown, drawn);
    EXPECT_EQ(shown.size(), Entries().size());
}

}  // namespace
}  // namespace sarvane::study
