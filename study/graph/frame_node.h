#pragma once

#include "frames/frame_bar.h"
#include "graph/graph.h"

namespace sarvane::study {

// at(frame, x): a graph of its own, which takes in the bars of a longer frame. These are made of the bars of the graph
// around it.
//
// A step of this node makes the longer bar. The graph around it steps the nodes of the inner graph behind it, where there
// is something to calculate, and restores them, too.
//
// While a longer bar forms, the inner graph takes it in anew with each bar, from the state ahead of it: every value is
// what a live chart would have shown then. A snapshot of the node holds that state, too, in the inner graph's slot of the
// same number.
class FrameNode final : public Node {
public:
    // `graph` reads the first `columnCount` of its columns, which are those of the graph around it. `results` are places of
    // its values. What the node shows stands from place `to` of the graph around it on.
    FrameNode(FrameBar bars, FrameView what, std::unique_ptr<Graph> graph, std::size_t columnCount,
              std::vector<Place> results, Place to);

    HRESULT Reset(const RunStart& start) override;
    HRESULT Step(double* values, int bar) override;
    HRESULT Save(short slot) override;
    // Of a slot that was saved.
    HRESULT Restore(short slot) override;
    std::size_t InnerSteps() const override { return inner->StepCount(); }
    void SetPriceStep(double step) override { inner->SetPriceStep(step); }

private:
    // What a snapshot holds beside the inner graph's.
    struct Record {
        short slot = 0;
        FrameBar::State forming;
        double end = UndefinedValue;  // a bar ahead of this time only adds to the forming one
        std::vector<double> bar;      // the forming bar, by column of the inner graph
        std::vector<double> shown;    // results of the last closed bar
    };

    // Where the inner graph stands, and what tells of the forming bar.
    enum class Standing : char {
        AtHome,    // ahead of the forming bar
        Ahead,     // it has taken in the forming bar
        Restored,  // ahead of the forming bar, of which all is as in `record`
        Ticked     // it has taken in the forming bar, of which all but the values is as in `record`
    };

    HRESULT StepOther(double* values);
    HRESULT StartForming(const Record* closedSince);
    HRESULT Close();
    HRESULT CloseAgain();
    HRESULT GoHome();
    void TakeRecord();

    FrameBar frame;
    FrameView view;
    std::unique_ptr<Graph> inner;
    double* bar = nullptr;  // the forming bar: the columns of the inner graph
    std::size_t width;      // of the forming bar, up to the last column that is read
    std::vector<Place> sources;
    Place output;

    Standing stands = Standing::AtHome;
    const Record* record = nullptr;  // the last snapshot that was restored
    FrameBar::State forming;
    std::vector<double> shown;  // results of the last closed bar
    short home = 0;  // the inner graph's slot with the state ahead of the forming bar; 0 if there is none yet

    std::vector<std::unique_ptr<Record>> records;  // by slot, from 1

    // A snapshot whose forming bar was closed once, and the inner graph's slot with the state behind it: each tick of the
    // first bar of a longer one closes that bar again.
    const Record* closed = nullptr;
    short closedHome = 0;
};

}  // namespace sarvane::study
