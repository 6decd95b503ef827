// The 178 material combinations that endgame tables exist for, and what their names say
// about the men on the board. Entry 0 is the two bare kings, which no file serves.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

inline constexpr int kTableEntries = 179;
// Entries of the list by number of men: the first of each count, and the end.
inline constexpr int kFirstFourMen = 6;
inline constexpr int kFirstFiveMen = 36;
inline constexpr int kFirstSixMen = 146;

// Kinds of men as the tables number their squares. A plain pawn is one of the side that
// is not to move: it may stand where it attacks the king.
enum ManType : std::uint8_t { kPlainPawn, kPawn, kKnight, kBishop, kRook, kQueen };
inline constexpr int kManTypes = 6;

// The like men of one side.
struct ManGroup {
    ManType type;
    std::uint8_t count;  // 1..3
};

inline constexpr int kMaxGroups = 3;

struct SideMen {
    int groups;                  // kinds of men besides the king
    int men;                     // without the king
    ManGroup group[kMaxGroups];  // in the order of the name: the stronger kind first

    constexpr int CountOf(ManType type) const {
        for (int i = 0; i < groups; ++i)
            if (group[i].type == type) return group[i].count;
        return 0;
    }
};

struct TableShape {
    SideMen side[2];  // the side named first, the other side
    int men;          // kings included
    bool pawns;
    bool symmetric;  // both sides have the same men, none of them pawns
};

// Lists of squares handed to the index functions, one per side: pawns from slot 0,
// knights from 3, bishops from 6, rooks from 9, queens from 12, the king in 15.
inline constexpr int kListSize = 16;
inline constexpr int kKingSlot = 15;
constexpr int FirstSlot(ManType type) { return type == kPlainPawn ? 0 : 3 * (type - 1); }

// Of a letter in a table's name, which is known to be one of q, r, b, n and p.
constexpr ManType TypeOfLetter(char letter) {
    switch (letter) {
        case 'q':
            return kQueen;
        case 'r':
            return kRook;
        case 'b':
            return kBishop;
        case 'n':
            return kKnight;
        default:
            return kPawn;
    }
}

// The men that a name such as "kbnkp" stands for: each "k" begins a side, like men stand
// together. Names are trusted, being those of the list.
constexpr TableShape ParseTableName(std::string_view name) {
    TableShape shape{};
    int side = -1;
    for (const char letter : name) {
        ++shape.men;
        if (letter == 'k') {
            ++side;
            continue;
        }
        SideMen& own = shape.side[side];
        const ManType type = TypeOfLetter(letter);
        if (type == kPawn) shape.pawns = true;
        ++own.men;
        if (own.groups > 0 && own.group[own.groups - 1].type == type)
            ++own.group[own.groups - 1].count;
        else
            own.group[own.groups++] = {type, 1};
    }
    // Pawns of the two sides move in different directions: such tables have two files.
    const std::size_t half = name.size() / 2;
    shape.symmetric =
        !shape.pawns && name.size() % 2 == 0 && name.substr(0, half) == name.substr(half);
    return shape;
}

// What the format fixes for an entry; its files as found are in registry.h.
struct TablebaseDescriptor {
    std::string_view name;
    // Values in the files of White and of Black to move; 0 where nothing but files made
    // by this program's own tool vouches for the count. A symmetric entry has White's
    // file only.
    std::uint32_t size[2];
    bool wide;  // values of 16 bits instead of 8
};

