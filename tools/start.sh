#!/bin/sh
# Starts the engine, or the program that speaks for it, in the player's game folder: the engine
# reads its settings, book and tables in the folder it runs in and writes there what it learns.
#   start.sh DATA TOOL PROGRAM [ARGUMENT...]
# DATA holds the Veltramox.ini, Book.vlx and tables that a new folder begins with, TOOL is
# veltramox-tool. The folder is $VELTRAMOX_GAME, else veltramox in the user's data directory.
# "--tables" as the first argument makes the endgame tables of four men there.
# Standard output belongs to the program: everything said here goes to standard error.
set -eu
unset CDPATH
data=$(cd "$1" && pwd)
tool=$2
program=$3
shift 3

# Help and version need no game folder.
for argument; do
  case $argument in
    -h | --help | --version) exec "$program" "$argument" ;;
  esac
done

complain() { printf 'veltramox: %s\n' "$*" >&2; }

# Only an absolute path counts for $XDG_DATA_HOME.
default_folder() {
  case ${XDG_DATA_HOME-} in
    /*) printf '%s\n' "$XDG_DATA_HOME/veltramox" ;;
    *) printf '%s\n' "${HOME-}/.local/share/veltramox" ;;
  esac
}

# A copy of the player's own, complete when it appears: two engines may start at once. When the
# disk is full, or the copying is ended, nothing of it stays.
place() {
  if [ -e "$game/$1" ] || [ ! -e "$data/$1" ]; then return 0; fi
  copy=$game/$1.$$
  trap 'rm -f "$copy"; exit 1' HUP INT TERM
  placed=0
  # Never over a file that another engine has meanwhile put there, and opened.
  { cp "$data/$1" "$copy" && chmod u+w "$copy" &&
    { ln "$copy" "$game/$1" || [ -e "$game/$1" ] || mv "$copy" "$game/$1"; }; } 2>/dev/null ||
    placed=1
  rm -f "$copy"
  trap - HUP INT TERM
  return "$placed"
}

# The tables are only read and so need no copy; a link that leads nowhere is set anew.
link_tables() {
  if [ -e "$game/tables" ] || [ ! -d "$data/tables" ]; then return 0; fi
  ln -sfn "$data/tables" "$game/tables" 2>/dev/null
}

# False when what belongs in the folder cannot be put there: it is read-only, or the disk is full.
fill_folder() { place Book.vlx && link_tables && place Veltramox.ini; }

# The settings may have switched tables off, or name other ones.
use_own_tables() {
  settings=$game/Veltramox.ini
  sed -i -e 's/^UseEGTB=off/UseEGTB=on/I' -e 's/^EGTBPath= *$/EGTBPath=tables/I' "$settings"
  grep -qi '^EGTBPath=\(.*[;,]\)\{0,1\}tables' "$settings" ||
    sed -i 's/^\(EGTBPath=[^[:cntrl:]]*\)/\1;tables/I' "$settings"
  grep -qi '^EGTBPath=' "$settings" || echo EGTBPath=tables >>"$settings"
}

# Beside those of three men, in a directory that is the player's own.
make_tables() {
  VELTRAMOX_GAME=$game "$tool" tables make --men 4 </dev/null >&2
  use_own_tables
}

# Someone at the keyboard has no front end that keeps the clock, and without a clock the
# engine thinks until it is told to move: it gets two minutes, which nobody counts down, and
# so moves within some seconds. An interrupt ends its input, and so the engine.
play_at_keyboard() {
  room=$(mktemp -d)
  mkfifo "$room/keys"
  exec 3<&0
  { echo "time 12000" && exec cat; } <&3 >"$room/keys" &
  keyboard=$!
  trap 'kill "$keyboard" 2>/dev/null' INT TERM HUP
  "$program" <"$room/keys" &
  engine=$!
  status=0
  wait "$engine" || status=$?
  if kill -0 "$engine" 2>/dev/null; then # it was the waiting that was interrupted
    status=0
    wait "$engine" || status=$?
  fi
  kill "$keyboard" 2>/dev/null || true
  rm -rf "$room"
  exit "$status"
}

game=${VELTRAMOX_GAME:-$(default_folder)}
if mkdir -p "$game" 2>/dev/null && game=$(cd "$game" && pwd) && [ -w "$game" ] && fill_folder; then
  :
elif [ -n "${VELTRAMOX_GAME-}" ]; then
  complain "the game folder $game cannot be used"
  exit 1
else
  complain "no game folder can be made or filled at $game; nothing will be learned"
  game=$data
fi

if [ "${1-}" = --tables ]; then
  shift
  make_tables
fi

# A name relative to the folder that the player stands in.
case ${1-} in
  -p*)
    if [ "${2-}" = --fresh ] && [ $# = 3 ]; then set -- "$1" "$3" --fresh; fi
    case ${2-} in
      /* | '') ;;
      *)
        games=$PWD/$2
        option=$1
        shift 2
        set -- "$option" "$games" "$@"
        ;;
    esac
    ;;
esac

cd "$game"
if [ $# = 0 ] && [ -t 0 ]; then play_at_keyboard; fi
exec "$program" "$@"
