# shellcheck shell=bash
# The engine itself under xboard.

make_engine "$engine"

play "both colours, without pondering" 2 -xponder
[ "$(said 'Hint: ')" = 0 ] || complain "the engine pondered all the same"
finish

play "both colours, pondering" 2 -ponder -firstProtocolVersion 1
[ "$(said 'Hint: ')" -ge 10 ] || complain "the engine did not ponder"
finish

play "from positions with either side to move" 4 -xponder -firstProtocolVersion 1 \
  -loadPositionFile positions -loadPositionIndex -2
[ "$(sent edit)" -ge 4 ] || complain "the positions were not set up by edit"
for side in w b; do
  [ "$(count "^\[FEN \".* $side .*\"\]" "$room/games")" = 2 ] ||
    complain "not two games from the position with $side to move"
done
finish

analyse "analysis on, a move, off, on again, quit" e2e4 -firstProtocolVersion 1
readme_command
