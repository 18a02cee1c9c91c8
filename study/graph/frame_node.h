#pragma once

#include "frames/frame_bar.h"
#include "graph/graph.h"

namespace sarvane::study {

// at(frame, x): a graph of its own, which takes in the bars of a longer frame. These are made of the bars of the graph
// around it.
//
// While a longer bar forms, the inner graph takes it in anew with each bar, from the state ahead of it: every value is
// what a live chart would have shown then. A snapshot of the node holds that state, too, in the inner graph's slot of the
// same number.
class FrameNode final : public Node {
public:
    // `graph` reads the first `columnCount` of its columns, which are those of the graph around it; `results` are places
    // of its values, which go to places from `to` on.
    FrameNode(FrameBar bars, FrameView what, std::unique_ptr<Graph> graph, std::size_t columnCount,
              std::vector<Place> results, Place to);

    HRESULT Reset(const RunStart& start) override;
    HRESULT Step(double* values, int bar) override;
    HRESULT Save(short slot) override;
    HRESULT Restore(short slot) override;
    void SetPriceStep(double step) override { inner->SetPriceStep(step); }

private:
    // What a snapshot holds beside the inner graph's.
    struct Record {
        FrameBar::State forming;
        std::vector<double> bar;    // the forming bar, by column of the inner graph
        std::vector<double> shown;  // results of the last closed bar
    };

    // Where the inner graph stands.
    enum class Inner : char {
        AtHome,  // ahead of the forming bar
        Ahead,   // it has taken in the forming bar
        Away     // it must be restored before it is used
    };

    HRESULT StepOther(double* values);
    HRESULT RestoreClosed();
    HRESULT GoHome();
    HRESULT Close();
    HRESULT StepForming();
    void TakeRecord();

    FrameBar frame;
    FrameView view;
    std::unique_ptr<Graph> inner;  // its columns are the values of the forming bar
    std::size_t width;             // of its columns, up to the last one that is read
    std::vector<Place> sources;
    Place output;

    FrameBar::State forming;
    std::vector<double> shown;  // results of the last closed bar
    // A snapshot that stands for the forming bar and `shown` until something asks for these, and one of which only what
    // tells where the bar ends is the same.
    const Record* restored = nullptr;
    const Record* sameStretch = nullptr;
    short home = 0;  // the inner graph's slot with the state ahead of the forming bar; 0 if there is none yet
    Inner stands = Inner::AtHome;

    std::vector<std::unique_ptr<Record>> records;  // by slot, from 1
};

}  // namespace sarvane::study
