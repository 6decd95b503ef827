// How much less deep late moves are searched, before anything else is known of them.
#pragma once

// In 1024ths of a ply, by the node's depth and the move's number, both from 1.
int BaseReduction(int depth, int number);
inline constexpr int kReductionUnit = 1024;
