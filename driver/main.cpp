#include "driver/commands.h"
#include "driver/startup.h"

int main() {
    StartUp();
    CommandLoop();
}
