# shellcheck shell=bash
# The bridge under xboard through PolyGlot, in PolyGlot's test of positions, and in games of
# PyChess's engine classes in both protocols.
"$here/../../tools/setup.sh" polyglot:polyglot pychess
make_engine "$bridge"

play "bridge, UCI through PolyGlot: both colours, pondering" 2 -ponder -fUCI
[ "$(said 'feature exclude=1')" -ge 1 ] || complain "PolyGlot did not come between"
finish

# Combinations with one solution each.
epd_test() {
  begin "bridge, UCI: PolyGlot's test of positions"
  cat >"$room/solve.epd" <<'EPD'
6k1/5ppp/8/8/8/8/5PPP/R5K1 w - - bm Ra8#; id "back rank";
7k/8/5KQ1/8/8/8/8/8 w - - bm Qg7#; id "queen and king";
r5rk/5p1p/5R2/4B3/8/8/7P/7K w - - bm Ra6+; id "discovered mate";
8/5P1k/5K2/8/8/8/8/8 w - - bm f8=R; id "no queen";
EPD
  (cd "$room" && timeout 120 polyglot -noini epd-test -ec ./veltramox -epd solve.epd \
    -max-time 2 -min-time 0.2) >"$room/xboard.out" 2>&1 || complain "polyglot failed"
  grep -q '^score=4/4' "$room/xboard.out" || complain "not all solved"
  check_conduct
  finish
}
epd_test

pychess_games uci
pychess_games xboard
