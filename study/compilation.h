#pragma once

#include "graph/binder.h"
#include "graph/graph.h"
#include "language/definitions.h"
#include "operators/operator_library.h"

#include <memory>
#include <string>
#include <vector>

namespace sarvane::study {

// The operators of a loaded library, and the studies that are defined on top of them. Threads may share one that is no
// longer defined to.
class StudyLibrary {
public:
    // Loads the operator library (the one nearby if `file` is empty) and reads the standard studies.
    static Outcome<std::shared_ptr<StudyLibrary>> Load(const std::string& file = {});

    // Adds the definitions of a text, or none of them if there is a problem. `name` tells where they come from.
    std::optional<Problem> Define(std::string_view text, std::string_view name) { return definitions.Add(text, name); }

    const OperatorLibrary& Operators() const { return operators; }
    const Definitions& Studies() const { return definitions; }

private:
    explicit StudyLibrary(OperatorLibrary loaded);

    OperatorLibrary operators;
    Definitions definitions;
};

struct CompileSettings {
    OperatorSettings operators = {};
    bool allOutputs = false;  // a column for each output of an expression with several
    double barSeconds = 0.0;  // how long the data's bars are, which counts for lookback alone; 0 if that is not known
};

// A column of what expressions give.
struct ResultColumn {
    std::string title;
    Place place = NoPlace;
    std::size_t expression = 0;  // which one of those compiled
    std::string output;          // its name, where the expression has several
    std::string formula;         // the expression in the words of its operators
    std::string meaning;
    std::size_t lookback = 0;  // bars, through all operators behind the column
    std::vector<FrameReach> frames = {};  // longer bars that it is made of
    bool isLabel = false;
    bool inPriceUnits = false;
    int unitKind = 3;
    DrawnAs drawing = DrawnAs::Line;
};

// A text as it was compiled.
struct CompiledText {
    std::string text;
    CompileSettings settings;
};

// Expressions compiled together over columns of data. Equal parts of them are stepped once.
struct Compilation {
    std::shared_ptr<const StudyLibrary> library;  // whose code the nodes are
    Definitions studies;                          // of the library, as they were when compiling began
    std::vector<std::string> columns;             // of the data
    std::vector<CompiledText> texts;
    Graph graph;
    std::vector<Operand> expressions;  // what each expression stands for
    std::vector<ResultColumn> results;
    std::vector<Problem> warnings;
    std::size_t depth = 0;     // operators in the longest chain from a result to the data
    std::size_t lookback = 0;  // bars, through the longest chain

    Compilation(std::shared_ptr<const StudyLibrary> operators, Definitions defined, std::vector<std::string> names)
        : library(std::move(operators)), studies(std::move(defined)), columns(std::move(names)), graph(columns.size()) {
    }
    // Columns of the data that some expression reads, in their order.
    std::vector<std::size_t> UsedColumns() const;
};

// Compiles expressions one after the other: the names of each are known to those behind it.
class Compiler {
public:
    Compiler(std::shared_ptr<const StudyLibrary> library, const std::vector<std::string>& columns);
    // With these definitions in the place of the library's.
    Compiler(std::shared_ptr<const StudyLibrary> library, const Definitions& studies,
             const std::vector<std::string>& columns);

    // Adds an expression, which gives a column, or one for each output; a text that only defines a function gives none.
    // With a problem nothing is added but what the text has defined ahead of it. A problem tells in `source` which
    // expression it lies in: "" for the first, else "expression 2" and so on, or the text of a definition.
    std::optional<Problem> Add(const std::string& text, const CompileSettings& settings = {});

    // What has been compiled so far.
    Compilation& Compiled() { return *compilation; }
    const Compilation& Compiled() const { return *compilation; }
    // Ends the work: the compiler is of no more use.
    std::unique_ptr<Compilation> Finish() { return std::move(compilation); }

private:
    std::optional<Problem> AddText(const std::string& text, const CompileSettings& settings);
    bool IsComparison(const Statement& statement) const;
    std::optional<Problem> Name(const Statement& statement, const std::shared_ptr<const Source>& source);
    std::optional<Problem> AddResults(Operand operand, const std::string& title, const Statement& statement,
                                      const Source& source, bool allOutputs);

    std::unique_ptr<Compilation> compilation;
    Definitions names;  // of the library and of the expressions so far
    Binder binder;
};

// The same expressions once more, with nodes of their own.
Outcome<std::unique_ptr<Compiler>> CompiledAgain(const Compilation& compilation);
Outcome<std::unique_ptr<Compilation>> CopyOf(const Compilation& compilation);

}  // namespace sarvane::study
