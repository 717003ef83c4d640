#include "tools/pictures/match_picture.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "io/write_file.hpp"
#include "tools/format.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/pictures/scan_picture.hpp"

namespace korrin_tool {
namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapParams;
using Brin::Point2D;
using Brin::Pose2D;

// A frame of the same place, grown at its borders to `width` : `height`.
OccupancyMapParams grownTo(OccupancyMapParams frame, double ratio) {
  const auto grow = [&](int& side, float& origin, double wanted) {
    const int more = std::max(0, static_cast<int>(wanted) - side);
    side += more;
    origin -= static_cast<float>(more / 2) * frame.resolution;
  };
  if (frame.width < ratio * frame.height) {
    grow(frame.width, frame.origin.x, ratio * frame.height);
  } else {
    grow(frame.height, frame.origin.y, frame.width / ratio);
  }
  return frame;
}

Canvas drawScans(const MatchToDraw& match) {
  std::vector<Point2D> inView = nearestOf(match.reference, 0.95);
  inView.emplace_back(0.0f, 0.0f);
  for (const Point2D& point : nearestOf(match.points, 0.95)) {
    inView.push_back(match.best.pose.absProject({point.x, point.y, 0.0f}));
  }
  const OccupancyMapParams frame = grownTo(frameAround(inView, 0.05f, 0.5f), 1.0);
  Canvas canvas(frame, 1000);
  OccupancyMap background(frame, false);
  background.reset(1.0f);
  canvas.drawMap(background);
  drawPoints(canvas, match.points, {}, 5.0, palette::kGoal);
  drawPoints(canvas, match.reference, {}, 6.0, palette::kInk);
  drawPoints(canvas, match.points, match.best.pose, 3.5, mix(palette::kPath, palette::kPaper, 0.2));
  canvas.heading({}, 26.0, palette::kGoal);
  canvas.heading(match.best.pose, 26.0, palette::kPath);
  canvas.scaleBar();
  canvas.legend({{palette::kInk, "reference"},
                 {palette::kGoal, "scan, unmatched"},
                 {palette::kPath, "scan, matched"}});
  return canvas;
}

// The scores between the median, which is what no match looks like, and the best.
double shareOf(float score, float median, float best) {
  if (best <= median) return score >= best ? 1.0 : 0.0;
  return std::clamp(static_cast<double>((score - median) / (best - median)), 0.0, 1.0);
}

Canvas drawScores(const MatchToDraw& match) {
  const int shifts = match.grid.shiftsX();
  const int side = 2 * shifts + 1;
  const std::vector<float>& scores = match.scores;
  std::vector<float> sorted = scores;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());

  OccupancyMapParams frame(side, side, match.grid.step);
  frame.origin.x = frame.origin.y = -static_cast<float>(shifts) * match.grid.step;
  Canvas canvas(frame, 1000);
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const auto i = static_cast<std::size_t>(y) * static_cast<std::size_t>(side) +
                     static_cast<std::size_t>(x);
      canvas.fillCell(x, y, heat(shareOf(scores[i], *middle, match.best.score)));
    }
  }
  const float reach = static_cast<float>(shifts) * match.grid.step;
  canvas.line({-reach, 0.0f}, {reach, 0.0f}, palette::kFaint, 1);
  canvas.line({0.0f, -reach}, {0.0f, reach}, palette::kFaint, 1);
  const std::string end = " = " + formatShort(double{reach}) + " m";
  canvas.label({reach, 0.0f}, "x" + end, Anchor::Left);
  canvas.label({0.0f, reach}, "y" + end, Anchor::Below);
  canvas.circle(match.logged, 13, palette::kPaper, 6);
  canvas.circle(match.logged, 13, palette::kGoal, 3);
  canvas.disc(match.best.pose, 8, palette::kPath);
  canvas.scaleBar();
  canvas.legend({{heat(1.0), "good fit"},
                 {heat(0.0), "poor fit"},
                 {palette::kPath, "best"},
                 {palette::kGoal, "logged"}});
  return canvas;
}

// The right one is scaled to the height of the left one, and both to what a picture may be.
cv::Mat sideBySide(const cv::Mat& left, const cv::Mat& right) {
  constexpr int kGap = 12;
  const double scale = static_cast<double>(left.rows) / right.rows;
  cv::Mat scaled;
  cv::resize(right, scaled, cv::Size(static_cast<int>(scale * right.cols), left.rows), 0.0, 0.0,
             scale < 1.0 ? cv::INTER_AREA : cv::INTER_CUBIC);
  cv::Mat both(left.rows, left.cols + kGap + scaled.cols, left.type(), cv::Scalar::all(255));
  left.copyTo(both(cv::Rect(0, 0, left.cols, left.rows)));
  scaled.copyTo(both(cv::Rect(left.cols + kGap, 0, scaled.cols, scaled.rows)));
  const double most = Canvas::kLongestSide;
  if (both.cols <= most) return both;
  cv::Mat limited;
  const double share = most / both.cols;
  cv::resize(both, limited, cv::Size(Canvas::kLongestSide, static_cast<int>(share * both.rows)),
             0.0, 0.0, cv::INTER_AREA);
  return limited;
}

}  // namespace

void saveMatchPicture(const std::string& path, const MatchToDraw& match) {
  const cv::Mat picture = sideBySide(drawScans(match).picture(), drawScores(match).picture());
  std::vector<unsigned char> bytes;
  cv::imencode(".png", picture, bytes);
  Brin::io::writeFile(path, bytes);
}

}  // namespace korrin_tool
