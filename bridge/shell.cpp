// The board is drawn from its FEN's first field, which has the ranks in drawing order.
#include "bridge/shell.h"

#include <string>

#include "bridge/game.h"
#include "bridge/lines.h"

void DrawBoard() {
    constexpr char kRule[] = "+---+---+---+---+---+---+---+---+";
    std::string fen = WriteFen();
    fen.replace(fen.rfind(' ') + 1, std::string::npos, std::to_string(MoveNumber()));
    std::string row(1, '|');
    int rank = 8;
    Say("%s", kRule);
    for (const char c : fen.substr(0, fen.find(' ') + 1)) {
        if (c == '/' || c == ' ') {
            Say("%s %d", row.c_str(), rank--);
            Say("%s", kRule);
            row.resize(1);
        } else if (c >= '1' && c <= '8') {
            for (int empty = c - '0'; empty > 0; --empty) row += "   |";
        } else {
            row += {' ', c, ' ', '|'};
        }
    }
    Say("%s", "  a   b   c   d   e   f   g   h");
    Say("FEN: %s", fen.c_str());
}

void ShowHelp() {
    for (const char* line :
         {"uci                                 name, options, \"uciok\"",
          "setoption name NAME [value VALUE]   set an option",
          "isready                             answers \"readyok\"",
          "ucinewgame                          forget the game",
          "position startpos [moves MOVE...]   set the position, \"e2e4\", \"e7e8q\"",
          "position fen FEN [moves MOVE...]",
          "go depth N | nodes N | movetime MS | wtime MS btime MS [winc MS binc MS]",
          "   [movestogo N] | mate N | infinite | ponder",
          "stop, ponderhit                     end the search; the move was played",
          "d                                   draw the board",
          "quit                                end",
          "xboard                              as the first line: that protocol instead"})
        Say("%s", line);
}
