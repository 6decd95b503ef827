// Copies of the running process that work beside it and share the memory that was
// allocated for that (platform/memory.h). All else each has for itself.
#pragma once

// As many at a time at most; 0 where a process cannot be copied.
#if defined(_WIN32) || defined(__EMSCRIPTEN__)
inline constexpr int kMostHelpers = 0;
#else
inline constexpr int kMostHelpers = 255;
#endif

enum class Copied {
    Parent,  // this is the process as it was, the copy runs
    Helper,  // this is the copy
    Failed,  // there is no room for one
    Taken,   // the one of that number that was ended has not gone yet
};

// Copies the process. Of the standard streams the copy has none, so that nobody waits for
// their end, and what it writes is dropped. It ends with its parent, however that ends,
// and with a request to end. `number`, from 0 on and below kMostHelpers, is free when no
// other helper has it. `yields`: it runs only where nobody else wants to.
Copied StartHelper(int number, bool yields);
// Ends all of them at once. None runs on, but the system may take its time to put them
// away, which is not waited for.
void EndHelpers();
// Asked by a helper: its parent has gone.
bool IsOrphan();
// The helper has done its work.
[[noreturn]] void LeaveHelper();
// Processors that this process may use, at least 1.
int ProcessorCount();
