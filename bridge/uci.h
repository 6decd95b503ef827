// The Universal Chess Interface.
#pragma once

#include "bridge/session.h"

extern const Protocol kUci;
