// Retrograde analysis. Every position of a table is a node; its distance to mate grows
// out of the mates backwards, one half-move at a time:
//   - a position from which a lost one can be reached is won, one half-move later;
//   - a position all of whose moves lead to won ones is lost, once the last of them is
//     known: each node counts the moves that are still open.
// Captures and promotions lead into smaller tables, which are there already; what they
// are worth is put down before the analysis starts and takes effect when its distance
// comes up.
//
// Nodes are numbered by plain squares, not by the index of the files: with the first
// side's king in one quarter (without pawns) or half of the board no position has two
// numbers and none is its own mirror image, so that moves and their undoing match one to
// one.
#include "tools/tables_make.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <string>

#include "board/notation.h"
#include "tools/parallel.h"
#include "tools/progress.h"
#include "tools/tables_position.h"
#include "tools/tables_store.h"

namespace {

// Number of an arrangement of the men: SquareOf and NodeOf translate.
using Node = std::uint32_t;

// Open moves of a node that is no legal position.
constexpr std::uint8_t kIllegal = 255;
// Nodes that a thread takes at once: enough to make the taking cheap, few enough that the
// last threads end together.
constexpr std::uint64_t kPieceSize = std::uint64_t{1} << 15;

// Bytes that several threads read and change at once. Relaxed order suffices: within a
// stage threads put down values that agree, and stages are separated by joining them.
std::uint8_t Load(std::uint8_t& byte) {
    return std::atomic_ref(byte).load(std::memory_order_relaxed);
}
void Store(std::uint8_t& byte, int value) {
    std::atomic_ref(byte).store(static_cast<std::uint8_t>(value),
                                std::memory_order_relaxed);
}

// The nodes of one side to move, [node].
struct SideNodes {
    // Won nodes have their distance from the beginning or when it is found. For lost ones
    // it holds only when no move is open: until then it is that of the longest losing
    // capture.
    std::vector<std::uint8_t> distance;
    std::vector<std::uint8_t> open;
};

// A position in which a pawn has just made a double step past an enemy pawn. What it is
// worth follows from the same position without the right to capture and from the
// captures; only the double step leads to it. Such positions are few beside the others:
// they stand in a list and not in arrays of their own.
struct EnPassantNode {
    Node node;             // the position without the right
    std::uint8_t victim;   // the pawn that made the step
    bool capturable;       // a capture is legal
    bool onlyCaptures;     // and there is no other legal move
    MateDistance capture;  // the best of the captures
    MateDistance distance = kDraw;
};

// The men of one table and where their squares stand in a node's number: six bits a man,
// kings first, the first side's king on top in a reduced form of four bits (a quarter of
// the board) or five (a half, with pawns).
struct NodeSpace {
    TableMen men;
    bool pawns;
    int likeFirst = 0, likeCount = 0;  // the one group of like men there may be

    std::uint64_t Size() const { return std::uint64_t{pawns ? 32u : 16u} << ShiftOf(0); }
    int ShiftOf(int man) const { return 6 * (men.count - 1 - man); }
    // What brings the king to its quarter or half.
    // Mirroring squares is an exclusive or: 7 turns the files round, 56 the ranks.
    int MaskOf(int king) const {
        return (FileOf(king) > 3 ? 7 : 0) ^ (!pawns && RankOf(king) > 3 ? 56 : 0);
    }
    int SquareOf(Node node, int man) const {
        if (man > 0) return static_cast<int>(node >> ShiftOf(man) & 63);
        const int king = static_cast<int>(node >> ShiftOf(0));
        return (king >> 2) * 8 + (king & 3);
    }

    void Squares(Node node, TablePosition& position) const {
        for (int i = 0; i < men.count; ++i)
            position.square[i] = static_cast<std::uint8_t>(SquareOf(node, i));
    }

