// The benchmark's positions: openings, middlegames, endings down to bare ones, as FEN.
#pragma once

// In the order in which they are searched. The list is part of the node signature:
// changing it changes bench/signature.txt, and protocol.cpp counts on where the
// middlegames stand.
inline constexpr const char* kBenchPositions[] = {
    // Openings
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r1bqkbnr/pppp1ppp/2n5/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R b KQkq - 3 3",
    "rnbqkb1r/1p2pppp/p2p1n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R w KQkq - 0 6",
    "rnbqkb1r/pp3ppp/4pn2/2pp4/2PP4/2N2N2/PP2PPPP/R1BQKB1R w KQkq - 0 5",
    "rnbq1rk1/ppp1ppbp/3p1np1/8/2PPP3/2N2N2/PP2BPPP/R1BQK2R b KQ - 3 6",
    "r1bqk1nr/ppp2ppp/1bnp4/4p3/2BPP3/2P2N2/PP3PPP/RNBQ1RK1 b kq - 0 7",
    "rnbqk2r/pp1nppbp/3p2p1/2pP4/2P1P3/2N2N2/PP3PPP/R1BQKB1R w KQkq - 1 7",
    "r2qkbnr/pp1nppp1/2p3bp/8/3P3P/5NN1/PPP2PP1/R1BQKB1R w KQkq - 2 8",
    // Middlegames
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "r2q1rk1/pp2bppp/2n1bn2/3p4/3N4/1PN1P1P1/PB3PBP/R2Q1RK1 b - - 2 13",
    "2rq1rk1/pb1n1ppN/4p3/1pb5/3P1Pn1/P1N5/1PQ1B1PP/R1B2RK1 b - - 0 16",
    "r1bq1rk1/pp2ppbp/2np1np1/8/2BNP3/2N1BP2/PPPQ2PP/R3K2R b KQ - 4 9",
    "1k1r3r/pp2qpp1/3b1n1p/3pNQ2/2pP1P2/2N1P3/PP4PP/1K1RR3 b - - 0 18",
    "r1b1r1k1/1pqn1pbp/p2pp1p1/P7/1n1NPP1Q/2NBBR2/1PP3PP/R6K w - - 4 20",
    "3r1rk1/1bq1bppp/p1n1pn2/1p6/4P3/P1N1BN2/1PQ1BPPP/2R2RK1 w - - 6 15",
    "r2qr1k1/1b1nbppp/p2p1n2/1p2p1P1/4P3/1NN1BP2/PPPQ3P/2KR1B1R b - - 0 13",
    "2r1r1k1/pp1q1ppp/3p1b2/3P4/3Q4/5N2/PP2RPPP/4R1K1 w - - 3 22",
    "4rrk1/p4ppp/1p1q1n2/2pp4/3P1P2/P1PBPQ1P/6P1/R4RK1 w - - 0 20",
    "r1br2k1/ppp3pp/1b2q3/4p3/1P2n3/P1P1B1P1/2Q1PPBP/R4RK1 b - - 1 17",
    "5rk1/1ppb3p/p1pb4/6q1/3P1p1r/2P1R2P/PP1BQ1P1/5RKN w - - 0 1",
    // Queenless and late middlegames
    "2kr3r/pp3ppp/2p1bn2/4p3/4P3/2N1BP2/PPP3PP/2KR3R w - - 2 14",
    "r4rk1/pp3ppp/2n1b3/3p4/3P4/2NB4/PP3PPP/R4RK1 w - - 4 16",
    "3rr1k1/pp3pp1/1qn2np1/8/3p4/PP1R1P2/2P1NQPP/R1B3K1 b - - 0 1",
    "1r3bk1/p4p1p/2p2np1/2q1p3/4P3/1P3QNP/P4PP1/3R2K1 b - - 2 26",
    // Endings
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "8/8/1p1k2p1/p1p2p1p/P1P2P1P/1P1K2P1/8/8 w - - 0 40",
    "8/5pk1/4p1p1/3p3p/1r1P3P/4PKP1/5P2/R7 b - - 1 34",
    "8/pp3k2/2p2pp1/3p4/3P1n2/2P1BP2/PP3KP1/8 w - - 2 30",
    "4k3/1b3p2/p1p1p1p1/1p1pP2p/3P1P1P/1P1BK1P1/P1P5/8 w - - 0 28",
    "6k1/5ppp/3q4/1p6/1P6/P4Q1P/5PP1/6K1 w - - 0 30",
    "8/8/4kpp1/3p1b2/p6P/2B5/6P1/6K1 b - - 0 47",
    "8/3k4/3p4/p2P1p2/P4P2/8/3K4/8 w - - 0 1",
    "8/1R6/8/4k3/1p6/8/r7/1K6 b - - 0 50",
    "8/5k2/8/3PK3/8/2r5/8/4R3 w - - 10 60",
    "8/8/8/8/5kp1/P7/8/1K1N4 w - - 0 1",
    "7k/8/8/8/8/8/2K1Q3/r7 w - - 0 1",
    "8/8/8/4k3/2B5/3K4/6N1/8 w - - 0 1",
    "8/8/8/3k4/8/8/4P3/4K3 w - - 0 1",
};
