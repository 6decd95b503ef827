# Games under xboard against Fairy-Max and how they are judged: by the saved games, xboard's log
# of the conversation and what is left running afterwards. To be sourced after display.sh; ends
# with end_of_tests.
# shellcheck shell=bash
"$here/../../tools/setup.sh" fairymax:fairymax
passed=0
failed=0

# make_engine PROGRAM: as xboard starts it: in a game folder, its process noted.
make_engine() {
  mkdir -p "$room/game"
  echo "UseEGTB=off" >"$room/game/Veltramox.ini"
  cat >"$room/veltramox" <<SCRIPT
#!/bin/sh
echo \$\$ >>"$room/pids"
cd "$room/game" && exec "$1"
SCRIPT
  chmod +x "$room/veltramox"
}

# xboard with that engine, its games saved.
games_xboard() {
  xboard_here -fcp ./veltramox -firstPgnName veltramox -saveGameFile games "$@"
}

# Two positions, one for each side to move: a middlegame and a queen ending.
cat >"$room/positions" <<'FEN'
r3k2r/pppq1ppp/2np1n2/2b1p3/2B1P1b1/2NP1N2/PPPQ1PPP/R3K2R w KQkq - 0 1
8/5pk1/6p1/3q3p/7P/6P1/3Q1P2/6K1 b - - 0 1
FEN

find_board() {
  board=$(xdotool search --onlyvisible --class xboard | head -n 1)
}

count() { grep -cE "$1" "$2" || true; }
sent() { count "^[0-9]+ >first : $1" "$room/log"; }
said() { count "^[0-9]+ <first : $1" "$room/log"; }

complain() {
  echo "  $1"
  good=0
}

# Engines that were started from this room, by a bridge too, and still run.
engines_left() {
  local exe
  for exe in /proc/[0-9]*/exe; do
    [ "$(readlink "$exe" 2>/dev/null)" = "$engine" ] || continue
    if tr '\0' '\n' 2>/dev/null <"${exe%exe}environ" | grep -qx "HOME=$room"; then
      echo "$exe"
    fi
  done
}

still_running() {
  local pid
  while read -r pid; do
    if kill -0 "$pid" 2>/dev/null; then echo "$pid"; fi
  done <"$room/pids"
  engines_left
}

# Nothing the engine said or did stood out, and it is gone.
check_conduct() {
  [ "$(said 'Illegal move')" = 0 ] || complain "the engine took a move for illegal"
  [ "$(said 'Error$')" = 0 ] || complain "the engine did not understand a position"
  ! grep -qiE 'illegal move|exited unexpectedly|fatal|failed to start' "$room/log" ||
    complain "xboard found fault with an engine"
  for _ in $(seq 30); do
    [ -n "$(still_running)" ] || return 0
    sleep 0.1
  done
  complain "still running: $(still_running)"
  pkill -9 -F "$room/pids" || true
}

# All games were played to a proper end.
check_games() {
  local games=$1
  [ "$(count '^\[Result "(1-0|0-1|1/2-1/2)"\]' "$room/games")" = "$games" ] ||
    complain "not $games finished games"
  ! tr '\n' ' ' <"$room/games" | grep -qiE '\{[^}]*(forfeit|illegal|exit|crash|on time|false)[^}]*\} *(1-0|0-1|1/2)' ||
    complain "a game ended by a fault"
  [ "$(said 'move ')" -ge $((8 * games)) ] || complain "the engine hardly moved"
  for colour in White Black; do
    [ "$(count "^\[$colour \"veltramox\"\]" "$room/games")" = $((games / 2)) ] ||
      complain "the engine did not play $colour in half of the games"
  done
}

begin() {
  for file in log games pids; do : >"$room/$file"; done
  what=$1
  good=1
  began=$SECONDS
}

finish() {
  if [ "$good" = 1 ]; then
    passed=$((passed + 1))
    echo "passed: $what ($((SECONDS - began)) s)"
  else
    failed=$((failed + 1))
    echo "FAILED: $what ($((SECONDS - began)) s)"
    tail -n 40 "$room/log" "$room/xboard.out" 2>/dev/null || true
  fi
}

# play WHAT GAMES OPTION...
play() {
  begin "$1"
  local games=$2
  shift 2
  local status=0
  (games_xboard -scp fairymax -matchGames "$games" -movesPerSession 40 -timeControl 0:05 \
    "$@") &
  wait_for $! 300 || status=$?
  [ "$status" = 0 ] || complain "xboard ended with status $status"
  check_games "$games"
  check_conduct
}

# until_log COMMAND...: waits up to ten seconds for it to succeed.
until_log() {
  for _ in $(seq 100); do
    "$@" && return
    sleep 0.1
  done
  complain "in vain waited for: $*"
}
at_least() { [ "$("$2" "$3")" -ge "$1" ]; }

# analyse WHAT MOVE OPTION...: MOVE is how xboard sends e2e4.
analyse() {
  begin "$1"
  local move=$2 status=0 before
  shift 2
  (games_xboard -initialMode analysis "$@") &
  local pid=$!
  until_log at_least 1 sent analyze
  until_log at_least 5 said '[0-9]+ -?[0-9]+ '
  until_log at_least 1 said 'stat01: '
  find_board
  xdotool windowfocus "$board"
  xdotool type --delay 100 'e2e4'
  press Return
  until_log at_least 1 sent "$move"
  press ctrl+e
  until_log at_least 1 sent exit
  press ctrl+a
  until_log at_least 2 sent analyze
  before=$(said 'stat01: ')
  until_log at_least $((before + 1)) said 'stat01: '
  press ctrl+q
  wait_for "$pid" 20 || status=$?
  [ "$status" = 0 ] || complain "xboard ended with status $status"
  [ "$(said 'move ')" = 0 ] || complain "the engine moved in analysis"
  check_conduct
  finish
}

named_veltramox() { xdotool search --onlyvisible --name '^xboard: Veltramox$' >/dev/null; }

# The command that README has for xboard, from the program's folder.
readme_command() {
  begin "README's command: the name in xboard"
  local words pid
  read -ra words < <(grep -m 1 '^ *xboard -fcp ' "$here/../../README.md")
  words[2]=$here/../../${words[2]}
  (VELTRAMOX_GAME=$room/game xboard_here "${words[@]:1}") &
  pid=$!
  until_log named_veltramox
  until_log at_least 1 said 'Veltramox v'
  kill "$pid"
  wait "$pid" || true
  check_conduct
  finish
}

# pychess_games PROTOCOL
pychess_games() {
  begin "bridge, $1: games of PyChess's engine classes"
  (cd "$room" && timeout 400 /usr/bin/python3 "$here/pychess_games.py" "$room/veltramox" "$1" 2) \
    >"$room/xboard.out" 2>&1 || complain "a game had no proper end"
  [ "$(grep -c half-moves "$room/xboard.out")" = 2 ] || complain "not two games"
  check_conduct
  finish
}

end_of_tests() {
  echo "$passed passed, $failed failed"
  [ "$failed" = 0 ]
}
