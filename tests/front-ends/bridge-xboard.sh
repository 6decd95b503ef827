# shellcheck shell=bash
# The bridge under xboard by its protocol's version 2.
make_engine "$bridge"

play "bridge, xboard protocol: both colours, pondering" 2 -ponder
[ "$(said 'feature done=1')" -ge 1 ] || complain "the bridge did not introduce itself"
[ "$(sent 'usermove ')" -ge 16 ] || complain "xboard did not use what was offered"
finish

play "bridge, xboard protocol: a time for each move" 2 -xponder -searchTime 0:01 \
  -adjudicateDrawMoves 20
finish

play "bridge, xboard protocol: from positions with either side to move" 4 -xponder \
  -loadPositionFile positions -loadPositionIndex -2
[ "$(sent setboard)" -ge 4 ] || complain "the positions were not set up by setboard"
finish

# A move, taken back while the engine ponders, and another one; the engine's next move shows
# whether it is still in step, for xboard refuses what is illegal.
retract() {
  begin "bridge, xboard protocol: moves taken back during pondering"
  local status=0 moves=0 pair
  (games_xboard -ponder -timeControl 0:40) &
  local pid=$!
  until_log at_least 1 sent 'new'
  sleep 1
  find_board
  xdotool windowfocus "$board"
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
  check_conduct
  finish
}
retract

analyse "bridge, xboard protocol: analysis on, a move, off, on again, quit" 'usermove .*e2e4'
