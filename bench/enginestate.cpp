// Preparation that every benchmark program shares.
#include "bench/enginestate.h"

#include "driver/input.h"
#include "driver/startup.h"

bool PrepareEngine() {
    IgnoreInput();
    return ResetEngine();
}
