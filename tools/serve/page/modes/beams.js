// A scan on the map: the room that its beams cross, and what they hit.

/** Where the beams of a scan taken at `pose` end. */
export function beamEnds(pose, { angles, ranges }) {
  return ranges.map((range, i) => ({
    x: pose.x + range * Math.cos(pose.theta + angles[i]),
    y: pose.y + range * Math.sin(pose.theta + angles[i]),
  }));
}

/** Draws a scan: its room as a tint, its hits as dots. */
export function drawBeams(pen, pose, scan) {
  const isFinite = scan.ranges.map((range) => range !== null);
  const ends = beamEnds(pose, scan).filter((_, i) => isFinite[i]);
  const hits = scan.hits.filter((_, i) => isFinite[i]);
  const span = scan.angles.at(-1) - scan.angles[0];
  const isWhole = span > 2 * Math.PI - 2 * (span / scan.angles.length);
  pen.area(isWhole ? ends : [pose, ...ends], "accent", 0.16);
  pen.dots(ends.filter((_, i) => hits[i]), 2, "goal");
}