// In the order that fixes an entry's number.
// clang-format off
inline constexpr std::array<TablebaseDescriptor, kTableEntries> TablebaseList = {{
    {"kk",     {         0,          0}, false},
    // three men
    {"kpk",    {     81664,      84012}, false},
    {"knk",    {     26282,      28644}, false},
    {"kbk",    {     27243,      28644}, false},
    {"krk",    {     27030,      28644}, false},
    {"kqk",    {     25629,      28644}, false},
    // four men
    {"kpkp",   {   3863492,    3863492}, false},
    {"knkp",   {   4931904,    4981504}, false},
    {"knkn",   {   1603202,    1603202}, false},
    {"kbkp",   {   5112000,    4981504}, false},
    {"kbkn",   {   1661823,    1603202}, false},
    {"kbkb",   {   1661823,    1661823}, false},
    {"krkp",   {   5072736,    4981504}, false},
    {"krkn",   {   1649196,    1603202}, false},
    {"krkb",   {   1649196,    1661823}, false},
    {"krkr",   {   1649196,    1649196}, false},
    {"kqkp",   {   4810080,    4981504}, false},
    {"kqkn",   {   1563735,    1603202}, false},
    {"kqkb",   {   1563735,    1661823}, false},
    {"kqkr",   {   1563735,    1649196}, false},
    {"kqkq",   {   1563735,    1563735}, false},
    {"kppk",   {   1806671,    1912372}, false},
    {"knpk",   {   4648581,          0}, false},
    {"knnk",   {    735304,     873642}, false},
    {"kbpk",   {   4817128,          0}, false},
    {"kbnk",   {   1550620,    1747284}, false},
    {"kbbk",   {    789885,     873642}, false},
    {"krpk",   {   4779530,          0}, false},
    {"krnk",   {   1538479,    1747284}, false},
    {"krbk",   {   1594560,    1747284}, false},
    {"krrk",   {    777300,     873642}, false},
    {"kqpk",   {   4533490,          0}, false},
    {"kqnk",   {   1459616,    1747284}, false},
    {"kqbk",   {   1512507,    1747284}, false},
    {"kqrk",   {   1500276,    1747284}, false},
    {"kqqk",   {    698739,     873642}, false},
    // five men, two against one
    {"kppkp",  {  84219361,   89391280}, false},
    {"kppkn",  {         0,  115899744}, false},
    {"kppkb",  {         0,  120132000}, false},
    {"kppkr",  {         0,  119209296}, false},
    {"kppkq",  {         0,  113036880}, false},
    {"knpkp",  {         0,          0}, false},
    {"knpkn",  {         0,          0}, false},
    {"knpkb",  {         0,          0}, false},
    {"knpkr",  {         0,          0}, false},
    {"knpkq",  {         0,          0}, false},
    {"knnkp",  { 137991648,  149445120}, false},
    {"knnkn",  {  44118240,   48096060}, false},
    {"knnkb",  {  44118240,   49854690}, false},
    {"knnkr",  {  44118240,   49475880}, false},
    {"knnkq",  {  44118240,   46912050}, false},
    {"kbpkp",  {         0,          0}, false},
    {"kbpkn",  {         0,          0}, false},
    {"kbpkb",  {         0,          0}, false},
    {"kbpkr",  {         0,          0}, false},
    {"kbpkq",  {         0,          0}, false},
    {"kbnkp",  { 290989584,  298890240}, false},
    {"kbnkn",  {  93037200,   96192120}, false},
    {"kbnkb",  {  93037200,   99709380}, false},
    {"kbnkr",  {  93037200,   98951760}, false},
    {"kbnkq",  {  93037200,   93824100}, false},
    {"kbbkp",  { 148223520,  149445120}, false},
    {"kbbkn",  {  47393100,   48096060}, false},
    {"kbbkb",  {  47393100,   49854690}, false},
    {"kbbkr",  {  47393100,   49475880}, false},
    {"kbbkq",  {  47393100,   46912050}, false},
    {"krpkp",  {         0,          0}, false},
    {"krpkn",  {         0,          0}, false},
    {"krpkb",  {         0,          0}, false},
    {"krpkr",  {         0,          0}, false},
    {"krpkq",  {         0,          0}, false},
    {"krnkp",  { 288692928,  298890240}, false},
    {"krnkn",  {  92308740,   96192120}, false},
    {"krnkb",  {  92308740,   99709380}, false},
    {"krnkr",  {  92308740,   98951760}, false},
    {"krnkq",  {  92308740,   93824100}, false},
    {"krbkp",  { 299203200,  298890240}, false},
    {"krbkn",  {  95673600,   96192120}, false},
    {"krbkb",  {  95673600,   99709380}, false},
    {"krbkr",  {  95673600,   98951760}, false},
    {"krbkq",  {  95673600,   93824100}, false},
    {"krrkp",  { 145901232,  149445120}, false},
    {"krrkn",  {  46658340,   48096060}, false},
    {"krrkb",  {  46658340,   49854690}, false},
    {"krrkr",  {  46658340,   49475880}, false},
    {"krrkq",  {  46658340,   46912050}, false},
    {"kqpkp",  {         0,          0}, false},
    {"kqpkn",  {         0,          0}, false},
    {"kqpkb",  {         0,          0}, false},
    {"kqpkr",  {         0,          0}, false},
    {"kqpkq",  {         0,          0}, false},
    {"kqnkp",  { 273904512,  298890240}, false},
    {"kqnkn",  {  87576960,   96192120}, false},
    {"kqnkb",  {  87576960,   99709380}, false},
    {"kqnkr",  {  87576960,   98951760}, false},
    {"kqnkq",  {  87576960,   93824100}, false},
    {"kqbkp",  { 283818240,  298890240}, false},
    {"kqbkn",  {  90750420,   96192120}, false},
    {"kqbkb",  {  90750420,   99709380}, false},
    {"kqbkr",  {  90750420,   98951760}, false},
    {"kqbkq",  {  90750420,   93824100}, false},
    {"kqrkp",  { 281568240,  298890240}, false},
    {"kqrkn",  {  90038460,   96192120}, false},
    {"kqrkb",  {  90038460,   99709380}, false},
    {"kqrkr",  {  90038460,   98951760}, false},
    {"kqrkq",  {  90038460,   93824100}, false},
    {"kqqkp",  { 131170128,  149445120}, false},
    {"kqqkn",  {  41944320,   48096060}, false},
    {"kqqkb",  {  41944320,   49854690}, false},
    {"kqqkr",  {  41944320,   49475880}, false},
    {"kqqkq",  {  41944320,   46912050}, false},
    // five men, three against none
    {"kpppk",  {  26061704,   28388716}, false},
    {"knppk",  { 102898651,          0}, false},
    {"knnpk",  { 130135501,          0}, false},
    {"knnnk",  {  13486227,   17472840}, false},
    {"kbppk",  { 106602156,          0}, false},
    {"kbnpk",  { 274352939,          0}, false},
    {"kbnnk",  {  43406237,   52418520}, false},
    {"kbbpk",  { 139715040,          0}, false},
    {"kbbnk",  {  44983618,   52418520}, false},
    {"kbbbk",  {  15010230,   17472840}, false},
    {"krppk",  { 105756506,          0}, false},
    {"krnpk",  { 272153675,          0}, false},
    {"krnnk",  {  43056198,   52418520}, false},
    {"krbpk",  { 281991360,          0}, false},
    {"krbnk",  {  90787358,  104837040}, false},
    {"krbbk",  {  46242089,   52418520}, false},
    {"krrpk",  { 137491197,          0}, false},
    {"krrnk",  {  44265261,   52418520}, false},
    {"krrbk",  {  45873720,   52418520}, false},
    {"krrrk",  {  14644690,   17472840}, false},
    {"kqppk",  { 100345060,          0}, false},
    {"kqnpk",  { 258294639,          0}, false},
    {"kqnnk",  {  40873646,   52418520}, false},
    {"kqbpk",  { 267576632,          0}, false},
    {"kqbnk",  {  86166717,  104837040}, false},
    {"kqbbk",  {  43879679,   52418520}, false},
    {"kqrpk",  { 265421907,          0}, false},
    {"kqrnk",  {  85470603,  104837040}, false},
    {"kqrbk",  {  88557959,  104837040}, false},
    {"kqrrk",  {  43166738,   52418520}, false},
    {"kqqpk",  { 123688859,          0}, false},
    {"kqqnk",  {  39840787,   52418520}, false},
    {"kqqbk",  {  41270973,   52418520}, false},
    {"kqqrk",  {  40916820,   52418520}, false},
    {"kqqqk",  {  12479974,   17472840}, false},
    // six men
    {"knnknn", {1301488080, 1301488080}, false},
    {"kbnknn", {2744597400, 2602976160}, false},
    {"kbbknn", {1398096450, 1301488080}, false},
    {"kbbkbn", {2796192900, 2744597400}, false},
    {"kbbkbb", {1398096450, 1398096450}, false},
    {"krnknn", {2723107830, 2602976160}, true},
    {"krnkbb", {2723107830, 2796192900}, true},
    {"krbknn", {2822371200, 2602976160}, true},
    {"krbkbb", {2822371200, 2796192900}, false},
    {"krrknn", {1376421030, 1301488080}, false},
    {"krrkbn", {2752842060, 2744597400}, false},
    {"krrkbb", {1376421030, 1398096450}, false},
    {"krrkrn", {2752842060, 2723107830}, false},
    {"krrkrr", {1376421030, 1376421030}, false},
    {"kqnknn", {2583520320, 2602976160}, false},
    {"kqnkbb", {2583520320, 2796192900}, false},
    {"kqnkrr", {2583520320, 2752842060}, true},
    {"kqbknn", {2677137390, 2602976160}, false},
    {"kqbkbb", {2677137390, 2796192900}, false},
    {"kqbkrr", {2677137390, 2752842060}, false},
    {"kqrknn", {2656134570, 2602976160}, false},
    {"kqrkbb", {2656134570, 2796192900}, false},
    {"kqrkrr", {2656134570, 2752842060}, false},
    {"kqqknn", {1237357440, 1301488080}, false},
    {"kqqkbn", {2474714880, 2744597400}, false},
    {"kqqkbb", {1237357440, 1398096450}, false},
    {"kqqkrn", {2474714880, 2723107830}, false},
    {"kqqkrb", {2474714880, 2822371200}, false},
    {"kqqkrr", {1237357440, 1376421030}, false},
    {"kqqkqn", {2474714880, 2583520320}, false},
    {"kqqkqb", {2474714880, 2677137390}, false},
    {"kqqkqr", {2474714880, 2656134570}, false},
    {"kqqkqq", {1237357440, 1237357440}, false},
}};
// clang-format on

