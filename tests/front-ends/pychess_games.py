#!/usr/bin/python3
"""Games between PyChess's own engine classes, without its windows: the bridge in one of its
protocols against Fairy-Max, with PyChess's clock and its judgement of moves and results. Long
games are called off as drawn.
    pychess_games.py BRIDGE xboard|uci GAMES
Prints one line a game and ends with status 0 when every game had a proper end."""
import asyncio
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("GdkPixbuf", "2.0")
sys.argv, arguments = sys.argv[:1], sys.argv[1:]

from pychess.System import conf
from pychess.Players.CECPEngine import CECPEngine
from pychess.Players.engineNest import discoverer
from pychess.Utils.GameModel import GameModel
from pychess.Utils.TimeModel import TimeModel
from pychess.Utils.const import BLACK, DRAW, WHITE, WHITEWON, BLACKWON
from pychess.Utils.const import (DRAW_50MOVES, DRAW_INSUFFICIENT, DRAW_REPETITION,
                                 DRAW_STALEMATE, WON_MATE, WON_RESIGN, DRAW_ADJUDICATION)
from pychess.Variants import variants
from pychess.Utils.const import NORMALCHESS

SECONDS, GAIN = 6, 1
LONGEST = 30  # half-moves
PROPER = {WON_MATE, WON_RESIGN, DRAW_50MOVES, DRAW_INSUFFICIENT, DRAW_REPETITION, DRAW_STALEMATE,
          DRAW_ADJUDICATION}
STRONGEST = 20


async def play(bridge, protocol, colour):
    conf.set("book_depth_max", 0)
    model = GameModel(TimeModel(SECONDS, GAIN))
    ours = {"name": "bridge", "protocol": protocol, "command": bridge, "md5": "0"}
    other = {"name": "fairymax", "protocol": "xboard", "protover": 2,
             "command": "/usr/games/fairymax", "md5": "1"}
    players = []
    for side in (WHITE, BLACK):
        engine = ours if side == colour else other
        players.append(await discoverer.initPlayerEngine(
            engine, side, STRONGEST, variants[NORMALCHESS], SECONDS, GAIN))
    model.setPlayers(players)
    ended = asyncio.Event()
    model.connect("game_ended", lambda *_: ended.set())
    least = [float(SECONDS)]

    def watch(*_):
        least[0] = min(least[0], model.timemodel.getPlayerTime(colour))
        if len(model.moves) >= LONGEST:
            model.end(DRAW, DRAW_ADJUDICATION)

    model.connect("game_changed", watch)
    for player in players:
        if isinstance(player, CECPEngine):
            player.setOptionInitialBoard(model)
    model.start()
    try:
        await asyncio.wait_for(ended.wait(), 300)
    except asyncio.TimeoutError:
        print("no end after", len(model.moves), "moves")
        return False
    result = {DRAW: "1/2-1/2", WHITEWON: "1-0", BLACKWON: "0-1"}.get(model.status, "?")
    good = model.reason in PROPER and least[0] > 0
    print("%s as %s: %s, reason %s, %d half-moves, least time %.2f s%s" % (
        protocol, "White" if colour == WHITE else "Black", result, model.reason,
        len(model.moves), least[0], "" if good else "  <- not a proper end"))
    sys.stdout.flush()
    for player in players:
        player.kill(model.reason)
    await asyncio.sleep(1)
    return good


async def main(bridge, protocol, games):
    good = True
    for i in range(games):
        good = await play(bridge, protocol, WHITE if i % 2 == 0 else BLACK) and good
    return good


sys.exit(0 if asyncio.get_event_loop().run_until_complete(
    main(arguments[0], arguments[1], int(arguments[2]))) else 1)