    // Brings like men into ascending order.
    void SortLikeMen(std::uint8_t* square) const {
        std::uint8_t* like = square + likeFirst;
        if (likeCount < 2) return;
        if (like[0] > like[1]) std::swap(like[0], like[1]);
        if (likeCount < 3) return;
        if (like[1] > like[2]) std::swap(like[1], like[2]);
        if (like[0] > like[1]) std::swap(like[0], like[1]);
    }

    Node NodeOf(const std::uint8_t* squares) const {
        const int mask = MaskOf(squares[0]);
        std::uint8_t square[kMostMen];
        for (int i = 0; i < men.count; ++i)
            square[i] = static_cast<std::uint8_t>(squares[i] ^ mask);
        SortLikeMen(square);
        Node node = static_cast<Node>(square[0] >> 3 << 2 | (square[0] & 3));
        for (int i = 1; i < men.count; ++i) node = node << 6 | square[i];
        return node;
    }
    // Like men out of order: another node stands for the position.
    bool IsDuplicate(const TablePosition& position) const {
        for (int i = likeFirst; i + 1 < likeFirst + likeCount; ++i)
            if (position.square[i] >= position.square[i + 1]) return true;
        return false;
    }
};

// Up to five men there is one group of like men at most: two pairs would make six.
NodeSpace SpaceOf(int entry) {
    NodeSpace space{MenOfTable(entry), ShapeOf(entry).pawns};
    int man = 2;
    for (int side : {WHITE, BLACK}) {
        const SideMen& own = ShapeOf(entry).side[side];
        for (int g = 0; g < own.groups; man += own.group[g++].count)
            if (own.group[g].count > 1) {
                space.likeFirst = man;
                space.likeCount = own.group[g].count;
            }
    }
    return space;
}

// How far the making of several tables has got. Work is counted in nodes: tables of equal
// size take times that differ by a factor of about two.
struct Outlook {
    std::chrono::steady_clock::time_point start;
    double whole = 0, done = 0;  // of all tables, and of those that are finished
    int position = 0, total = 0;

    // Since the work began.
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
            .count();
    }
    // When `more` has been done of the table at hand.
    double SecondsLeft(double more) const {
        const double known = done + more;
        return known > 0 ? Seconds() / known * (whole - known) : 0;
    }
};

// One table under analysis, shared by the threads.
struct Analysis {
    NodeSpace space;
    ConversionMap conversions;
    const TableStore& store;
    int jobs;
    const Outlook& outlook;
    std::string name;
    SideNodes side[2] = {};
    // [side to move], in the order of the nodes.
    std::vector<EnPassantNode> enPassant[2] = {};
    std::mutex enPassantMutex = {};
    std::atomic<int> longest{0};  // of all distances put down so far
};

// Raises `longest` to the distance: a maximum over threads. It also bounds the main loop.
void NoteDistance(Analysis& a, int distance) {
    int seen = a.longest.load(std::memory_order_relaxed);
    while (distance > seen && !a.longest.compare_exchange_weak(seen, distance)) {
    }
    if (distance > kLongestDistance)
        throw std::runtime_error(a.name + ": mates longer than 127 moves do not fit");
}

// What the classifying takes of a table's time; the other half goes backwards from mate.
constexpr double kClassifyingShare = 0.5;
constexpr double kEarly = 2;  // seconds, before which the time left is anybody's guess

// For any thread. `share` of the table was done before this stage, which adds `more`.
void Show(const Analysis& a, const char* stage, std::uint64_t done, std::uint64_t whole,
          double share, double more) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const Outlook& o = a.outlook;
    share += more * static_cast<double>(done) /
             static_cast<double>(std::max<std::uint64_t>(whole, 1));
    std::string label =
        a.name + ' ' + std::to_string(o.position) + '/' + std::to_string(o.total);
    if (o.Seconds() >= kEarly)
        label +=
            ", " +
            DurationText(o.SecondsLeft(share * static_cast<double>(a.space.Size()))) +
            " left";
    ShowProgress((label + stage).c_str(), done, whole);
}

// ---- What a position is worth before the analysis starts ----

