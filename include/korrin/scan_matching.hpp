// How well a scan, or a set of points, fits a reference scan when placed at a pose.
//
//   Brin::ScanDistMap reference;
//   reference.build(scan, {0.0f, 0.0f, 0.0f}, 0.05f);                  // 5 cm a pixel
//   int matching = 0;
//   float fit = reference.score(otherScan, guess, 0.5f, &matching);    // 1 is a perfect fit
//   cvReleaseImage(&reference.distanceMap);                            // the caller's to release
//   cvReleaseImage(&reference.laserImage);
//
// The reference scan is drawn into a picture, and a distance map holds for every pixel of it the
// distance, in pixels, to the nearest hit. A score looks that distance up under each point: on a
// hit a point adds the cut-off distance, farther away less, and beyond the cut-off nothing.
//
// Frames: points and scans are in their own sensor's frame (metres, radians); a pose places them
// in the reference's frame, whose origin is the picture's pixel (S / 2, S / 2), columns growing
// along x and rows along y, `resolution` metres to the pixel. S is the distance map's height.
//
// Distance maps are read as squares of side S, row after row without a gap: pixel (row, col) is
// the float row * S + col. Others are not supported: a map wider than high, or one whose rows are
// padded, is read in that way all the same, and one narrower than high is OpenCV's error.
#pragma once

#include <opencv2/core/types_c.h>

#include <cstdint>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace Brin {

// Makes the distance map of a scan's picture: in `*distanceMap`, one float a pixel, the distance in
// pixels to the nearest 0 in `*laserImage`: the chamfer distance of the 3 x 3 mask (Borgefors
// 1986), up to 5 % off the Euclidean one and never above 8192, which is also the distance where
// there is no 0 at all. It is the library's own, with the bits of cvDistTransform of OpenCV 4.6
// whatever the release that is linked.
//
// A null `*laserImage` is drawn first: drawLaser(scan, pose, laserImage, resolution, true, 0). One
// that exists is used as it is, 8 bits and one channel, and then the scan is not looked at.
// A null `*distanceMap` is created in the picture's size, and one of another width is replaced.
// One of equal width is kept even if its height differs, and then refused. Of an image with a
// region of interest that region is taken.
//
// The caller owns both images (cvReleaseImage). Null arguments, images of another kind or without
// pixels' memory, a selected channel and a kept distance map of another height are OpenCV's error
// (cv::Exception), raised before any distance is written.
// Linear in readings and pixels; safe on distinct images from any thread.
KORRIN_EXPORT void buildLaserDistance(const Scan& scan, const Pose2D& pose, IplImage** laserImage,
                                      IplImage** distanceMap, float resolution);

// The fit of every step-th of `points` (0, step, 2 * step, ...; metres), placed at `pose`, in [0,
// 1]: the mean over all of them of 1 - d / maxDist, where d is the distance looked up, and of 0
// where d is above `maxDist` (metres; a d equal to it still counts as a match, and adds 0) or the
// point is off the map. Not-a-number, as with maxDist 0, becomes 0.
//
// The pixel of a point, along each axis, is trunc(offset / resolution + 0.5) + S / 2, truncated
// towards zero, all in float. A point that is not a number, or far outside, is off the map.
//
//   count        if not null, gets the number of matches times `step` (saturated to an int): an
//                estimate for all the points. Left alone when there are no points.
//   debugImage   if not null: white (255) with a black pixel (0) for each match. A null
//                `*debugImage` is created in the map's size, 8 bits and one channel, and the caller
//                owns it. It is whitened even if there are no points.
//   step         at least 1; else the score is 0, nothing is written and one record (Warning) says
//                so.
//
// No points score 0. A null `distanceMap`, one that is not of one float channel or is narrower than
// high, and a `*debugImage` of another size or kind are OpenCV's error, raised before anything is
// written. Linear in the points visited, without allocation but for the debug image; safe from
// several threads on one distance map, with a debug image each.
KORRIN_EXPORT float scanScore(const IplImage* distanceMap, const std::vector<Point2D>& points,
                              const Pose2D& pose, float resolution, float maxDist, int* count,
                              IplImage** debugImage, int step);

// The same for a scan: every step-th of its readings, save those of status 1 (no hit), which count
// for nothing. When no reading remains the score is 0 and `*count` is left alone.
//
// A reading's pixel is computed from its range and its bearing angle + pose.theta, with sine,
// cosine and all that follows in double precision, just as drawLaser does: a scan scores 1 on its
// own distance map, at the pose (0, 0, 0), where it was built with a heading of 0.
KORRIN_EXPORT float scanScore(const IplImage* distanceMap, const Scan& scan, const Pose2D& pose,
                              float resolution, float maxDist, int* count, IplImage** debugImage,
                              int step);

// A reference scan's distance map with its resolution. Scoring leaves it unchanged, so several
// threads may score on one; build must not run at the same time.
//
// It has no destructor of its own, deliberately: whoever holds it releases the two images
// (cvReleaseImage) before it goes. Copies share them.
class KORRIN_EXPORT ScanDistMap {
 public:
  float resolution = 0.0f;          // metres per pixel
  std::int32_t step = 1;            // every step-th point is scored
  IplImage* distanceMap = nullptr;  // distance to the nearest hit, in pixels; null before build
  IplImage* laserImage = nullptr;   // the reference's picture: hits 0, all else 255

  ScanDistMap() = default;

  // Draws `scan`, turned by pose.theta (drawLaser says how), and makes its distance map at
  // `resolution` metres per pixel. The images of an earlier build are drawn over, or replaced when
  // their size no longer fits. Without memory for that, what was built before stays, or nothing is
  // built. Linear in readings and pixels.
  void build(const Scan& scan, const Pose2D& pose, float resolution);

  // scanScore on this map, at its resolution and step, without a debug image. Before build it is
  // OpenCV's error.
  float score(const std::vector<Point2D>& points, const Pose2D& pose, float maxDist,
              int* count) const;
  float score(const Scan& scan, const Pose2D& pose, float maxDist, int* count) const;

  // The score of points given in pixels of this map, relative to its centre pixel; `pose` and
  // `maxDist` are in metres all the same. It differs from scanScore in two more ways: a distance
  // must lie strictly below `maxDist` to count, and a point is on the map only from -(S / 2) up
  // to, not including, S / 2 pixels from the centre along each axis, so that an odd S's last
  // column and row are never reached. Bad arguments, `count` and cost as for scanScore.
  float scorePxlScan(const std::vector<Point2D>& points, const Pose2D& pose, float maxDist,
                     int* count) const;
};

}  // namespace Brin
