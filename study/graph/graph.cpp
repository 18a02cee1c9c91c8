#include "graph/graph.h"

#include "graph/function_nodes.h"

#include <algorithm>
#include <bit>

namespace sarvane::study {

Place Graph::AddConstant(double value) {
    MakeRoom(values);
    const auto [known, isNew] = constants.try_emplace(std::bit_cast<std::uint64_t>(value), values.size());
    if (isNew) values.push_back(value);
    present = values.data();
    return known->second;
}

std::string Graph::KeyOf(const std::string& rule, const std::vector<Place>& inputs) {
    std::string key = rule;
    for (const Place input : inputs) key.append(" @").append(std::to_string(input));
    return key;
}

// The output of a node that is there already, which then has one more use.
std::optional<Place> Graph::UseAgain(const std::string& key) {
    const auto known = byKey.find(key);
    if (known == byKey.end()) return std::nullopt;
    NodeText& node = texts[known->second];
    ++node.uses;
    return node.output;
}

// Nothing below the key's entry can fail: a node is added whole or not at all.
void Graph::Append(const std::string& key, NodeText text, std::unique_ptr<Node> node) {
    values.resize(text.output + text.outputCount, UndefinedValue);
    present = values.data();
    MakeRoom(texts);
    MakeRoom(nodes);
    MakeRoom(steps);
    byKey.emplace(key, nodes.size());
    texts.push_back(std::move(text));
    steps.push_back({node.get(), 0});
    nodes.push_back(std::move(node));
}

// `around` has room for the values and the steps.
void Graph::MoveInto(Graph& around, Place block) {
    std::ranges::copy(values, around.values.begin() + static_cast<std::ptrdiff_t>(block));
    for (const NodeStep& step : steps) around.steps.push_back({step.node, block + step.place});
    std::vector<double>().swap(values);
    present = nullptr;
    outer = &around;
    outerPlace = block;
}

bool Graph::EndsWith(const std::vector<Place>& outputs) const {
    if (texts.empty() || texts.back().outputCount != outputs.size()) return false;
    Place next = texts.back().output;
    return std::ranges::all_of(outputs, [&](Place output) { return output == next++; }) && next == values.size();
}

// The node that writes a place; the number of nodes if none does.
std::size_t Graph::NodeBehind(Place place) const {
    const auto writes = [&](const NodeText& node) {
        return place >= node.output && place < node.output + node.outputCount;
    };
    return static_cast<std::size_t>(std::ranges::find_if(texts, writes) - texts.begin());
}

Place Graph::OpenLoop() {
    const Place place = values.size();
    return AddNode("last value of loop " + std::to_string(place), "", {}, 1,
                   [](Place to) { return std::make_unique<LastValueNode>(to); });
}

// Two loops are equal if the nodes that depend on their last value do the same: with places inside the loop counted from
// its start, and places outside as they are, because equal parts outside are the same node.
Place Graph::CloseLoop(Place memory, Place value, const std::string& text) {
    const std::size_t start = NodeBehind(memory);
    std::map<Place, std::string> inside = {{memory, "#0"}};
    std::string key;
    bool isAlone = true;  // nothing else was added since the loop began
    for (std::size_t n = start + 1; n < nodes.size(); ++n) {
        const NodeText& node = texts[n];
        const auto isInside = [&](Place input) { return inside.contains(input); };
        if (std::ranges::none_of(node.inputs, isInside)) {
            isAlone = false;
            continue;
        }
        key.append(";").append(node.rule);
        for (const Place input : node.inputs) key += isInside(input) ? inside[input] : " @" + std::to_string(input);
        for (std::size_t i = 0; i < node.outputCount; ++i) {
            inside.emplace(node.output + i, " #" + std::to_string(inside.size()));
        }
    }
    key += "=" + (inside.contains(value) ? inside[value] : std::to_string(value));
    if (const auto known = loops.find(key); known != loops.end()) {
        const bool hasNewConstants =
            std::ranges::any_of(constants, [&](const auto& constant) { return constant.second > memory; });
        if (isAlone && !hasNewConstants) RemoveFrom(start);
        const std::size_t node = NodeBehind(known->second);
        if (node < texts.size()) ++texts[node].uses;
        return known->second;
    }
    texts[start].text = "last value of " + text;
    auto& node = static_cast<LastValueNode&>(*nodes[start]);
    const std::string rule = "keep for loop " + std::to_string(memory);
    AddNode(rule, "keep " + text, {value}, 0, [&](Place) { return std::make_unique<KeepNode>(node, value); });
    loops.emplace(std::move(key), value);
    return value;
}

void Graph::RemoveFrom(std::size_t firstNode) {
    values.resize(texts[firstNode].output);
    steps.erase(std::ranges::find(steps, nodes[firstNode].get(), &NodeStep::node), steps.end());
    texts.resize(firstNode);
    nodes.resize(firstNode);
    std::erase_if(byKey, [&](const auto& entry) { return entry.second >= firstNode; });
}

void Graph::NoteSlots(const std::string& keyword, bool keepsSnapshots, bool dropsHigher) {
    dropsHigherSlots |= dropsHigher;
    const bool isKnown = std::ranges::find(withoutSnapshots, keyword) != withoutSnapshots.end();
    if (!keepsSnapshots && !isKnown) withoutSnapshots.push_back(keyword);
}

void Graph::NoteInner(const Graph& inner) {
    for (const std::string& keyword : inner.withoutSnapshots) NoteSlots(keyword, false, false);
    dropsHigherSlots |= inner.dropsHigherSlots;
    mostSlot = std::min(mostSlot, static_cast<short>(inner.mostSlot - 1));
}

std::string Graph::Rules() const {
    std::string rules;
    for (const auto& [bits, place] : constants) {
        rules.append(std::to_string(place)).append("=").append(std::to_string(bits)).append(";");
    }
    for (const NodeText& node : texts) rules.append(KeyOf(node.rule, node.inputs)).append(";");
    return rules;
}

HRESULT Graph::Reset(const RunStart& start) {
    isStopped = true;
    if (outer) present = outer->present + outerPlace;
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Reset(start); FAILED(status)) return status;
    }
    isStopped = false;
    return S_OK;
}