// Value of a capture or promotion for the side that makes it.
MateDistance ConversionValue(const Analysis& a, const TablePosition& position,
                             const TableMove& move) {
    const Conversion& to =
        a.conversions.to[position.side][move.captured == kNoMan ? 0 : move.captured + 1]
                        [move.promotion];
    if (to.entry == 0) return kDraw;
    int side;
    const std::uint32_t index =
        IndexAfterConversion(a.space.men, position, move, to, side);
    const MateDistance after = a.store.At(to.entry, side, index);
    if (after == kNoDistance)
        throw std::runtime_error(a.name + ": no value in " +
                                 std::string(EntryOf(to.entry).name));
    return OneMoveEarlier(after);
}

// The moves of one position, summed up.
struct MoveSummary {
    int moves = 0;
    int quiet = 0;               // within the table
    bool converts = false;       // by capture or promotion
    MateDistance best = kDraw;   // the best of the conversions
    MateDistance worst = kDraw;  // the longest of the lost ones
    bool drawn = false;          // one of them draws
};

// Counts the quiet moves and evaluates the others from the smaller tables.
MoveSummary SumUp(const Analysis& a, const TablePosition& position,
                  const TableMove* moves, int count) {
    MoveSummary sum;
    sum.moves = count;
    for (int i = 0; i < count; ++i) {
        if (moves[i].captured == kNoMan && moves[i].promotion == EMPTY) {
            ++sum.quiet;
            continue;
        }
        const MateDistance d = ConversionValue(a, position, moves[i]);
        if (!sum.converts || Preference(d) > Preference(sum.best)) sum.best = d;
        if (IsLoss(d) && d > sum.worst) sum.worst = d;
        sum.drawn |= d == kDraw;
        sum.converts = true;
    }
    return sum;
}

// The positions with this node's men in which the pawn `victim` has just made a double
// step.
void AddEnPassantNode(Analysis& a, const TablePosition& position, Node node, int victim,
                      int movesWithout) {
    const TableMen& men = a.space.men;
    TablePosition with = position;
    with.enPassant = static_cast<std::uint8_t>(position.square[victim] +
                                               (position.side == WHITE ? 8 : -8));
    // The men are those of a legal position, but the pawn's way may be blocked.
    if (!IsLegalPosition(men, with)) return;
    TableMove moves[kMostTableMoves];
    const int count = LegalTableMoves(men, with, moves);
    TableMove captures[2];
    int captureCount = 0;
    for (int i = 0; i < count; ++i)
        if (moves[i].captured == victim && moves[i].to == with.enPassant)
            captures[captureCount++] = moves[i];
    const MoveSummary sum = SumUp(a, with, captures, captureCount);
    EnPassantNode added{node, static_cast<std::uint8_t>(victim), captureCount > 0,
                        movesWithout == 0, sum.best};
    NoteDistance(a, added.capture);
    const std::lock_guard lock(a.enPassantMutex);
    a.enPassant[position.side].push_back(added);
}

// All pawns that may just have made a double step past a pawn of the side to move.
void AddEnPassantNodes(Analysis& a, const TablePosition& position, Node node,
                       int movesWithout) {
    const TableMen& men = a.space.men;
    const int stepRank = position.side == WHITE ? 4 : 3;
    for (int victim = 2; victim < men.count; ++victim) {
        if (men.man[victim].code != PAWN || men.man[victim].side == position.side ||
            RankOf(position.square[victim]) != stepRank)
            continue;
        // Without a taker the square is not part of a position: files number such
        // positions only where a pawn stands beside.
        bool beside = false;
        for (int i = 2; i < men.count; ++i)
            beside |= men.man[i].code == PAWN && men.man[i].side == position.side &&
                      RankOf(position.square[i]) == stepRank &&
                      FileDistance(position.square[i], position.square[victim]) == 1;
        if (beside) AddEnPassantNode(a, position, node, victim, movesWithout);
    }
}

