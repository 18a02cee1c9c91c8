#include "statistics/value_counts.h"

#include <algorithm>

namespace sarvane {

// Compares with all entries instead of stopping at the first larger one: a processor can't predict where that is, and a
// wrong prediction costs more than the comparisons.
int ValueCounts::Node::CountUpTo(double value) const {
    int count = 0;
    for (int i = 0; i < size; ++i) count += entries[i].value <= value;
    return count;
}

void ValueCounts::Node::InsertAt(int place, const Entry& entry) {
    std::copy_backward(entries + place, entries + size, entries + size + 1);
    entries[place] = entry;
    ++size;
}

void ValueCounts::Node::EraseAt(int place) {
    std::copy(entries + place + 1, entries + size, entries + place);
    --size;
}

// How many nodes a window needs depends on its values, since nodes may stay nearly empty. Recorded and random series
// took less than a quarter as many nodes as values; half as many are reserved.
void ValueCounts::Reserve(int values) {
    if (values >= Width) nodes.reserve(static_cast<std::size_t>(values) / 2);
}

// Full nodes are split on the way down, so that there is always room for one entry more in the parent of a node that is
// split.
void ValueCounts::Insert(double value) {
    if (nodes[root].size == Width) SplitRoot();
    ++size;
    Slot slot = root;
    for (int level = height; level > 0; --level) {
        int place = std::max(nodes[slot].CountUpTo(value) - 1, 0);
        if (nodes[nodes[slot].entries[place].child].size == Width) {
            SplitChild(slot, place);
            place += nodes[slot].entries[place + 1].value <= value;
        }
        Entry& entry = nodes[slot].entries[place];
        entry.value = std::min(entry.value, value);
        ++entry.copies;
        slot = entry.child;
    }
    Node& leaf = nodes[slot];
    const int place = leaf.CountUpTo(value);
    if (place > 0 && leaf.entries[place - 1].value == value) {
        ++leaf.entries[place - 1].copies;
    } else {
        leaf.InsertAt(place, {value, 1, None});
    }
}

// An entry that loses its last copy is removed, with all nodes below it.
void ValueCounts::Erase(double value) {
    --size;
    Slot slot = root;
    for (int level = height; level >= 0; --level) {
        const int place = nodes[slot].CountUpTo(value) - 1;
        Entry& entry = nodes[slot].entries[place];
        const Slot child = entry.child;
        if (--entry.copies == 0) {
            nodes[slot].EraseAt(place);
            DropNodes(child, level);
            break;
        }
        slot = child;
    }
    while (height > 0 && nodes[root].size == 1) {  // a root with one child isn't needed
        const Slot child = nodes[root].entries[0].child;
        DropNodes(root, 1);
        root = child;
        --height;
    }
}

double ValueCounts::At(std::uint32_t rank) const {
    Slot slot = root;
    for (int level = height;; --level) {
        const Entry* entry = nodes[slot].entries;
        for (; rank >= entry->copies; ++entry) rank -= entry->copies;
        if (level == 0) return entry->value;
        slot = entry->child;
    }
}

void ValueCounts::Clear() {
    nodes.resize(1);
    nodes[0].size = 0;
    root = 0;
    unused = None;
    height = 0;
    size = 0;
}

ValueCounts::Slot ValueCounts::MakeNode() {
    if (unused == None) {
        nodes.emplace_back();
        return static_cast<Slot>(nodes.size() - 1);
    }
    const Slot slot = unused;
    unused = nodes[slot].entries[0].child;
    nodes[slot].size = 0;
    return slot;
}

// Puts a node on the list of unused ones, and the nodes below it, `levels` nodes in all. Each of them has one child at
// most.
void ValueCounts::DropNodes(Slot slot, int levels) {
    for (; levels > 0; --levels) {
        const Slot child = nodes[slot].entries[0].child;
        nodes[slot].entries[0].child = unused;
        unused = slot;
        slot = child;
    }
}

void ValueCounts::SplitRoot() {
    const Slot top = MakeNode();
    nodes[top].InsertAt(0, {nodes[root].entries[0].value, size, root});
    root = top;
    ++height;
    SplitChild(top, 0);
}

// Moves the upper half of a full child to a new node, and enters that behind the child.
void ValueCounts::SplitChild(Slot parent, int place) {
    const Slot added = MakeNode();
    Entry& entry = nodes[parent].entries[place];
    Node& lower = nodes[entry.child];
    Node& upper = nodes[added];
    lower.size = upper.size = Width / 2;
    std::copy_n(lower.entries + Width / 2, Width / 2, upper.entries);
    std::uint32_t copies = 0;
    for (int i = 0; i < upper.size; ++i) copies += upper.entries[i].copies;
    entry.copies -= copies;
    nodes[parent].InsertAt(place + 1, {upper.entries[0].value, copies, added});
}

}  // namespace sarvane
