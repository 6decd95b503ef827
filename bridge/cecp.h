// The Chess Engine Communication Protocol, version 2, as xboard defines it.
#pragma once

#include "bridge/session.h"

// Its state (modes, clock) is one for the program: it is used by the one session.
extern const Protocol kCecp;