// What is known of one node before the analysis: whether it is a legal position, how many
// of its moves stay within the table, and its distance by mate or by a conversion.
void Classify(Analysis& a, Node node, int side) {
    SideNodes& nodes = a.side[side];
    TablePosition position{{}, static_cast<std::uint8_t>(side), kNoEnPassant};
    a.space.Squares(node, position);
    // Nodes out of order are illegal as well, so that no later stage meets a position
    // twice.
    if (a.space.IsDuplicate(position) || !IsLegalPosition(a.space.men, position)) {
        nodes.open[node] = kIllegal;
        return;
    }
    TableMove moves[kMostTableMoves];
    const int count = LegalTableMoves(a.space.men, position, moves);
    const MoveSummary sum = SumUp(a, position, moves, count);
    if (HasEnPassant(ShapeOf(a.space.men.entry)))
        AddEnPassantNodes(a, position, node, count);
    // Not won by a conversion: the longest loss is what counts once no move is open any
    // more.
    MateDistance distance = IsWin(sum.best) ? sum.best : sum.worst;
    // A draw in hand is a move that stays open for ever.
    int open = sum.quiet + (sum.drawn ? 1 : 0);
    if (count == 0) {
        const bool mated = InCheck(a.space.men, position);
        distance = mated ? 1 : kDraw;
        open = mated ? 0 : 1;
    }
    nodes.open[node] = static_cast<std::uint8_t>(open);
    nodes.distance[node] = static_cast<std::uint8_t>(distance);
    NoteDistance(a, distance);
}

// White's nodes, then Black's. En passant nodes come in the order of the threads, and are
// sorted for the search that the writing does.
void ClassifyAll(Analysis& a) {
    const std::uint64_t size = a.space.Size();
    for (int side : {WHITE, BLACK}) {
        a.side[side].distance.assign(size, 0);
        a.side[side].open.assign(size, 0);
        std::atomic<std::uint64_t> done{size * static_cast<std::uint64_t>(side)};
        ForEachPiece(a.jobs, size, kPieceSize,
                     [&](std::uint64_t begin, std::uint64_t end) {
                         for (std::uint64_t node = begin; node < end; ++node)
                             Classify(a, static_cast<Node>(node), side);
                         done += end - begin;
                         Show(a, ": classifying", done, 2 * size, 0, kClassifyingShare);
                     });
        std::sort(a.enPassant[side].begin(), a.enPassant[side].end(),
                  [](const EnPassantNode& x, const EnPassantNode& y) {
                      return x.node != y.node ? x.node < y.node : x.victim < y.victim;
                  });
    }
}

// ---- One step backwards ----

// A move from `before` leads to a position whose distance, for the other side, is
// `after`.
void Improve(Analysis& a, SideNodes& nodes, Node before, MateDistance after) {
    const std::uint8_t open = Load(nodes.open[before]);
    if (open == kIllegal) return;
    std::uint8_t& distance = nodes.distance[before];
    const int known = Load(distance);
    if (IsLoss(after)) {
        // Threads that come here at the same time put down the same distance.
        if (IsWin(known) && known <= after + 1) return;
        NoteDistance(a, after + 1);
        Store(distance, after + 1);
    } else if (std::atomic_ref(nodes.open[before])
                       .fetch_sub(1, std::memory_order_relaxed) == 1 &&
               !IsWin(known)) {
        NoteDistance(a, after + 1);
        if (known < after + 1) Store(distance, after + 1);
    }
}

// The moves of pawns undone: calls found(square) for the squares a pawn may come from.
// Double steps past an enemy pawn belong to the en passant nodes.
template <class Found>
void UndoPawnMove(const NodeSpace& space, const TablePosition& position, int man,
                  SquareSet occupied, const Found& found) {
    const int side = space.men.man[man].side;
    const int square = position.square[man];
    const int step = side == WHITE ? 8 : -8;
    const int single = square - step;
    if (single < A2 || single > H7 || (occupied & SquareMask(single)) != 0) return;
    found(single);
    const int doubleRank = side == WHITE ? 3 : 4;
    const int origin = single - step;
    if (RankOf(square) != doubleRank || (occupied & SquareMask(origin)) != 0) return;
    for (int i = 2; i < space.men.count; ++i)
        if (space.men.man[i].code == PAWN && space.men.man[i].side != side &&
            RankOf(position.square[i]) == doubleRank &&
            FileDistance(position.square[i], square) == 1)
            return;
    found(origin);
}

