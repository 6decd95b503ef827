// The tree grows with the tables registered, so that a probe of unserved material ends at
// the first count that no table has.
#include "egtb/material.h"

#include <new>
#include <vector>

namespace {

// No entry has more men of one kind than this.
constexpr int kMostAlike = 3;

struct MaterialNode {
    int limit = 0;  // largest count that any entry below here has
    // [count]: the next level's node, at the last level a signed entry; 0 for none.
    std::int16_t child[kMostAlike + 1] = {};
};

std::vector<MaterialNode> Nodes;  // the root first

// The child that leads along one count, the node made if it is missing.
std::int16_t& ChildSlot(std::size_t node, int count) {
    if (count > Nodes[node].limit) Nodes[node].limit = count;
    return Nodes[node].child[count];
}

// Makes the path of ten counts where it is missing and puts the signed entry at its end.
void SetLeaf(const MenCounts& counts, int value) {
    std::size_t node = 0;
    for (std::size_t level = 0; level + 1 < counts.size(); ++level) {
        // By value: a new node may move the others, and a reference with them.
        std::int16_t next = ChildSlot(node, counts[level]);
        if (next == 0) {
            next = static_cast<std::int16_t>(Nodes.size());
            Nodes.emplace_back();
            ChildSlot(node, counts[level]) = next;
        }
        node = static_cast<std::size_t>(next);
    }
    ChildSlot(node, counts.back()) = static_cast<std::int16_t>(value);
}

}  // namespace

void ClearMaterial() { Nodes.clear(); }

bool EnterMaterial(int entry) {
    try {
        if (Nodes.empty()) Nodes.emplace_back();
        const MenCounts counts = CountsOf(ShapeOf(entry));
        if (!ShapeOf(entry).symmetric) SetLeaf(Exchanged(counts), -entry);
        SetLeaf(counts, entry);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Called at every probe: ten steps at most, most of them ending early.
int MaterialIndex(const MenCounts& counts) {
    if (Nodes.empty()) return 0;
    int node = 0;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        const MaterialNode& here = Nodes[static_cast<std::size_t>(node)];
        if (counts[level] > here.limit) return 0;
        node = here.child[counts[level]];
        if (node == 0) return 0;
    }
    return node;
}
