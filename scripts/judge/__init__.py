"""How good maps, tracks and locations are on logs that robots recorded: what scripts/judge-logs uses.

Poses are rows x, y, theta of an array of doubles, in metres and radians.
"""
