// Distances to the nearest zero pixel. They are the library's own, and so the same with every
// release of OpenCV: the bits that cvDistTransform(bytes, distances, CV_DIST_L2, 3) of OpenCV 4.6
// gives, in a fraction of its time. Later releases give others where there is no zero.
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
// checked, and are taken whole; images without pixels are fine. Linear in the pixels.
void chamferDistances(const IplImage& bytes, IplImage& distances);

// The same of the regions of interest of two images that may be anything. A null image, one of
// another kind or without memory, a selected channel and regions of different sizes are OpenCV's
// error, which names `function`, raised before anything is written.
void chamferDistancesInRegions(const IplImage* bytes, IplImage* distances, const char* function);

}  // namespace Brin
