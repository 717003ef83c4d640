// The frame of a map: world poses (metres, radians) to cells and back, as the library's
// getPixelFromPose and getPoseFromPixel do. Cells here may have a fraction: cell (2, 3) covers
// columns 2 to 3 and rows 3 to 4, and its centre is (2.5, 3.5).

/** The grid of a map of `width` x `height` cells whose cell (0, 0) has its centre at `origin`. */
export function makeGrid({ width, height, resolution, origin }) {
  const cosine = Math.cos(origin.theta);
  const sine = Math.sin(origin.theta);
  return {
    width,
    height,
    resolution,
    origin,

    /** Where a world point lies among the cells. */
    toCell({ x, y }) {
      const dx = x - origin.x;
      const dy = y - origin.y;
      return {
        x: (cosine * dx + sine * dy) / resolution + 0.5,
        y: (cosine * dy - sine * dx) / resolution + 0.5,
      };
    },

    /** The world point at a place among the cells. */
    toWorld({ x, y }) {
      const right = (x - 0.5) * resolution;
      const up = (y - 0.5) * resolution;
      return {
        x: origin.x + cosine * right - sine * up,
        y: origin.y + sine * right + cosine * up,
      };
    },

    /** A heading in the world as one seen from the map's rows, and back. */
    headingToCells: (theta) => theta - origin.theta,
    headingToWorld: (theta) => wrapAngle(theta + origin.theta),

    contains: ({ x, y }) => x >= 0 && y >= 0 && x < width && y < height,
  };
}

/** The angle between -pi and pi that points the same way. */
export function wrapAngle(angle) {
  return Math.atan2(Math.sin(angle), Math.cos(angle));
}

/** The pose of a sensor's point in the world: `pose` then `point` in its frame. */
export function fromSensor(pose, point) {
  const cosine = Math.cos(pose.theta);
  const sine = Math.sin(pose.theta);
  return {
    x: pose.x + cosine * point.x - sine * point.y,
    y: pose.y + sine * point.x + cosine * point.y,
  };
}
