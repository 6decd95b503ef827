// A new game.
#pragma once

// "new", between searches or during one, and at the start: the start position, the
// engine's modes and its move ordering from scratch. The last game's score stays, and the
// tables keep what they know. A game left at a score of zero counts as a draw that was
// agreed on: the book learns it.
void NewGame();
