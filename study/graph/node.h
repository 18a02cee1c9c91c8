#pragma once

// The steps that expressions are made of. A node reads the values of a bar from places in one array, and writes its own
// behind them. Each node owns what it remembers from bar to bar, and keeps snapshots of that by number.

#include "sarvane/component.h"
#include "sarvane/values.h"

#include <cstddef>
#include <string>
#include <vector>

namespace sarvane::study {

// Where a value stands in the array of a graph.
using Place = std::size_t;
inline constexpr Place NoPlace = static_cast<Place>(-1);

// How a run starts.
struct RunStart {
    int lastBar = 0;           // index of the series' last bar, where it is known; else 0
    bool holdsInputs = false;  // bar arithmetic repeats a missing input
    bool isLonger = false;     // over longer bars, each of which is the last one when it comes: its index is 0
};

// What a node answers to Step if the nodes of the graph that it holds must not be stepped on this bar.
inline constexpr HRESULT SkipsInner = 2;

class Node {
public:
    virtual ~Node() = default;
    // All answer a status: S_OK, or that of an operator that failed. A node that runs out of memory may throw
    // std::bad_alloc; whoever owns the graph catches it at the library's boundary.
    virtual HRESULT Reset(const RunStart&) { return S_OK; }
    virtual HRESULT Step(double* values, int bar) = 0;
    // Copy what the node remembers to snapshot `slot` and back. S_FALSE for a slot that does not exist. Slots are used
    // like a stack: a save may give up the slots above.
    virtual HRESULT Save(short) { return S_OK; }
    virtual HRESULT Restore(short) { return S_OK; }
    // How many steps of the graph around it belong to the graph that it holds.
    virtual std::size_t InnerSteps() const { return 0; }
    // Hands over the price step to round to.
    virtual void SetPriceStep(double) {}
};

}  // namespace sarvane::study
