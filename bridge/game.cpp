// The rules are the board library's. What is the bridge's own is the record beside the
// board, so that the board can be used for other things (setting up, checking lines) and
// be restored.
#include "bridge/game.h"

#include <algorithm>

#include "board/attacks.h"
#include "board/fen.h"
#include "board/legalmoves.h"
#include "board/notation.h"
#include "bridge/lines.h"
#include "driver/usermove.h"

GameRecord Game;

namespace {

// First and eighth rank, where no pawn can stand.
constexpr SquareSet kOuterRanks = 0xFF000000000000FF;

// Placement, side to move, castling and en passant: what repetition goes by. A pawn that
// can be taken in passing is one that may be.
std::string PositionText() {
    char epd[kEpdSize];
    std::string text(epd, WriteEpd(epd));
    text.resize(text.rfind(' ', text.size() - 2) + 1);  // what it says of the pawn
    const int passed = EnPassantTarget();
    if (passed == kNoSquare) return text + '-';
    return text + SquareText(passed);
}

// What a FEN that is well-formed may still get wrong.
bool Playable() {
    if (((Board.Pawns[WHITE] | Board.Pawns[BLACK]) & kOuterRanks) != 0) return false;
    return !InCheck(ChangeSide(Board.SideToMove));
}

// The sixth field of a FEN; 1 where there is none or it is no number.
int MoveNumberOf(std::string_view fen) {
    constexpr int kFieldsBefore = 5;
    constexpr long long kMost = 9999;
    for (int i = 0; i < kFieldsBefore; ++i) TakeWord(fen);
    long long number = 1;
    ToNumber(TakeWord(fen), number);
    return static_cast<int>(std::clamp(number, 1LL, kMost));
}

}  // namespace

void ReplayGame() {
    SetPlayableFen(Game.start);
    for (const std::string& text : Game.moves) PlayGameMove(LegalMove(text));
}

int MoveNumber() {
    const std::size_t halfMoves =
        Game.moves.size() + (Game.start.find(" b ") != std::string::npos ? 1 : 0);
    return Game.firstMove + static_cast<int>(halfMoves / 2);
}

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

// Played into an empty record, and the old one put back when that fails.
bool ReplaceGame(std::string_view fen, const std::vector<std::string>& moves,
                 std::string& fault) {
    GameRecord before;
    std::swap(before, Game);
    if (SetPlayableFen(fen)) {
        Game.start = WriteFen();
        Game.firstMove = MoveNumberOf(fen);
        Game.positions = {PositionText()};
        const auto illegal = std::find_if_not(moves.begin(), moves.end(), PlayMove);
        if (illegal == moves.end()) return true;
        fault = "illegal move " + *illegal;
    } else {
        fault = "bad position " + std::string(fen);
    }
    Game = std::move(before);
    ReplayGame();
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

std::vector<Move> AllLegalMoves() {
    const LegalMoves legal;
    return {legal.begin(), legal.end()};
}

// From the legal moves: a pinned pawn's capture is none, and such a square does not make
// positions differ for repetition.
int EnPassantTarget() {
    for (const Move m : AllLegalMoves())
        if (IsEnPassant(m)) return To(m);
    return kNoSquare;
}

bool InCheck(int colour) {
    return IsAttacked(ChangeSide(colour), Board.KingSquare[colour]);
}

// Mate goes before the counter: a mate with the hundredth half-move counts. A draw by
// material is called for bare kings alone.
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
