# Sourced by bench/match: the same match by fastchess or cutechess-cli, for which the openings are
# made and whose games are evaluated by veltramox-match. Needs $root and $runner, the latter.

# Its games as lines of a match: rounds are pairs, and in each A begins with White or comes to it.
game_lines() {
  awk '
    function tag(line) { sub(/^[^"]*"/, "", line); sub(/"\]$/, "", line); return line }
    /^\[White "/ { white = tag($0) }
    /^\[Round "/ { round = int(tag($0)) }
    /^\[Result "/ { result = tag($0); end = "" }
    /^\[PlyCount "/ { plies = int(tag($0)) }
    /^\[Termination "/ { end = tag($0) }
    /^$/ && result != "" {
      if (result != "*") {
        kind = ""
        if (end ~ /time/) kind = "time"
        if (end ~ /illegal/) kind = "illegal"
        if (end ~ /disconnect|abandon|stall|crash/) kind = "crash"
        loser = white
        if (result == "1-0") loser = white == "A" ? "B" : "A"
        printf "game %d white %s result %s plies %d fault %s %s\n", 2 * round - 1 + seen[round]++,
          white, result, plies, (kind == "" ? "-" : loser ":" kind), end
      }
      result = ""
    }' "$1"
}

# foreign_match PROGRAM A B CLOSING... -- OPTION...: A and B as for veltramox-match, CLOSING options
# of its "evaluate", OPTION those that the other program knows too.
foreign_match() {
  local program=$1 kind folder word
  kind=$(basename "$program")
  local games=100 tc=1+0.01 limit='' elo0='' elo1='' alpha=0.05 beta=0.05 jobs seed=1 openings='' pgn=''
  local margin=50 hash='' closing=()
  jobs=$(nproc)
  local engine_a=() engine_b=() each=() test=()
  engine_words() {
    local words
    read -ra words <<<"${2#*:}"
    printf '%s\n' "name=$1" "cmd=${words[0]}" "proto=${2%%:*}"
    if [ "$kind" = fastchess ]; then
      [ ${#words[@]} = 1 ] || printf 'args=%s\n' "${words[*]:1}"
    else
      for word in "${words[@]:1}"; do printf 'arg=%s\n' "$word"; done
    fi
  }
  mapfile -t engine_a < <(engine_words A "$2")
  mapfile -t engine_b < <(engine_words B "$3")
  shift 3
  while [ "$1" != -- ]; do
    closing+=("$1")
    shift
  done
  shift
  while [ $# -gt 0 ]; do
    [ $# -ge 2 ] || { echo "$1: its value is missing" >&2; return 2; }
    case $1 in
      --option-a) engine_a+=("option.$2") ;;
      --option-b) engine_b+=("option.$2") ;;
      --nodes | --depth) limit=${1#--}=$2 ;;
      --games | --tc | --elo0 | --elo1 | --alpha | --beta | --jobs | --seed | --openings | --pgn | \
        --margin | --hash) printf -v "${1#--}" %s "$2" ;;
      *) echo "$1: not with $kind" >&2; return 2 ;;
    esac
    shift 2
  done
  [ -z "$hash" ] || each+=("option.Hash=$hash")
  if [ -n "$limit" ]; then each+=("$limit" tc=inf); else each+=("tc=$tc" "timemargin=$margin"); fi
  if [ -n "$elo0$elo1" ]; then
    test=(-sprt "elo0=${elo0:-0}" "elo1=${elo1:-5}" "alpha=$alpha" "beta=$beta")
    [ "$kind" != fastchess ] || test+=(model=logistic)
    closing+=(--elo0 "${elo0:-0}" --elo1 "${elo1:-5}" --alpha "$alpha" --beta "$beta")
  fi
  folder=$(mktemp -d)
  openings=$(if [ -n "$openings" ]; then realpath "$openings"; fi)
  if [ -z "$openings" ]; then
    openings=$folder/openings.epd
    "$runner" openings $(((games + 1) / 2)) --seed "$seed" --lines "$root/book/openings.txt" \
      >"$openings"
  fi
  (cd "$folder" && exec "$program" -engine "${engine_a[@]}" -engine "${engine_b[@]}" \
    -each "${each[@]}" -openings "file=$openings" format=epd order=sequential \
    -rounds $(((games + 1) / 2)) -games 2 -repeat -concurrency "$jobs" ${test[@]+"${test[@]}"} \
    -recover -draw movenumber=34 movecount=8 score=10 \
    -resign movecount=4 score=600 twosided=true -pgnout "$(
      if [ "$kind" = fastchess ]; then echo "file=$folder/games.pgn"; else echo "$folder/games.pgn"; fi
    )" >&2) || { rm -rf "$folder"; return 2; }
  [ -z "$pgn" ] || cat "$folder/games.pgn" >>"$pgn"
  local status=0
  game_lines "$folder/games.pgn" | "$runner" evaluate "${closing[@]}" || status=$?
  rm -rf "$folder"
  return "$status"
}