// Tells all positions from which a move within the table leads to this node what it is
// worth.
void Spread(Analysis& a, Node node, int side, MateDistance distance) {
    const NodeSpace& space = a.space;
    const TableMen& men = space.men;
    SideNodes& before = a.side[1 - side];
    TablePosition position;
    space.Squares(node, position);
    const SquareSet occupied = OccupiedSquares(men, position);
    for (int man = 0; man < men.count; ++man) {
        if (men.man[man].side == side) continue;
        const auto cameFrom = [&](int square) {
            const std::uint8_t stands = position.square[man];
            position.square[man] = static_cast<std::uint8_t>(square);
            Improve(a, before, space.NodeOf(position.square), distance);
            position.square[man] = stands;
        };
        if (men.man[man].code == PAWN) {
            UndoPawnMove(space, position, man, occupied, cameFrom);
            continue;
        }
        SquareSet squares =
            ManAttacks(men.man[man].code, 1 - side, position.square[man], occupied) &
            ~occupied;
        while (squares != 0) cameFrom(TakeLowest(squares));
    }
}

// Settled at this distance: a win put down, or a loss without an open move.
bool IsSettled(const SideNodes& nodes, Node node, MateDistance distance) {
    return nodes.distance[node] == distance && (IsWin(distance) || nodes.open[node] == 0);
}

// The distance of an en passant position when it comes out as `distance`, given that all
// shorter ones are settled.
bool SettlesAt(const SideNodes& nodes, const EnPassantNode& e, MateDistance distance) {
    const bool plain = IsSettled(nodes, e.node, distance) && !e.onlyCaptures;
    if (!e.capturable) return IsSettled(nodes, e.node, distance);
    if (IsWin(distance)) return e.capture == distance || plain;
    if (!IsLoss(e.capture)) return false;
    if (e.onlyCaptures) return e.capture == distance;
    // Lost when both are; the longer one counts.
    const int other = nodes.distance[e.node];
    const bool otherLost =
        IsLoss(other) && other <= distance && IsSettled(nodes, e.node, other);
    // The longer of the two losses has come up now.
    return otherLost && (other == distance || e.capture == distance) &&
           e.capture <= distance;
}

// The positions with the right that come out at this distance: only the double step
// undone leads on from them. They are few, so one thread goes through all of them.
void SpreadEnPassant(Analysis& a, int side, MateDistance distance) {
    for (EnPassantNode& e : a.enPassant[side]) {
        if (e.distance != kDraw || !SettlesAt(a.side[side], e, distance)) continue;
        e.distance = distance;
        TablePosition position;
        a.space.Squares(e.node, position);
        position.square[e.victim] = static_cast<std::uint8_t>(position.square[e.victim] +
                                                              (side == WHITE ? 16 : -16));
        Improve(a, a.side[1 - side], a.space.NodeOf(position.square), distance);
    }
}

// Spreads all nodes that are settled at this distance. Only the other side's nodes
// change.
void SpreadDistance(Analysis& a, int side, MateDistance distance) {
    const SideNodes& nodes = a.side[side];
    ForEachPiece(a.jobs, a.space.Size(), 8 * kPieceSize,
                 [&](std::uint64_t begin, std::uint64_t end) {
                     const std::uint8_t* data = nodes.distance.data();
                     for (std::uint64_t i = begin; i < end; ++i) {
                         // Most nodes have another distance: the library's search passes
                         // over them fastest.
                         const void* hit = std::memchr(data + i, distance, end - i);
                         if (hit == nullptr) return;
                         i = static_cast<std::uint64_t>(
                             static_cast<const std::uint8_t*>(hit) - data);
                         if (IsSettled(nodes, static_cast<Node>(i), distance))
                             Spread(a, static_cast<Node>(i), side, distance);
                     }
                 });
    SpreadEnPassant(a, side, distance);
}

