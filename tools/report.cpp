#include "tools/report.h"

#include "platform/output.h"
#include "tools/progress.h"

#ifndef _WIN32
#include <fcntl.h>

#include <csignal>
#endif

// What takes the place of a closed stream can only be read, so that a report sent there
// is known to be lost.
void PrepareReport() {
    KeepWorkingWithoutOutput();
#ifndef _WIN32
    std::signal(SIGPIPE, SIG_IGN);
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDONLY);
#endif
}

int FinishReport(int status) {
    FlushOutput();
    if (!OutputIsLost()) return status;
    Fail("the report could not be written");
    return status != 0 ? status : 1;
}
