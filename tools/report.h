// What the companion program reports on standard output.
#pragma once

// Before anything is opened or written: a reader who goes away, or a full disk, ends no
// work, and no file gets the number of a standard stream that is closed.
void PrepareReport();
// At the program's end: hands out what is left. Returns the exit status: 1 instead of 0
// when some of the report could not be delivered.
int FinishReport(int status);
