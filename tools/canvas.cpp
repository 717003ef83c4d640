#include "tools/canvas.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "tools/format.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

// OpenCV's drawing calls take fixed-point coordinates with this many fractional bits.
constexpr int kShift = 4;
constexpr int kFont = cv::FONT_HERSHEY_DUPLEX;
constexpr double kCapitalHeight = 21.0;  // pixels of a capital in kFont at scale 1

cv::Scalar toScalar(Colour colour) {
  return {double(colour.blue), double(colour.green), double(colour.red)};
}

int toFixed(double pixels) {
  return static_cast<int>(std::lround(std::clamp(pixels, -1e6, 1e6) * (1 << kShift)));
}

cv::Point toFixed(cv::Point2d point) { return {toFixed(point.x), toFixed(point.y)}; }

// Mixes `colour` into `picture` where `mask` (0 to 255) says so.
void blend(cv::Mat picture, const cv::Mat& mask, Colour colour) {
  for (int y = 0; y < picture.rows; ++y) {
    for (int x = 0; x < picture.cols; ++x) {
      cv::Vec3b& pixel = picture.at<cv::Vec3b>(y, x);
      const double share = mask.at<std::uint8_t>(y, x) / 255.0;
      const Colour mixed = mix({pixel[2], pixel[1], pixel[0]}, colour, share);
      pixel = {mixed.blue, mixed.green, mixed.red};
    }
  }
}

// A text as a mask that fits it tightly. Drawn large and reduced, which rounds the strokes.
cv::Mat textMask(const std::string& text, double size) {
  constexpr int kOversampling = 4;
  const double scale = size * kOversampling / kCapitalHeight;
  const int stroke = std::max(1, static_cast<int>(std::lround(size * kOversampling / 8.5)));
  int baseline = 0;
  const cv::Size extent = cv::getTextSize(text, kFont, scale, stroke, &baseline);
  const int margin = stroke + kOversampling;
  const auto roundUp = [](int value) {
    return (value + kOversampling - 1) / kOversampling * kOversampling;
  };
  cv::Mat large(roundUp(extent.height + baseline + 2 * margin), roundUp(extent.width + 2 * margin),
                CV_8UC1, cv::Scalar(0));
  cv::putText(large, text, {margin, margin + extent.height}, kFont, scale, cv::Scalar(255), stroke,
              cv::LINE_AA);
  cv::Mat mask;
  cv::resize(large, mask, {}, 1.0 / kOversampling, 1.0 / kOversampling, cv::INTER_AREA);
  return mask;
}

// Blends a text into the picture with the mask's upper left corner at `corner`, as far as it lies
// inside.
void drawMask(cv::Mat& picture, const cv::Mat& mask, cv::Point corner, Colour colour) {
  const cv::Rect wanted(corner, mask.size());
  const cv::Rect inside = wanted & cv::Rect({0, 0}, picture.size());
  if (inside.empty()) return;
  blend(picture(inside), mask(inside - corner), colour);
}

void fillRect(cv::Mat& picture, cv::Rect rect, Colour colour, double opacity) {
  rect &= cv::Rect({0, 0}, picture.size());
  if (rect.empty()) return;
  const cv::Mat mask(rect.size(), CV_8UC1, cv::Scalar(std::round(opacity * 255.0)));
  blend(picture(rect), mask, colour);
}

cv::Point cornerFor(cv::Point2d at, cv::Size size, Anchor anchor) {
  constexpr int kGap = 12;
  const int x = static_cast<int>(std::lround(at.x));
  const int y = static_cast<int>(std::lround(at.y));
  switch (anchor) {
    case Anchor::Above:
      return {x - size.width / 2, y - size.height - kGap};
    case Anchor::Below:
      return {x - size.width / 2, y + kGap};
    case Anchor::Left:
      return {x - size.width - kGap, y - size.height / 2};
    case Anchor::Right:
      return {x + kGap, y - size.height / 2};
    case Anchor::Centre:
      break;
  }
  return {x - size.width / 2, y - size.height / 2};
}

// 1, 2 or 5 times a power of ten: the largest such length of at most `most` metres.
double roundLength(double most) {
  const double power = std::pow(10.0, std::floor(std::log10(most)));
  for (const double factor : {5.0, 2.0}) {
    if (factor * power <= most) return factor * power;
  }
  return power;
}

}  // namespace

Colour mix(Colour from, Colour to, double share) {
  const auto part = [share](std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>(std::lround(a + (b - a) * std::clamp(share, 0.0, 1.0)));
  };
  return {part(from.red, to.red), part(from.green, to.green), part(from.blue, to.blue)};
}

Canvas::Canvas(const Brin::OccupancyMapParams& frame, int minimumWidth)
    : frame_(frame),
      zoom_(std::max(1, (minimumWidth + frame.width - 1) / std::max(1, frame.width))),
      picture_(std::max(1, frame.height) * zoom_, std::max(1, frame.width) * zoom_, CV_8UC3,
               toScalar(palette::kPaper)) {}

cv::Point2d Canvas::toPixel(const Brin::Point2D& point) const {
  const Brin::Pose2D cell = frame_.origin.relProject({point.x, point.y, 0.0f});
  return {(cell.x / frame_.resolution + 0.5) * zoom_ - 0.5,
          (frame_.height - 0.5 - cell.y / frame_.resolution) * zoom_ - 0.5};
}

