#pragma once

// The nodes of the language's own signs and functions. A side that is undefined makes the result undefined, except where
// a function is about that.

#include "frame/history_ring.h"
#include "frame/state_store.h"
#include "graph/node.h"

#include <string_view>

namespace sarvane::study {

// What can be worked out from the values of one bar alone.
using UnaryFunction = double (*)(double);
using BinaryFunction = double (*)(double, double);

// The rule behind a sign ("+", "and", "<=") or a function of one or two values ("abs", "max"); null if there is none.
// Both also work out constants.
UnaryFunction FindUnary(std::string_view name);
BinaryFunction FindBinary(std::string_view name);

class UnaryNode final : public Node {
public:
    UnaryNode(UnaryFunction rule, Place from, Place to) : function(rule), input(from), output(to) {}
    HRESULT Step(double* values, int) override {
        values[output] = IsUndefined(values[input]) ? UndefinedValue : function(values[input]);
        return S_OK;
    }

private:
    UnaryFunction function;
    Place input, output;
};

class BinaryNode final : public Node {
public:
    BinaryNode(BinaryFunction rule, Place a, Place b, Place to) : function(rule), left(a), right(b), output(to) {}
    HRESULT Step(double* values, int) override {
        const double a = values[left], b = values[right];
        values[output] = IsUndefined(a) || IsUndefined(b) ? UndefinedValue : function(a, b);
        return S_OK;
    }

private:
    BinaryFunction function;
    Place left, right, output;
};

// defined(x): 1 where there is a value, else 0.
class DefinedNode final : public Node {
public:
    DefinedNode(Place from, Place to) : input(from), output(to) {}
    HRESULT Step(double* values, int) override {
        values[output] = IsUndefined(values[input]) ? 0.0 : 1.0;
        return S_OK;
    }

private:
    Place input, output;
};

// Puts values from different places one behind the other.
class CopyNode final : public Node {
public:
    CopyNode(std::vector<Place> from, Place to) : inputs(std::move(from)), output(to) {}
    HRESULT Step(double* values, int) override {
        double* result = values + output;
        for (const Place input : inputs) *result++ = values[input];
        return S_OK;
    }

private:
    std::vector<Place> inputs;
    Place output;
};

// if(condition, a, b): `a` where the condition is not 0, `b` where it is.
class ChoiceNode final : public Node {
public:
    ChoiceNode(Place when, Place a, Place b, Place to) : condition(when), chosen(a), other(b), output(to) {}
    HRESULT Step(double* values, int) override {
        const double when = values[condition];
        values[output] = IsUndefined(when) ? UndefinedValue : values[when != 0.0 ? chosen : other];
        return S_OK;
    }

private:
    Place condition, chosen, other, output;
};

// fill(x, other): `other` where `x` is missing.
class ReplaceNode final : public Node {
public:
    ReplaceNode(Place from, Place instead, Place to) : input(from), other(instead), output(to) {}
    HRESULT Step(double* values, int) override {
        values[output] = values[IsUndefined(values[input]) ? other : input];
        return S_OK;
    }

private:
    Place input, other, output;
};

// A node with a record that is reset, saved and restored as a whole.
template <class Record>
class RecordNode : public Node {
public:
    HRESULT Reset(const RunStart&) final {
        states.Live().Reset();
        return S_OK;
    }
    HRESULT Save(short slot) final { return states.Save(slot); }
    HRESULT Restore(short slot) final { return states.Restore(slot); }

protected:
    StateStore<Record> states;
};

// fill(x): the last value where there is none.
struct LastValue {
    double value = UndefinedValue;
    void Reset() { value = UndefinedValue; }
};
class HoldNode final : public RecordNode<LastValue> {
public:
    HoldNode(Place from, Place to) : input(from), output(to) {}
    HRESULT Step(double* values, int) override {
        double& last = states.Live().value;
        if (!IsUndefined(values[input])) last = values[input];
        values[output] = last;
        return S_OK;
    }

private:
    Place input, output;
};

// prev(start): the last value that the expression had in which it stands. A node behind that expression hands it over.
class LastValueNode final : public RecordNode<LastValue> {
public:
    explicit LastValueNode(Place to) : output(to) {}
    HRESULT Step(double* values, int) override {
        values[output] = states.Live().value;
        return S_OK;
    }
    void Keep(double value) { states.Live().value = value; }

private:
    Place output;
};

// Hands a value over to the node that gives it on the next bar. A missing one leaves the last one there.
class KeepNode final : public Node {
public:
    KeepNode(LastValueNode& keeper, Place from) : memory(keeper), input(from) {}
    HRESULT Step(double* values, int) override {
        if (!IsUndefined(values[input])) memory.Keep(values[input]);
        return S_OK;
    }

private:
    LastValueNode& memory;
    Place input;
};

// cross(a, b): 1 on the bar on which `a` comes to lie above `b`, having lain at or below it on the last bar that had
// both; else 0. Undefined while there is no such bar.
struct LastPair {
    double a = UndefinedValue;
    double b = UndefinedValue;
    void Reset() { a = b = UndefinedValue; }
};
class CrossNode final : public RecordNode<LastPair> {
public:
    CrossNode(Place first, Place second, Place to) : left(first), right(second), output(to) {}
    HRESULT Step(double* values, int) override;

private:
    Place left, right, output;
};

// A window of the last values.
struct ValueWindow {
    HistoryRing values;
    void Reset() { values.Clear(); }
};

// x[n]: what `x` was `bars` bars ago, a gap included. Undefined on the first bars.
class DelayNode final : public RecordNode<ValueWindow> {
public:
    DelayNode(int count, Place from, Place to);
    HRESULT Step(double* values, int) override;

private:
    int bars;
    Place input, output;
};

// sum(x, n): the last `count` values, added up afresh on each bar from the oldest to the newest, so that no rounding is
// carried along. A missing value does not enter, and has no sum on its bar.
class SumNode final : public RecordNode<ValueWindow> {
public:
    SumNode(int values, Place from, Place to);
    HRESULT Step(double* values, int) override;

private:
    int count;
    Place input, output;
};

}  // namespace sarvane::study
