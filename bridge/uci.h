// The Universal Chess Interface.
#pragma once

#include <string_view>

#include "bridge/session.h"

// Its state (the move owed, lines that wait) is one for the program.
extern const Protocol kUci;
// By which the first line tells the protocol.
bool IsUciCommand(std::string_view word);
