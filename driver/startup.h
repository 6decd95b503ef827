// Start-up: defaults, tables, settings, memory and files, in their fixed order.
#pragma once

// Ends the program with status 1 when the hash tables cannot be had.
void StartUp();
