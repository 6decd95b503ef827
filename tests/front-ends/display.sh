# For scripts that drive xboard on a display of its own; to be sourced. Sets `room`, a folder
# that is HOME and goes away at the end, and DISPLAY.
export PATH=$PATH:/usr/games # where Debian puts such programs
"$here/../../tools/setup.sh" xboard:xboard xvfb:Xvfb xdotool:xdotool
room=$(mktemp -d)
export HOME=$room
unset XDG_DATA_HOME VELTRAMOX_GAME
display_pid=

clean_up() {
  [ -z "$display_pid" ] || kill "$display_pid" 2>/dev/null || true
  rm -rf "$room"
}
trap clean_up EXIT

# start_display SIZE: of the screen, like 1024x768.
start_display() {
  # -noreset: else the server begins anew whenever its last client goes, and refuses one that
  # comes just then.
  Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp -noreset \
    3>"$room/display" >"$room/xvfb.log" 2>&1 &
  display_pid=$!
  for _ in $(seq 100); do
    [ -s "$room/display" ] && break
    sleep 0.1
  done
  [ -s "$room/display" ] || { cat "$room/xvfb.log"; exit 1; }
  DISPLAY=:$(cat "$room/display")
  export DISPLAY
}

# xboard with settings of its own (it looks for the usual ones where the user's entry in the
# password file says, whatever HOME is), its log in $room/log.
xboard_here() {
  cd "$room"
  exec xboard -settingsFile "$room/settings" -saveSettingsFile "$room/settings" \
    -debug -nameOfDebugFile "$room/log" -startupMessage "" -popupExitMessage false \
    -popupMoveErrors false -soundMove "" "$@" >"$room/xboard.out" 2>&1
}

# wait_until COMMAND...: for at most ten seconds.
wait_until() {
  for _ in $(seq 100); do
    if "$@"; then return; fi
    sleep 0.1
  done
  echo "  in vain waited for: $*"
  return 1
}

# wait_for PID SECONDS: its exit status; 124 when it had to be killed.
wait_for() {
  for _ in $(seq $((10 * $2))); do
    kill -0 "$1" 2>/dev/null || break
    sleep 0.1
  done
  if kill -0 "$1" 2>/dev/null; then
    kill "$1"
    wait "$1" || true
    return 124
  fi
  wait "$1"
}

# The window of the board; its title changes with the game, and so it is looked up once.
board=
board_is_there() {
  board=$(xdotool search --onlyvisible --name '^xboard' 2>/dev/null | head -n 1)
  [ -n "$board" ]
}
press() {
  xdotool windowfocus "$board"
  xdotool key "$1"
}
