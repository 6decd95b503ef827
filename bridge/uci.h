// The Universal Chess Interface.
#pragma once

#include <string_view>

#include "bridge/session.h"

extern const Protocol kUci;
bool IsUciCommand(std::string_view word);
