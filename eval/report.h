// What the last evaluation that ran all terms leaves for the report.
#pragma once

#include "eval/terms.h"

// Keeps the named values of a finished evaluation.
void LeaveForReport(const Terms& t);
