// Distances to the nearest zero pixel: the bits of cvDistTransform(bytes, distances, CV_DIST_L2, 3)
// in a fraction of its time.
//
//   chamferDistances(*bytes, *distances);
//
// The chamfer distance of the 3 x 3 mask (Borgefors 1986), in units of 2^-16 pixels: a step along
// a row or column counts 62587 (0.955), a diagonal one 89738 (1.3693). Nothing is farther than
// 2^29, that is 8192 pixels, which is also the distance where there is no zero at all. A way down
// the image gives each pixel the least of what the row above and the pixel on the left lead to, a
// way up the same from below and from the right.
#pragma once

#include <opencv2/core/types_c.h>

namespace Brin {

// `bytes` (8-bit) and `distances` (32-bit float) have one channel and the same size, which is not
// checked; images without pixels are fine. Linear in the pixels.
void chamferDistances(const IplImage& bytes, IplImage& distances);

}  // namespace Brin
