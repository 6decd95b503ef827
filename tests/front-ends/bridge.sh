# shellcheck shell=bash
# Today's front ends with the bridge: xboard by its protocol's version 2 and, through PolyGlot, by
# UCI; PolyGlot's test of positions; games of PyChess's engine classes. Read by run.
"$here/../../tools/setup.sh" polyglot:polyglot pychess

# The bridge goes, and the engine with it.
check_bridge() {
  check_conduct
  local link
  for _ in $(seq 30); do
    link=$(find /proc -maxdepth 2 -name exe -lname "$(dirname "$bridge")/veltramox" 2>/dev/null || true)
    [ -n "$link" ] || return 0
    sleep 0.1
  done
  complain "an engine is still running: $link"
}

# bridge_games WHAT GAMES OPTION...: the name in the saved games is the one that the checks know.
bridge_games() {
  play "$@" -firstPgnName veltramox
  check_bridge
}

bridge_games "bridge, xboard protocol: both colours, pondering" 2 -ponder
[ "$(said 'feature done=1')" -ge 1 ] || complain "the bridge did not introduce itself"
[ "$(sent 'usermove ')" -ge 16 ] || complain "xboard did not use what was offered"
finish

bridge_games "bridge, xboard protocol: a time for each move" 2 -xponder -searchTime 0:01
finish

bridge_games "bridge, xboard protocol: from positions with either side to move" 4 -xponder \
  -loadPositionFile positions -loadPositionIndex -2
[ "$(sent setboard)" -ge 4 ] || complain "the positions were not set up by setboard"
finish

bridge_games "bridge, UCI through PolyGlot: both colours, pondering" 2 -ponder -fUCI
[ "$(said 'feature exclude=1')" -ge 1 ] || complain "PolyGlot did not come between"
finish

# A move, taken back while the engine ponders, and another one; the engine's next move shows
# whether it is still in step, for xboard refuses what is illegal.
retract() {
  begin "bridge, xboard protocol: moves taken back during pondering"
  local status=0 moves=0 pair
  (xboard_here -ponder -timeControl 0:40) &
  local pid=$!
  until_log at_least 1 sent 'new'
  sleep 1
  xdotool windowfocus "$(xdotool search --onlyvisible --class xboard | head -n 1)"
  for pair in "e2e4 d2d4" "g1f3 c2c4" "b1c3 e2e3" "f1e2 a2a3" "h2h3 g2g3"; do
    xdotool type --delay 60 "${pair% *}"
    press Return
    moves=$((moves + 1))
    until_log at_least "$moves" said 'move '
    sleep 0.7
    press ctrl+x
    until_log at_least $(((moves + 1) / 2)) sent remove
    xdotool type --delay 60 "${pair#* }"
    press Return
    moves=$((moves + 1))
    until_log at_least "$moves" said 'move '
    sleep 0.3
  done
  press ctrl+q
  wait_for "$pid" 20 || status=$?
  [ "$status" = 0 ] || complain "xboard ended with status $status"
  check_bridge
  finish
}
retract

bridge_analysis() {
  begin "bridge, xboard protocol: analysis on, a move, off, on again, quit"
  local status=0
  (xboard_here -initialMode analysis) &
  local pid=$!
  until_log at_least 1 sent analyze
  until_log at_least 5 said '[0-9]+ -?[0-9]+ '
  until_log at_least 1 said 'stat01: '
  xdotool windowfocus "$(xdotool search --onlyvisible --class xboard | head -n 1)"
  xdotool type --delay 100 'e2e4'
  press Return
  until_log at_least 1 sent 'usermove .*e2e4'
  press ctrl+e
  until_log at_least 1 sent exit
  press ctrl+a
  until_log at_least 2 sent analyze
  press ctrl+q
  wait_for "$pid" 20 || status=$?
  [ "$status" = 0 ] || complain "xboard ended with status $status"
  [ "$(said 'move ')" = 0 ] || complain "the engine moved in analysis"
  check_bridge
  finish
}
bridge_analysis

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
  check_bridge
  finish
}
epd_test

# pychess_games PROTOCOL
pychess_games() {
  begin "bridge, $1: games of PyChess's engine classes"
  (cd "$room" && timeout 400 /usr/bin/python3 "$here/pychess_games.py" "$room/veltramox" "$1" 2) \
    >"$room/xboard.out" 2>&1 || complain "a game had no proper end"
  [ "$(grep -c half-moves "$room/xboard.out")" = 2 ] || complain "not two games"
  check_bridge
  finish
}
pychess_games xboard
pychess_games uci
