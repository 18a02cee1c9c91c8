#pragma once

#include <cstdint>
#include <vector>

namespace sarvane {

// The values of a window in ascending order, equal ones counted together; 0.0 and -0.0 are equal, and the one that came
// first stands for both. Each operation costs the logarithm of the number of different values.
//
// A B-tree whose nodes lie in one array, so that a copy is one block. Nodes split when they are full, and go when they
// are empty: a window that slides fills them again.
class ValueCounts {
public:
    // How many values there are, equal ones included.
    std::uint32_t Size() const { return size; }
    // Makes room for `values` different values.
    void Reserve(int values);
    void Insert(double value);
    // Takes out one of the values that equal `value`. There must be one.
    void Erase(double value);
    // The value that has `rank` values below it in order. `rank` must be below the size.
    double At(std::uint32_t rank) const;
    void Clear();

private:
    using Slot = std::uint32_t;
    static constexpr Slot None = 0xFFFFFFFF;
    static constexpr int Width = 16;

    // Stands for one value in a leaf, for a node further up.
    struct Entry {
        double value;          // of a node: above all values of the node before, not above its own lowest
        std::uint32_t copies;  // of a node: the sum of its entries
        Slot child;
    };
    struct Node {
        int size = 0;
        Entry entries[Width];

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
    Slot unused = None;  // first of the nodes that were dropped; the first entry of each knows the next
    int height = 0;      // levels between root and leaves, which all lie equally deep
    std::uint32_t size = 0;
};

}  // namespace sarvane