// [entry]
// All names are parsed by the compiler, so that shapes are constants for the templates.
inline constexpr std::array<TableShape, kTableEntries> kTableShapes = [] {
    std::array<TableShape, kTableEntries> shapes{};
    for (int i = 0; i < kTableEntries; ++i)
        shapes[static_cast<std::size_t>(i)] =
            ParseTableName(TablebaseList[static_cast<std::size_t>(i)].name);
    return shapes;
}();

// Both for 0 <= entry < kTableEntries.
constexpr const TablebaseDescriptor& EntryOf(int entry) {
    return TablebaseList[static_cast<std::size_t>(entry)];
}
constexpr const TableShape& ShapeOf(int entry) {
    return kTableShapes[static_cast<std::size_t>(entry)];
}

// Counts of men: White's pawns, knights, bishops, rooks, queens, then Black's.
using MenCounts = std::array<std::uint8_t, 10>;

// Of the material as it stands when White is the side named first.
constexpr MenCounts CountsOf(const TableShape& shape) {
    MenCounts counts{};
    for (int side = 0; side < 2; ++side)
        for (int g = 0; g < shape.side[side].groups; ++g) {
            const ManGroup group = shape.side[side].group[g];
            counts[static_cast<std::size_t>(5 * side + group.type - kPawn)] = group.count;
        }
    return counts;
}

// The counts with the colours exchanged.
constexpr MenCounts Exchanged(const MenCounts& counts) {
    MenCounts other{};
    for (std::size_t i = 0; i < 5; ++i) {
        other[i] = counts[i + 5];
        other[i + 5] = counts[i];
    }
    return other;
}

// The entry of that name, lower case and the list's side first; 0 when there is none.
constexpr int FindTable(std::string_view name) {
    for (int i = 1; i < kTableEntries; ++i)
        if (EntryOf(i).name == name) return i;
    return 0;
}
