// The Chess Engine Communication Protocol, version 2, as xboard defines it.
#pragma once

#include "bridge/session.h"

extern const Protocol kCecp;
