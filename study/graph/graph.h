#pragma once

#include "graph/node.h"
#include "room.h"

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sarvane::study {

// Which operator a node is, and what it was given.
struct OperatorText {
    std::string keyword;
    std::vector<std::string> arguments;  // texts, by number; empty for one that was left out
    std::vector<std::string> inputs;     // argument that each input belongs to, such as "curve" or "bar.high"
    std::vector<std::string> outputs;    // names
    std::optional<int> digits = {};      // of precision
};

class Graph;
class Frame;

// What at(frame, x) shows: the longer bar that forms, or the last one that is closed.
enum class FrameView { Forming, Closed };

// Of a node for at(frame, x): the frame, and the inner graph, which calculates x over the longer bars. Its columns are those
// of the outer graph, which holds the node.
struct FrameText {
    std::shared_ptr<const Frame> frame;
    FrameView view;
    Graph* inner;                // belongs to the node; who runs it by itself must reset the outer graph afterwards
    std::vector<Place> results;  // places in the inner graph of what the node gives
};

// What a node was made of, for people.
struct NodeText {
    std::string rule;           // what it does with its inputs
    std::string text;           // the part of the expression, in the words of its operators
    std::vector<Place> inputs;  // places that it reads
    Place output = NoPlace;     // the first place that it writes
    std::size_t outputCount = 1;
    std::size_t uses = 1;  // how many times expressions asked for it
    std::optional<OperatorText> called = {};
    std::optional<FrameText> frame = {};
};

// The nodes of expressions that are compiled together, and the values of the present bar. Each different part of the
// expressions is one node, which is stepped once a bar.
//
// The array of values starts with the columns of the data; constants and the outputs of nodes follow as they are added.
class Graph {
public:
    explicit Graph(std::size_t columnCount) : values(columnCount, UndefinedValue), columns(columnCount) {}
    Graph(const Graph&) = delete;
    Graph& operator=(const Graph&) = delete;

    Place AddConstant(double value);

    // The first output of a node that follows `rule` with these inputs. There is one node for equal rules and inputs; a
    // new one is made by `make(place)`, which gets the place of its first output.
    template <class Make>
    Place AddNode(const std::string& rule, const std::string& text, std::vector<Place> inputs, std::size_t outputCount,
                  Make make) {
        const std::string key = KeyOf(rule, inputs);
        if (const auto known = UseAgain(key)) return *known;
        const Place output = values.size();
        std::unique_ptr<Node> node = make(output);
        if (!node) return NoPlace;
        Append(key, {rule, text, std::move(inputs), output, outputCount}, std::move(node));
        return output;
    }
    // The same for a node with a graph of its own, `inner`, which is complete. Its values move into this graph's array, and
    // its nodes are stepped and restored behind the node. The node's outputs are the last of these values if they
    // `areInside`, and else stand behind them.
    template <class Make>
    Place AddFrameNode(const std::string& rule, const std::string& text, std::vector<Place> inputs,
                       std::size_t outputCount, bool areInside, Graph& inner, Make make) {
        const std::string key = KeyOf(rule, inputs);
        if (const auto known = UseAgain(key)) return *known;
        const Place block = values.size(), behind = block + inner.values.size();
        const Place output = areInside ? behind - outputCount : behind;
        std::unique_ptr<Node> node = make(output);
        MakeRoom(steps, 1 + inner.steps.size());
        Append(key, {rule, text, std::move(inputs), output, outputCount}, std::move(node));
        inner.MoveInto(*this, block);
        return output;
    }

    // The place of the last value that an expression had before this bar, for use inside the expression itself. It has
    // no value until `CloseLoop` tells where the expression's value stands.
    Place OpenLoop();
    // Ends the loop that began at place `memory`. An equal loop that the graph holds already is used instead. Gives the
    // place of the expression's value.
    Place CloseLoop(Place memory, Place value, const std::string& text);

    std::span<const NodeText> Nodes() const { return texts; }
    // Whether the last values of all are the outputs of one node, and these.
    bool EndsWith(const std::vector<Place>& outputs) const;
    // Notes which operator writes from a place on.
    void Note(Place output, OperatorText called) { texts[NodeBehind(output)].called = std::move(called); }
    void Note(Place output, FrameText frame) { texts[NodeBehind(output)].frame = std::move(frame); }
    std::size_t ColumnCount() const { return columns; }
    // Operators of the graph that can only take the last bar back, by keyword; rollback then reaches no farther.
    const std::vector<std::string>& WithoutSnapshots() const { return withoutSnapshots; }
    // Whether a save gives up the slots above it.
    bool DropsHigherSlots() const { return dropsHigherSlots; }
    // Tells how an operator that was added keeps snapshots.
    void NoteSlots(const std::string& keyword, bool keepsSnapshots, bool dropsHigher);
    // Notes that a node of this graph holds another graph, which needs a slot more than this one.
    void NoteInner(const Graph& inner);
    // The greatest number of a snapshot.
    short MostSlot() const { return mostSlot; }
    // What the graph does with its columns, as a text that is the same for graphs that do the same.
    std::string Rules() const;

    // The calls of a run let std::bad_alloc out of nodes. When one fails, the running state is lost: further ones answer
    // E_OUTOFMEMORY until a reset or a restore succeeds.
    HRESULT Reset(const RunStart& start);
    // Takes in a bar, one value a column.
    HRESULT Step(const double* row, int bar);
    // The same for a bar whose values the caller has written to Columns().
    HRESULT Step(int bar);
    // The same for the bars from 0 to `count` - 1. `before` and `after` are called with each bar, to write Columns() and to
    // read Values(). The first bar that fails is the last one.
    template <class Before, class After>
    HRESULT StepAll(int count, Before before, After after) {
        if (isStopped) return E_OUTOFMEMORY;
        isStopped = true;
        double* const place = Columns();
        const std::span<const NodeStep> each = steps;
        for (int bar = 0; bar < count; ++bar) {
            before(bar);
            const HRESULT status = StepEach(each, place, bar);
            after(bar);
            if (FAILED(status)) return status;
        }
        isStopped = false;
        return S_OK;
    }
    double* Columns() { return present; }
    // Copy the running state to a snapshot and back. Slot 0 is the running state itself. S_FALSE, with nothing done, for
    // a negative slot and one that was not saved. E_INVALIDARG for a save above `MostSlot`.
    HRESULT Save(short slot);
    HRESULT Restore(short slot);
    void SetPriceStep(double step);

    // The same for a graph that is held by a node of another one. That one keeps account of slots and failures, so that
    // these calls only go through the nodes. Each longer bar is the last one when it comes, and has the index 0.
    HRESULT StepNodes() { return StepEach(steps, Columns(), 0); }
    std::size_t StepCount() const { return steps.size(); }
    HRESULT SaveNodes(short slot) {
        for (const auto& node : nodes) {
            if (const HRESULT status = node->Save(slot); status != S_OK) return status;
        }
        return S_OK;
    }
    HRESULT RestoreNodes(short slot) {
        for (const NodeStep& step : steps) {
            if (const HRESULT status = step.node->Restore(slot); status != S_OK) [[unlikely]]
                return status;
        }
        return S_OK;
    }

    // The values of the last bar that was taken in.
    const double* Values() const { return present; }

private:
    // A node of this graph, or of one that a node ahead of it holds.
    struct NodeStep {
        Node* node;
        Place place;  // of the first value of the node's graph
    };

    static HRESULT StepEach(std::span<const NodeStep> steps, double* values, int bar) {
        for (auto step = steps.begin(); step != steps.end(); ++step) {
            const HRESULT status = step->node->Step(values + step->place, bar);
            if (status != S_OK) [[unlikely]] {
                if (FAILED(status)) return status;
                if (status == SkipsInner) step += static_cast<std::ptrdiff_t>(step->node->InnerSteps());
            }
        }
        return S_OK;
    }
    HRESULT StepColumns(int bar);
    std::optional<Place> UseAgain(const std::string& key);
    void Append(const std::string& key, NodeText text, std::unique_ptr<Node> node);
    void MoveInto(Graph& around, Place block);
    static std::string KeyOf(const std::string& rule, const std::vector<Place>& inputs);
    std::size_t NodeBehind(Place place) const;
    void RemoveFrom(std::size_t firstNode);

    std::vector<double> values;       // of this graph and of those that its nodes hold
    Graph* outer = nullptr;           // if not null, its array holds the values of this graph instead
    Place outerPlace = 0;             // from here on
    double* present = values.data();  // the values; of a graph that a node holds, from its reset on
    std::size_t columns;
    std::vector<std::unique_ptr<Node>> nodes;  // each behind those that it reads
    std::vector<NodeStep> steps;               // what a bar goes through, in this order
    std::vector<NodeText> texts;               // by node
    std::map<std::string, std::size_t> byKey;  // to the node
    std::map<std::uint64_t, Place> constants;  // by their bits
    std::map<std::string, Place> loops;        // the value of each, by what its nodes do
    std::vector<std::string> withoutSnapshots;
    bool dropsHigherSlots = false;
    short mostSlot = std::numeric_limits<short>::max();
    std::vector<char> isSaved = {1};  // by slot
    bool isStopped = false;           // the running state is lost
};

}  // namespace sarvane::study
