#include "catalogue.h"

#include "fault.h"

#include <charconv>
#include <cmath>
#include <optional>

using namespace sarvane::sql;

struct SqlTable {
    std::vector<std::vector<std::optional<std::string>>> rows;
};

namespace {

using Cell = std::optional<std::string>;

Cell TextOrNull(const char* text) { return text && *text ? Cell(text) : std::nullopt; }

Cell NumberOrNull(double number) {
    if (!std::isfinite(number)) return std::nullopt;
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
}

const char* KindName(SarvaneArgumentKind kind) {
    switch (kind) {
    case SARVANE_CURVE: return "curve";
    case SARVANE_BAR: return "bar";
    case SARVANE_COUNT: return "count";
    case SARVANE_NUMBER: return "number";
    case SARVANE_SWITCH: return "switch";
    case SARVANE_WORD: return "word";
    }
    return "";
}

std::vector<Cell> ArgumentRow(const SarvaneArgumentInfo& argument) {
    return {"argument",
            argument.name,
            TextOrNull(argument.meaning),
            TextOrNull(argument.standard),
            NumberOrNull(argument.least),
            NumberOrNull(argument.greatest),
            KindName(argument.kind),
            argument.isOptional ? "1" : "0"};
}

std::vector<Cell> NamedRow(const char* part, const char* name, const char* meaning) {
    return {part, name, TextOrNull(meaning), std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt};
}

// The names of `count` things that `get` describes, with commas between them.
template <class Info, class Get>
Cell NameList(std::size_t count, Get get) {
    std::string list;
    for (std::size_t i = 0; i < count; ++i) {
        Info info = {};
        get(i, &info);
        if (i > 0) list += ", ";
        if constexpr (requires { info.name; }) {
            list += info.name;
        } else {
            list += info.text;
        }
    }
    return TextOrNull(list.c_str());
}

std::size_t CountDefinitions(SarvaneLibrary* library, SqlFault* fault) {
    std::size_t count = 0;
    const SarvaneStatus status = SarvaneListDefinitions(library, &count);
    if (status != SARVANE_OK) SetFault(fault, status);
    return count;
}

void DescribeOperator(const SarvaneLibrary* library, std::size_t op, const SarvaneOperatorInfo& about,
                      SqlTable& table) {
    for (std::size_t i = 0; i < about.argumentCount; ++i) {
        SarvaneArgumentInfo argument = {};
        SarvaneGetArgumentInfo(library, op, i, &argument);
        table.rows.push_back(ArgumentRow(argument));
        for (std::size_t word = 0; word < argument.wordCount; ++word) {
            SarvaneWordInfo info = {};
            SarvaneGetWordInfo(library, op, i, word, &info);
            table.rows.push_back(NamedRow("word", info.text, info.meaning));
        }
    }
    for (std::size_t i = 0; i < about.outputCount; ++i) {
        SarvaneOutputInfo output = {};
        SarvaneGetOutputInfo(library, op, i, &output);
        table.rows.push_back(NamedRow("output", output.name, output.meaning));
    }
}

void DescribeDefinition(const SarvaneLibrary* library, std::size_t definition, const SarvaneDefinitionInfo& about,
                        SqlTable& table) {
    for (std::size_t i = 0; i < about.argumentCount; ++i) {
        SarvaneArgumentInfo argument = {};
        SarvaneGetDefinitionArgument(library, definition, i, &argument);
        table.rows.push_back(ArgumentRow(argument));
        table.rows.back()[6].reset();  // what it takes shows only where the definition uses it
    }
    for (std::size_t i = 0; i < about.outputCount; ++i) {
        SarvaneWordInfo output = {};
        SarvaneGetDefinitionOutput(library, definition, i, &output);
        table.rows.push_back(NamedRow("output", output.text, output.meaning));
    }
}

}  // namespace

extern "C" {

SqlTable* ListStudies(SarvaneLibrary* library, SqlFault* fault) {
    return Answer(fault, [&]() -> SqlTable* {
        auto table = std::make_unique<SqlTable>();
        const std::size_t operators = SarvaneOperatorCount(library), definitions = CountDefinitions(library, fault);
        if (definitions == 0) return nullptr;
        for (std::size_t op = 0; op < operators; ++op) {
            SarvaneOperatorInfo about = {};
            SarvaneGetOperatorInfo(library, op, &about);
            const Cell arguments = NameList<SarvaneArgumentInfo>(
                about.argumentCount, [&](auto i, auto* info) { SarvaneGetArgumentInfo(library, op, i, info); });
            const Cell outputs = NameList<SarvaneOutputInfo>(
                about.outputCount, [&](auto i, auto* info) { SarvaneGetOutputInfo(library, op, i, info); });
            table->rows.push_back({about.keyword, "operator", about.sentence, arguments, outputs, {}, {}, {}});
        }
        for (std::size_t study = 0; study < definitions; ++study) {
            SarvaneDefinitionInfo about = {};
            SarvaneGetDefinitionInfo(library, study, &about);
            const Cell arguments = NameList<SarvaneArgumentInfo>(about.argumentCount, [&](auto i, auto* info) {
                SarvaneGetDefinitionArgument(library, study, i, info);
            });
            const Cell outputs = NameList<SarvaneWordInfo>(
                about.outputCount, [&](auto i, auto* info) { SarvaneGetDefinitionOutput(library, study, i, info); });
            table->rows.push_back({about.name, "study", TextOrNull(about.sentence), arguments, outputs,
                                   TextOrNull(about.group), TextOrNull(about.source), about.text});
        }
        return table.release();
    });
}

SqlTable* DescribeStudy(SarvaneLibrary* library, SqlText name, SqlFault* fault) {
    return Answer(fault, [&]() -> SqlTable* {
        auto table = std::make_unique<SqlTable>();
        const std::string_view wanted(name.first ? name.first : "", name.length);
        for (std::size_t op = 0; op < SarvaneOperatorCount(library); ++op) {
            SarvaneOperatorInfo about = {};
            SarvaneGetOperatorInfo(library, op, &about);
            if (!AreSameName(about.keyword, wanted)) continue;
            DescribeOperator(library, op, about, *table);
            return table.release();
        }
        const std::size_t definitions = CountDefinitions(library, fault);
        if (definitions == 0) return nullptr;
        for (std::size_t study = 0; study < definitions; ++study) {
            SarvaneDefinitionInfo about = {};
            SarvaneGetDefinitionInfo(library, study, &about);
            if (!AreSameName(about.name, wanted)) continue;
            DescribeDefinition(library, study, about, *table);
            return table.release();
        }
        SetFaultMessage(fault, "there is no operator and no study with this name");
        CopyText(fault->detail, wanted);
        CopyText(fault->hint, "study_list() has all names");
        return nullptr;
    });
}

void FreeTable(SqlTable* table) { delete table; }

size_t TableRowCount(const SqlTable* table) { return table->rows.size(); }

const char* TableCell(const SqlTable* table, size_t row, size_t column) {
    const Cell& cell = table->rows[row][column];
    return cell ? cell->c_str() : nullptr;
}
}