HRESULT Graph::Step(const double* row, int bar) {
    std::copy_n(row, columns, Columns());
    return StepColumns(bar);
}

HRESULT Graph::Step(int bar) { return StepColumns(bar); }

inline HRESULT Graph::StepColumns(int bar) {
    if (isStopped) return E_OUTOFMEMORY;
    isStopped = true;
    if (const HRESULT status = StepEach(steps, Columns(), bar); FAILED(status)) return status;
    isStopped = false;
    return S_OK;
}

HRESULT Graph::Save(short slot) {
    if (slot < 0) return S_FALSE;
    if (slot > mostSlot) return E_INVALIDARG;
    if (isStopped) return E_OUTOFMEMORY;
    if (slot == 0) return S_OK;
    const auto place = static_cast<std::size_t>(slot);
    if (isSaved.size() <= place) isSaved.resize(place + 1, 0);
    isSaved[place] = 0;
    if (dropsHigherSlots) isSaved.resize(place + 1);
    if (const HRESULT status = SaveNodes(slot); status != S_OK) return status;
    isSaved[place] = 1;
    return S_OK;
}

HRESULT Graph::Restore(short slot) {
    const auto place = static_cast<std::size_t>(slot);  // beyond all slots for a negative one
    if (place >= isSaved.size() || isSaved[place] == 0) return S_FALSE;
    if (slot == 0) return isStopped ? static_cast<HRESULT>(E_OUTOFMEMORY) : static_cast<HRESULT>(S_OK);
    isStopped = true;
    const HRESULT status = RestoreNodes(slot);
    isStopped = status != S_OK;
    return status;
}

void Graph::SetPriceStep(double step) {
    for (const auto& node : nodes) node->SetPriceStep(step);
}

}  // namespace sarvane::study
