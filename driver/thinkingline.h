// The thinking line: depth, score, time, nodes and principal variation.
#pragma once

// The line after the search, written whether or not "post" is on.
void FinalThinkingLine();