// Distance by distance, a breadth-first search backwards from the mates: a node's
// distance is final when its turn comes. A distance and side to move is one stage; the
// bound grows while the loop runs.
void Analyse(Analysis& a) {
    ClassifyAll(a);
    for (MateDistance distance = 1; distance <= a.longest; ++distance) {
        Show(a, ": distances  ", static_cast<std::uint64_t>(distance),
             static_cast<std::uint64_t>(a.longest), kClassifyingShare,
             1 - kClassifyingShare);
        for (int side : {WHITE, BLACK}) SpreadDistance(a, side, distance);
    }
}

// ---- The files ----

// When all has been spread, a node that is neither won nor out of moves is drawn.
MateDistance FinalDistance(const SideNodes& nodes, Node node) {
    const int distance = nodes.distance[node];
    return IsLoss(distance) && nodes.open[node] != 0 ? kDraw : distance;
}

// The values of one side's file without en passant, by nodes: each legal one has an
// index.
void FillNormalRange(Analysis& a, int side, std::vector<std::uint8_t>& file) {
    SideNodes& nodes = a.side[side];
    ForEachPiece(
        a.jobs, a.space.Size(), kPieceSize, [&](std::uint64_t begin, std::uint64_t end) {
            TablePosition position{{}, static_cast<std::uint8_t>(side), kNoEnPassant};
            for (std::uint64_t node = begin; node < end; ++node) {
                if (nodes.open[node] == kIllegal) continue;
                a.space.Squares(static_cast<Node>(node), position);
                const std::uint32_t index = IndexOfPosition(a.space.men, position);
                if (index >= file.size())
                    throw std::runtime_error(a.name + ": an index beyond the file");
                // Mirror images share an index and have the same value.
                Store(file[index],
                      ByteOfDistance(FinalDistance(nodes, static_cast<Node>(node))));
            }
        });
}

// The values behind them. Here the indices lead: with two takers a position has two of
// them.
void FillEnPassantRange(Analysis& a, int side, std::vector<std::uint8_t>& file) {
    const TableMen& men = a.space.men;
    const std::vector<EnPassantNode>& nodes = a.enPassant[side];
    for (std::uint64_t i = NormalCount[men.entry][side]; i < file.size(); ++i) {
        TablePlacement placement;
        PlacementOfIndex(men.entry, side, static_cast<std::uint32_t>(i), placement);
        const TablePosition position = PositionOfPlacement(men, placement, side);
        if (!IsLegalPosition(men, position)) continue;
        const int stands = placement.enPassant + (side == WHITE ? -8 : 8);
        const Node node = a.space.NodeOf(position.square);
        const int victim = stands ^ a.space.MaskOf(position.square[0]);
        const auto found = std::find_if(
            std::lower_bound(nodes.begin(), nodes.end(), node,
                             [](const EnPassantNode& e, Node n) { return e.node < n; }),
            nodes.end(), [&](const EnPassantNode& e) {
                return e.node != node || a.space.SquareOf(node, e.victim) == victim;
            });
        if (found == nodes.end() || found->node != node)
            throw std::runtime_error(a.name + ": an en passant position is missing");
        file[i] = ByteOfDistance(found->distance);
    }
}

// The longest mates of a finished table, in moves, for the report.
void LongestMates(const Analysis& a, MadeTable& made) {
    for (int side : {WHITE, BLACK}) {
        MateDistance win = kDraw, loss = kDraw;
        const SideNodes& nodes = a.side[side];
        for (std::uint64_t node = 0; node < nodes.distance.size(); ++node) {
            const MateDistance d = FinalDistance(nodes, static_cast<Node>(node));
            if (IsWin(d)) win = std::max(win, d);
            if (IsLoss(d)) loss = std::max(loss, d);
        }
        made.longestWin[side] = MovesToMate(win);
        made.longestLoss[side] = MovesToMate(loss);
    }
}

