#pragma once

#include "frames/frame_bar.h"
#include "graph/graph.h"

namespace sarvane::study {

// What at(frame, x) shows: the longer bar that forms, or the last one that is closed.
enum class FrameView { Forming, Closed };

// at(frame, x): a graph of its own, which takes in the bars of a longer frame. These are made of the bars of the graph
// around it.
//
// While a longer bar forms, the inner graph takes it in anew with each bar, from the state ahead of it: every value is
// what a live chart would have shown then. A snapshot of the node holds that state, too, in the inner graph's slot of the
// same number.
class FrameNode final : public Node {
public:
    // `read` are columns of the inner graph, which are those of the graph around it; `results` are places of the inner
    // graph, whose values go to places from `to` on.
    FrameNode(FrameBar bars, FrameView shown, std::unique_ptr<Graph> graph, std::vector<Place> read,
              std::vector<Place> results, Place to);

    HRESULT Reset(const RunStart& start) override;
    HRESULT Step(double* values, int bar) override;
    HRESULT Save(short slot) override;
    HRESULT Restore(short slot) override;
    void SetPriceStep(double step) override { inner->SetPriceStep(step); }

private:
    HRESULT Close();
    HRESULT StepForming();
    std::size_t RecordSize() const { return columns.size() + shown.size(); }

    FrameBar frame;
    FrameView view;
    std::unique_ptr<Graph> inner;  // its columns are the values of the forming bar
    std::vector<Place> columns;
    std::vector<Place> sources;
    Place output;

    FrameBar::State forming;
    std::vector<double> shown;  // results of the last closed bar
    short home = 0;        // the inner graph's slot with the state ahead of the forming bar; 0 if there is none yet
    bool isAhead = false;  // the inner graph has taken in the forming bar

    std::vector<FrameBar::State> savedForming;  // by slot, from 1
    std::vector<double> savedValues;            // columns, and results of the last closed bar, slot behind slot
};

}  // namespace sarvane::study
