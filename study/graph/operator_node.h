#pragma once

#include "graph/node.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"

#include <vector>

namespace sarvane::study {

// Drives one operator. Its outputs stand one behind the other.
class OperatorNode final : public Node {
public:
    // Reads `inputs` and writes `outputCount` values from place `to` on. Without snapshots restoring succeeds on any
    // slot, and takes the last bar back.
    OperatorNode(ComPtr<IZelmorOp> created, bool hasSnapshots, std::vector<Place> inputs, std::size_t outputCount,
                 Place to);

    HRESULT Reset(const RunStart& start) override;
    HRESULT Step(double* values, int bar) override;
    HRESULT Save(short slot) override;
    HRESULT Restore(short slot) override;
    void SetPriceStep(double step) override;

private:
    HRESULT StepOnCopy(double* values, int bar);
    HRESULT StepOn(const double* inputs, double* values, int bar);

    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> barOp;  // where the operator takes whole bars
    std::vector<Place> sources;
    std::vector<double> in;
    int inCount;
    bool readsInPlace;  // the inputs stand one behind the other among the values of the graph, and need no copy
    Place firstSource;  // if so
    int outCount;
    int indexMask = -1;  // 0 where every bar has the index 0
    Place output;
    bool keepsSnapshots;  // else restoring succeeds on any slot, and takes back the last bar
    bool steppedSinceSave = false;
};

}  // namespace sarvane::study
