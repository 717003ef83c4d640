"""How good maps, tracks and locations are on logs that robots recorded, for scripts/judge-logs.

Poses are rows x, y, theta of an array of doubles, in metres and radians.
"""
