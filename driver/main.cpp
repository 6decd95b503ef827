#include "driver/commands.h"
#include "driver/startup.h"

int main(int count, char** arguments) {
    StartUp();
    RunStatisticsModes(count, arguments);
    CommandLoop();
    ShutDown();
}
