// The command loop: what it reads it carries out.
#pragma once

// Reads and carries out commands until "quit" or the end of input.
void CommandLoop();
// Releases tables and files and writes what waits to be written.
void ShutDown();
