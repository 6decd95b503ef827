// Edit mode: a position is set up man by man.
#pragma once

// Reads edit commands, character by character, until ".".
void EditPosition();
