// The folder that the engine runs in: one of its own for every bridge, so that several
// never meet in one file. What must last (the book's results, what has been learned)
// stays in a game folder that the user names.
#pragma once

#include <string>

// Written by bridge/gamefolder.cpp, but for the book.
struct GameFolders {
    // The book to be played from when there is no game folder; it is copied, not changed.
    // Set by the command line.
    std::string StandardBook;
    std::string lasting;  // the user's game folder; empty: none
    std::string engines;  // where the engine runs; empty: nowhere
    int lock = -1;        // held on the engine's folder while this process lives
};
extern GameFolders Folders;

// Where settings, book and learning files last; empty: nowhere. Reads its settings file,
// which stays as it is. False, with the reason in `fault`, when there is no such folder.
bool UseGameFolder(const std::string& folder, std::string& fault);
// Makes the engine's folder as the options ask for and returns its name; empty with the
// reason in `fault` when it cannot be made. Otherwise `fault` tells of endgame tables
// that cannot be offered, if there are such. The first call removes the folders that
// bridges of this user have left behind which were killed.
std::string MakeEngineFolder(std::string& fault);
// Removes it with all that is in it, links and not what they lead to; the engine must
// have ended. Nothing when there is none.
void RemoveEngineFolder();
