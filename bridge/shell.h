// What a person in a shell wants of a program that speaks UCI: the board and help.
#pragma once

// The game's position as a drawing, White below, and as FEN.
void DrawBoard();
// The commands, a line for each.
void ShowHelp();
