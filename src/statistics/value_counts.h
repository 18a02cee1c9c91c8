#pragma once

#include <cstdint>
#include <vector>

namespace sarvane {

// The values of a window in ascending order. Equal values are stored once, with the number of their copies. 0.0 and
// -0.0 are equal; the one that was inserted first is stored. Inserting, erasing and finding by rank take a time that
// grows with the logarithm of the number of different values.
//
// This is a B-tree. Its nodes lie in one array and refer to each other by index, so that a snapshot copies one block of
// memory. A full node is split in two. A node is removed only when it is empty, and nodes are never merged: as the
// window slides, new values fill half-empty nodes again. Removed nodes are kept in a list for reuse.
class ValueCounts {
public:
    // The number of values, all copies included.
    std::uint32_t Size() const { return size; }
    // Allocates memory for a window of `values` values ahead of time.
    void Reserve(int values);
    void Insert(double value);
    // Removes one copy of `value`. There must be one.
    void Erase(double value);
    // The value at place `rank` in ascending order, copies counted one by one, the lowest at 0. `rank` must be below
    // the size.
    double At(std::uint32_t rank) const;
    void Clear();

private:
    using Slot = std::uint32_t;  // index into `nodes`
    static constexpr Slot None = 0xFFFFFFFF;
    static constexpr int Width = 16;  // most entries of a node

    // In a leaf an entry is a value. Above the leaves it is a child node.
    struct Entry {
        double value;          // of a child: a lower bound of its values, and above all values of the child before
        std::uint32_t copies;  // of a child: the sum over its entries
        Slot child;
    };
    struct Node {
        int size = 0;
        Entry entries[Width];

        // How many entries have a value that is not above `value`.
        int CountUpTo(double value) const;
        void InsertAt(int place, const Entry& entry);
        void EraseAt(int place);
    };

    Slot MakeNode();
    void DropNodes(Slot slot, int levels);
    void SplitRoot();
    void SplitChild(Slot parent, int place);

    std::vector<Node> nodes = std::vector<Node>(1);
    Slot root = 0;
    Slot unused = None;  // first of the removed nodes; the first entry of each has the next one as its child
    int height = 0;      // how many levels the leaves lie below the root, the same for all leaves
    std::uint32_t size = 0;
};

}  // namespace sarvane