// Indices of no legal position hold kNoValue.
void WriteTable(Analysis& a, const std::filesystem::path& directory) {
    const int entry = a.space.men.entry;
    for (int side : {WHITE, BLACK}) {
        if (side == BLACK && ShapeOf(entry).symmetric) break;
        std::vector<std::uint8_t> file(FileValues(entry, side), kNoValue);
        FillNormalRange(a, side, file);
        if (HasEnPassant(ShapeOf(entry))) FillEnPassantRange(a, side, file);
        WriteWholeFile(directory / TableFileName(entry, side), file);
    }
}

// ---- The order of the tables ----

// The smaller tables that this one needs must be in the directory. Those that are not
// needed are dropped first: memory is what limits the size of tables.
MadeTable MakeTable(int entry, const std::filesystem::path& directory, int jobs,
                    TableStore& store, const Outlook& outlook) {
    const double start = outlook.Seconds();
    Analysis a{.space = SpaceOf(entry),
               .conversions = ConversionsOf(MenOfTable(entry)),
               .store = store,
               .jobs = jobs,
               .outlook = outlook,
               .name = std::string(EntryOf(entry).name)};
    const std::vector<int> needed = TablesReachedFrom(a.conversions);
    for (int other = 1; other < kTableEntries; ++other)
        if (std::find(needed.begin(), needed.end(), other) == needed.end())
            store.Drop(other);
    for (const int other : needed) store.Load(other);
    Analyse(a);
    WriteTable(a, directory);
    MadeTable made{.entry = entry, .made = true};
    LongestMates(a, made);
    made.seconds = outlook.Seconds() - start;
    return made;
}

// Adds the table, behind those that it leads to, unless it is there or planned already.
void Plan(int entry, const std::filesystem::path& directory, std::vector<int>& plan) {
    if (TableIsThere(directory, entry) ||
        std::find(plan.begin(), plan.end(), entry) != plan.end())
        return;
    for (const int needed : TablesReachedFrom(ConversionsOf(MenOfTable(entry))))
        Plan(needed, directory, plan);
    plan.push_back(entry);
}

}  // namespace

// The whole plan is made before the first table, for the forecast of the time.
void MakeTables(const std::vector<int>& entries, const std::filesystem::path& directory,
                int jobs, const std::function<void(const MadeTable&)>& report) {
    BuildIndexTables();
    std::filesystem::create_directories(directory);
    std::vector<int> plan;
    for (const int entry : entries) {
        if (ShapeOf(entry).men > kMostMenMade)
            throw std::runtime_error(std::string(EntryOf(entry).name) +
                                     ": tables of six men are too large to make");
        if (TableIsThere(directory, entry)) report({.entry = entry, .made = false});
        Plan(entry, directory, plan);
    }
    Outlook outlook{.start = std::chrono::steady_clock::now(),
                    .total = static_cast<int>(plan.size())};
    const auto work = [](int entry) {
        return static_cast<double>(SpaceOf(entry).Size());
    };
    for (const int entry : plan) outlook.whole += work(entry);
    TableStore store;
    store.directory = directory;
    for (const int entry : plan) {
        ++outlook.position;
        MadeTable made = MakeTable(entry, directory, jobs, store, outlook);
        outlook.done += work(entry);
        made.position = outlook.position;
        made.total = outlook.total;
        made.secondsLeft = outlook.SecondsLeft(0);
        EndProgress();
        report(made);
    }
}

std::vector<int> TablesWithMen(int men) {
    std::vector<int> entries;
    for (int entry = 1; entry < kTableEntries; ++entry)
        if (ShapeOf(entry).men == men) entries.push_back(entry);
    return entries;
}
