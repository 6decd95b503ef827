// Standard input without blocking: all that the rest of the program may ask of it.
#pragma once

// One-time set-up; the calls below do it themselves when it has not been done.
void PrepareInput();
// Standard input is a terminal or console, not a pipe or a file.
bool InputIsConsole();
// How much input waits: bytes on a pipe, terminal or file, at least 1 at its end, after
// an error and after a request to end the program (so that a read is made and sees it); 0
// when a read would block. Never blocks; costs a system call or two.
int InputWaiting();
// Reads what is there, up to `size` bytes, and sleeps until something
// comes. Interruptions go unnoticed. 0 at the end of input and when the operating system
// asks the program to end, at whatever instant; -1 when the input cannot be read at all
// (a folder), which does not pass: callers treat it as the end as well.
int ReadInput(char* buffer, int size);
