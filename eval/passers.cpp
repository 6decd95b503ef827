#include "eval/passers.h"

int PasserTerms(const Terms&) { return 0; }
