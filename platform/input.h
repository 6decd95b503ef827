// Standard input without blocking: all that the rest of the program may ask of it.
#pragma once

// Most bytes that one ReadInput call delivers.
inline constexpr int kReadSize = 512;

// One-time set-up; the calls below do it themselves when it has not been done.
void PrepareInput();
// Standard input is a terminal or console, not a pipe or a file.
bool InputIsConsole();
// How much input waits: bytes on a pipe or file, at least 1 at its end or after an error
// (so that a read is made and sees it); 0 when a read would block. Never blocks.
int InputWaiting();
// Reads what is there, up to `size` bytes (at most kReadSize), blocking until something
// comes. Repeated when interrupted. 0 at the end of input, -1 on any other failure.
int ReadInput(char* buffer, int size);
