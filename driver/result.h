// Recognising that the game is over.
#pragma once

// The current position is a threefold repetition.
bool IsRepetition();
