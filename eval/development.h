// Development of the minor pieces and the centre pawns, centipawns.
#pragma once

int DevelopmentForWhite();  // White's view
int Development();          // the side to move's view