void Canvas::drawMap(const Brin::OccupancyMap& map) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      const double value = map.getCell(x, y);
      fillCell(x, y,
               value < 0.5 ? mix(palette::kInk, palette::kUnknown, value * 2.0)
                           : mix(palette::kUnknown, palette::kPaper, value * 2.0 - 1.0));
    }
  }
}

void Canvas::fillCell(int x, int y, Colour colour, double opacity) {
  fillRect(picture_, {x * zoom_, (frame_.height - 1 - y) * zoom_, zoom_, zoom_}, colour, opacity);
}

void Canvas::line(const Brin::Point2D& from, const Brin::Point2D& to, Colour colour, int width) {
  cv::line(picture_, toFixed(toPixel(from)), toFixed(toPixel(to)), toScalar(colour), width,
           cv::LINE_AA, kShift);
}

void Canvas::polyline(const std::vector<Brin::Pose2D>& path, Colour colour, int width) {
  std::vector<cv::Point> points;
  for (const Brin::Pose2D& pose : path) points.push_back(toFixed(toPixel(pose)));
  cv::polylines(picture_, points, false, toScalar(colour), width, cv::LINE_AA, kShift);
}

void Canvas::circle(const Brin::Point2D& centre, double radius, Colour colour, int width) {
  cv::circle(picture_, toFixed(toPixel(centre)), toFixed(radius), toScalar(colour), width,
             cv::LINE_AA, kShift);
}

void Canvas::disc(const Brin::Point2D& centre, double radius, Colour colour) {
  circle(centre, radius + 2.0, palette::kPaper, cv::FILLED);
  circle(centre, radius, colour, cv::FILLED);
}

void Canvas::arrow(const Brin::Point2D& from, const Brin::Point2D& to, Colour colour, int width) {
  const cv::Point2d tail = toPixel(from);
  const cv::Point2d head = toPixel(to);
  const double length = std::max(1.0, std::hypot(head.x - tail.x, head.y - tail.y));
  const double tip = std::min(0.5, (6.0 + 3.0 * width) / length);
  cv::arrowedLine(picture_, toFixed(tail), toFixed(head), toScalar(colour), width, cv::LINE_AA,
                  kShift, tip);
}

void Canvas::label(const Brin::Point2D& at, const std::string& text, Anchor anchor, Colour colour,
                   double size) {
  const cv::Mat mask = textMask(text, size);
  const cv::Point corner = cornerFor(toPixel(at), mask.size(), anchor);
  fillRect(picture_, {corner, mask.size()}, palette::kPaper, 0.8);
  drawMask(picture_, mask, corner, colour);
}

void Canvas::scaleBar() {
  const double pixelsPerMetre = zoom_ / double{frame_.resolution};
  const double metres = roundLength(0.25 * picture_.cols / pixelsPerMetre);
  const int length = static_cast<int>(std::lround(metres * pixelsPerMetre));
  const std::string text = formatNumber(metres, metres < 1.0 ? 2 : 0) + " m";
  const cv::Mat mask = textMask(text, 13.0);
  const cv::Point corner(16, picture_.rows - 16 - mask.rows - 14);
  fillRect(picture_, {corner.x - 8, corner.y - 4, length + 16, mask.rows + 26}, palette::kPaper,
           0.85);
  drawMask(picture_, mask, {corner.x + (length - mask.cols) / 2, corner.y}, palette::kInk);
  const int y = corner.y + mask.rows + 8;
  cv::line(picture_, {corner.x, y}, {corner.x + length, y}, toScalar(palette::kInk), 3);
  for (const int x : {corner.x, corner.x + length}) {
    cv::line(picture_, {x, y - 5}, {x, y + 5}, toScalar(palette::kInk), 3);
  }
}

void Canvas::legend(const std::vector<std::pair<Colour, std::string>>& entries) {
  constexpr int kHeight = 48;
  const int top = picture_.rows;
  cv::Mat grown(top + kHeight, picture_.cols, CV_8UC3, toScalar(palette::kPaper));
  picture_.copyTo(grown.rowRange(0, top));
  picture_ = grown;
  int x = 20;
  for (const auto& [colour, text] : entries) {
    const cv::Mat mask = textMask(text, 13.0);
    fillRect(picture_, {x, top + kHeight / 2 - 8, 16, 16}, colour, 1.0);
    drawMask(picture_, mask, {x + 24, top + (kHeight - mask.rows) / 2}, palette::kInk);
    x += 24 + mask.cols + 28;
  }
}

void Canvas::save(const std::string& path) const {
  bool written = false;
  try {
    written = cv::imwrite(path, picture_);
  } catch (const cv::Exception&) {
    throw UsageError(path + ": not a kind of picture that can be written (use .png)");
  }
  if (!written) throw UsageError(path + ": cannot be written");
}

std::vector<std::uint8_t> Canvas::png() const {
  std::vector<std::uint8_t> bytes;
  cv::imencode(".png", picture_, bytes);
  return bytes;
}

}  // namespace korrin_tool
