#include "bridge/game.h"

#include <algorithm>

#include "board/attacks.h"
#include "board/fen.h"
#include "board/generate.h"
#include "driver/usermove.h"

GameRecord Game;

namespace {

constexpr int kFiftyMoves = 100;  // half-moves
constexpr SquareSet kOuterRanks = 0xFF000000000000FF;

std::string Placement() {
    constexpr char kLetters[] = "?KNP?RBQ";
    std::string text;
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        const auto flush = [&] {
            if (empty > 0) text += std::to_string(empty);
            empty = 0;
        };
        for (int file = 0; file < 8; ++file) {
            const int square = SquareAt(file, rank);
            if (Board.Piece[square] == EMPTY) {
                ++empty;
                continue;
            }
            flush();
            const char letter = kLetters[Board.Piece[square]];
            const bool black = (Board.Occupied[BLACK] & SquareMask(square)) != 0;
            text += black ? ToLower(letter) : letter;
        }
        flush();
        if (rank > 0) text += '/';
    }
    return text;
}

std::string Rights() {
    std::string text;
    if (Board.WK == 0 && Board.H1 == 0) text += 'K';
    if (Board.WK == 0 && Board.A1 == 0) text += 'Q';
    if (Board.BK == 0 && Board.H8 == 0) text += 'k';
    if (Board.BK == 0 && Board.A8 == 0) text += 'q';
    return text.empty() ? "-" : text;
}

std::string EnPassant() {
    for (const Move m : AllLegalMoves())
        if (IsEnPassant(m)) {
            const int square = To(m);
            return {static_cast<char>('a' + FileOf(square)),
                    static_cast<char>('1' + RankOf(square))};
        }
    return "-";
}

// Placement, side to move, castling and en passant: what repetition goes by.
std::string PositionText() {
    return Placement() + (Board.SideToMove == WHITE ? " w " : " b ") + Rights() + ' ' +
           EnPassant();
}

bool InCheck(int colour) {
    return IsAttacked(ChangeSide(colour), Board.KingSquare[colour]);
}

bool Playable() {
    if (((Board.Pawns[WHITE] | Board.Pawns[BLACK]) & kOuterRanks) != 0) return false;
    return !InCheck(ChangeSide(Board.SideToMove));
}

// Plays the record's moves on the board, which they fit.
void ReplayBoard() {
    SetPlayableFen(Game.start);
    for (const std::string& text : Game.moves) PlayGameMove(LegalMove(text));
}

}  // namespace

std::string WriteFen() {
    return PositionText() + ' ' + std::to_string(Board.FiftyCounter) + " 1";
}

bool SetPlayableFen(std::string_view fen) {
    if (!SetFen(fen) || !Playable()) return false;
    // Set up once more from what counts: without a double step that matters to nobody.
    return SetFen(WriteFen());
}

bool StartGame(std::string_view fen) {
    std::string fault;
    return ReplaceGame(fen, {}, fault);
}

bool ReplaceGame(std::string_view fen, const std::vector<std::string>& moves,
                 std::string& fault) {
    GameRecord before;
    std::swap(before, Game);
    if (SetPlayableFen(fen)) {
        Game.start = WriteFen();
        Game.positions = {PositionText()};
        const auto illegal = std::find_if_not(moves.begin(), moves.end(), PlayMove);
        if (illegal == moves.end()) return true;
        fault = "illegal move " + *illegal;
    } else {
        fault = "bad position " + std::string(fen);
    }
    Game = std::move(before);
    ReplayBoard();
    return false;
}

bool PlayMove(std::string_view text) {
    const Move m = LegalMove(text);
    if (m == NO_MOVE) return false;
    PlayGameMove(m);
    Game.moves.push_back(MoveText(m));
    Game.positions.push_back(PositionText());
    return true;
}

void TakeBackMove() {
    if (Game.moves.empty()) return;
    TakeBackGameMove();
    Game.moves.pop_back();
    Game.positions.pop_back();
}

Move LegalMove(std::string_view text) {
    if (text.size() < 4 || text.size() > 5) return NO_MOVE;
    char lower[kMoveTextSize] = {};
    for (std::size_t i = 0; i < text.size() && i < sizeof lower - 1; ++i)
        lower[i] = ToLower(text[i]);
    const Move m = ParseCoordinateMove(lower, lower[4]);
    if (m == NO_MOVE || !IsLegalUserMove(m)) return NO_MOVE;
    // A fifth character that is no promotion belongs to no move.
    return MoveText(m) == lower ? m : NO_MOVE;
}

std::string MoveText(Move m) {
    char text[kMoveTextSize];
    MoveToText(text, m);
    return text;
}

std::vector<Move> AllLegalMoves() {
    const int top = MoveStackTop;
    GenerateLegalMoves(kUserMoveStart);
    const std::vector<Move> moves(MoveStack + kUserMoveStart, MoveStack + MoveStackTop);
    MoveStackTop = top;
    return moves;
}

const char* GameResult() {
    const int S = Board.SideToMove;
    if (AllLegalMoves().empty()) {
        if (!InCheck(S)) return "1/2-1/2 {Stalemate}";
        return S == BLACK ? "1-0 {White mates}" : "0-1 {Black mates}";
    }
    if (AllOccupied() == (Board.Kings[WHITE] | Board.Kings[BLACK]))
        return "1/2-1/2 {Draw by insufficient material}";
    if (std::count(Game.positions.begin(), Game.positions.end(), Game.positions.back()) >=
        3)
        return "1/2-1/2 {Draw by repetition}";
    if (Board.FiftyCounter >= kFiftyMoves) return "1/2-1/2 {Draw by the 50-moves rule}";
    return nullptr;
}
