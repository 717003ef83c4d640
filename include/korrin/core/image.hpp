// Pictures of scans, in OpenCV images.
//
//   IplImage* picture = nullptr;
//   Brin::drawLaser(scan, {0.0f, 0.0f, 0.0f}, &picture, 0.05f, true, 0);
//   // ... black pixels where the scan hit something, the sensor at (side / 2, side / 2)
//   cvReleaseImage(&picture);
#pragma once

#include <opencv2/core/types_c.h>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace Brin {

// A new image with undefined pixels and a top-left origin; `depth` 8 stands for unsigned bytes, 32
// for floats. The caller owns it (cvReleaseImage). A negative or too large size, or another depth,
// is OpenCV's error.
KORRIN_EXPORT IplImage* createFlippedImage(CvSize size, int depth, int channels);

// Draws the hits of `scan` (status 0, finite range and angle) with `value` into the 8-bit,
// one-channel, square `*image`, at `resolution` metres per pixel. The sensor is its centre pixel
// (side / 2, side / 2); columns grow along x, rows along y; the scan is turned by pose.theta, and
// the position of `pose` does not shift the picture. Each hit is in the pixel where scanScore
// looks for it at the pose (0, 0, pose.theta), so that a scan fits its own picture with score 1.
//
//   flag true: the image gets the side that this scan needs (a multiple of 4, at most 8192; an
//     image of another size or kind, or without pixels, is replaced) and is cleared to 255 first.
//   flag false: drawn over as it is; a missing image is made as above.
//
// The caller owns `*image`. Hits outside the image are skipped; a resolution that is not positive
// draws nothing. A null `image`, or with flag false one of another kind or without pixels, is
// OpenCV's error. Linear in readings and pixels.
KORRIN_EXPORT void drawLaser(const Scan& scan, const Pose2D& pose, IplImage** image,
                             float resolution, bool flag, char value);

}  // namespace Brin
