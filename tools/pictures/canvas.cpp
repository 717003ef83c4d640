#include "tools/pictures/canvas.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "io/write_file.hpp"
#include "tools/format.hpp"
#include "tools/pictures/cell_values.hpp"

namespace korrin_tool {
namespace {

// OpenCV's drawing calls take fixed-point coordinates with this many fractional bits.
constexpr int kShift = 4;
constexpr int kFont = cv::FONT_HERSHEY_DUPLEX;
constexpr double kCapitalHeight = 21.0;  // pixels of a capital in kFont at scale 1

// Small pictures are pressed hard. Large ones would take longer to press than to make; OpenCV's own
// parameters are its fastest.
std::vector<int> pngParameters(const cv::Mat& picture) {
  constexpr std::size_t kManyPixels = 4'000'000;
  if (picture.total() > kManyPixels) return {};
  return {cv::IMWRITE_PNG_COMPRESSION, 9};
}

cv::Scalar toScalar(Colour colour) {
  return {double(colour.blue), double(colour.green), double(colour.red)};
}

// Far outside the picture is far enough; so is what is not a number.
double limited(double pixels) {
  constexpr double kFar = 1e6;
  return std::isnan(pixels) ? -kFar : std::clamp(pixels, -kFar, kFar);
}

int toFixed(double pixels) { return static_cast<int>(std::lround(pixels * (1 << kShift))); }

int toWidth(double pixels) { return std::max(1, static_cast<int>(std::lround(pixels))); }

cv::Point toFixed(cv::Point2d point) { return {toFixed(point.x), toFixed(point.y)}; }

cv::Vec3b toPixelValue(Colour colour) { return {colour.blue, colour.green, colour.red}; }

cv::Vec3b blended(const cv::Vec3b& pixel, Colour colour, double share) {
  return toPixelValue(mix({pixel[2], pixel[1], pixel[0]}, colour, share));
}

// Mixes `colour` into `picture` where `mask` (0 to 255) says so.
void blend(cv::Mat picture, const cv::Mat& mask, Colour colour) {
  for (int y = 0; y < picture.rows; ++y) {
    for (int x = 0; x < picture.cols; ++x) {
      cv::Vec3b& pixel = picture.at<cv::Vec3b>(y, x);
      pixel = blended(pixel, colour, mask.at<std::uint8_t>(y, x) / 255.0);
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
  if (opacity >= 1.0) {
    picture(rect).setTo(toScalar(colour));
    return;
  }
  const double share = std::round(opacity * 255.0) / 255.0;
  for (int y = rect.y; y < rect.br().y; ++y) {
    cv::Vec3b* const row = picture.ptr<cv::Vec3b>(y);
    for (int x = rect.x; x < rect.br().x; ++x) row[x] = blended(row[x], colour, share);
  }
}

cv::Point cornerFor(cv::Point2d at, cv::Size size, Anchor anchor) {
  const int gap = size.height / 2;
  const int x = static_cast<int>(std::lround(at.x));
  const int y = static_cast<int>(std::lround(at.y));
  switch (anchor) {
    case Anchor::Above:
      return {x - size.width / 2, y - size.height - gap};
    case Anchor::Below:
      return {x - size.width / 2, y + gap};
    case Anchor::Left:
      return {x - size.width - gap, y - size.height / 2};
    case Anchor::Right:
      return {x + gap, y - size.height / 2};
    case Anchor::Centre:
      break;
  }
  return {x - size.width / 2, y - size.height / 2};
}

double textSizeFor(int width) { return std::clamp(width / 85.0, 9.0, 40.0); }

int stripHeightFor(int width) { return static_cast<int>(std::lround(3.6 * textSizeFor(width))); }

// Whether a map of so many pixels and the strip below it are too much for a picture.
bool isTooLarge(std::int64_t width, std::int64_t height, int minimumWidth) {
  constexpr int kMost = Canvas::kLongestSide;
  if (width > kMost || height > kMost) return true;
  return height + stripHeightFor(std::max(static_cast<int>(width), minimumWidth)) > kMost;
}

cv::Size blocksOf(const Brin::OccupancyMapParams& frame, int reduction) {
  const auto blocks = [reduction](int cells) {
    return std::max(1, cells / reduction + (cells % reduction > 0 ? 1 : 0));
  };
  return {blocks(frame.width), blocks(frame.height)};
}

int reductionFor(const Brin::OccupancyMapParams& frame, int minimumWidth) {
  int reduction =
      std::max({1, frame.width / Canvas::kLongestSide, frame.height / Canvas::kLongestSide});
  for (;; ++reduction) {
    const cv::Size blocks = blocksOf(frame, reduction);
    if (!isTooLarge(blocks.width, blocks.height, minimumWidth)) return reduction;
  }
}

int zoomFor(cv::Size blocks, int minimumWidth) {
  int zoom = std::max(1, (minimumWidth + blocks.width - 1) / blocks.width);
  while (zoom > 1 && isTooLarge(std::int64_t{blocks.width} * zoom,
                                std::int64_t{blocks.height} * zoom, minimumWidth)) {
    --zoom;
  }
  return zoom;
}

// From black (0) over grey (0.5) to white (1).
Colour mapColour(double value) {
  return value < 0.5 ? mix(palette::kInk, palette::kUnknown, value * 2.0)
                     : mix(palette::kUnknown, palette::kPaper, value * 2.0 - 1.0);
}

Colour costColour(double value, double known, double threshold) {
  const Colour cost = value < threshold ? palette::kNear
                                        : mix(palette::kCostly, palette::kPaper,
                                              (value - threshold) / (1.0 - threshold));
  return known < 0.5 ? mix(palette::kInk, cost, known * 2.0)
                     : mix(palette::kUnknown, cost, known * 2.0 - 1.0);
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

Canvas::Canvas(const Brin::OccupancyMapParams& frame, int minimumWidth)
    : frame_(frame),
      reduction_(reductionFor(frame, minimumWidth)),
      blocks_(blocksOf(frame, reduction_)),
      zoom_(zoomFor(blocks_, minimumWidth)),
      mapHeight_(blocks_.height * zoom_),
      picture_(mapHeight_, std::max(blocks_.width * zoom_, minimumWidth), CV_8UC3,
               toScalar(palette::kPaper)) {
  picture_.colRange(blocks_.width * zoom_, picture_.cols).setTo(toScalar(palette::kUnknown));
}

cv::Point2d Canvas::toPixel(const Brin::Point2D& point) const {
  const Brin::Pose2D cell = frame_.origin.relProject({point.x, point.y, 0.0f});
  const double top = static_cast<double>(blocks_.height) * reduction_ - 0.5;
  return {limited((cell.x / frame_.resolution + 0.5) * pixelsPerCell() - 0.5),
          limited((top - cell.y / frame_.resolution) * pixelsPerCell() - 0.5)};
}

template <typename ColourOf>
void Canvas::paintBlocks(cv::Size blocks, ColourOf colourOf) {
  const cv::Size inside(std::min(blocks.width, blocks_.width),
                        std::min(blocks.height, blocks_.height));
  const std::size_t bytes = picture_.elemSize() * static_cast<std::size_t>(inside.width * zoom_);
  for (int y = 0; y < inside.height; ++y) {
    const int top = (blocks_.height - 1 - y) * zoom_;
    cv::Vec3b* const row = picture_.ptr<cv::Vec3b>(top);
    for (int x = 0; x < inside.width; ++x) {
      std::fill_n(row + x * zoom_, zoom_, toPixelValue(colourOf(x, y)));
    }
    for (int k = 1; k < zoom_; ++k) std::memcpy(picture_.ptr(top + k), row, bytes);
  }
}

void Canvas::drawMap(const Brin::OccupancyMap& map) {
  const cv::Mat_<float> values = blockValues(map, reduction_);
  ColourCache cache;
  paintBlocks(values.size(), [&](int x, int y) {
    const float value = values(y, x);
    return cache.find(value, value, [&] { return mapColour(value); });
  });
}

void Canvas::drawCosts(const Brin::OccupancyMap& grown, const Brin::OccupancyMap& before,
                       double threshold) {
  const cv::Mat_<float> values = blockValues(grown, reduction_);
  const cv::Mat_<float> known = blockValues(before, reduction_);
  ColourCache cache;
  paintBlocks(values.size(), [&](int x, int y) {
    return cache.find(values(y, x), known(y, x),
                      [&] { return costColour(values(y, x), known(y, x), threshold); });
  });
}

cv::Rect Canvas::pixelsOf(int x, int y) const {
  if (x < 0 || y < 0) return {};
  const int column = x / reduction_;
  const int row = y / reduction_;
  if (column >= blocks_.width || row >= blocks_.height) return {};
  return {column * zoom_, (blocks_.height - 1 - row) * zoom_, zoom_, zoom_};
}

void Canvas::fillCell(int x, int y, Colour colour, double opacity) {
  fillRect(picture_, pixelsOf(x, y), colour, opacity);
}

CellTint::CellTint(Canvas& canvas, double opacity) : canvas_(canvas), opacity_(opacity) {
  if (canvas.reduction_ > 1) done_ = cv::Mat(canvas.blocks_, CV_8UC1, cv::Scalar(0));
}

void CellTint::fill(int x, int y, Colour colour) {
  const cv::Rect pixels = canvas_.pixelsOf(x, y);
  if (pixels.empty()) return;
  if (!done_.empty()) {
    std::uint8_t& done = done_.at<std::uint8_t>(pixels.y, pixels.x);
    if (done != 0) return;
    done = 1;
  }
  fillRect(canvas_.picture_, pixels, colour, opacity_);
}

void Canvas::line(const Brin::Point2D& from, const Brin::Point2D& to, Colour colour, int width) {
  cv::line(picture_, toFixed(toPixel(from)), toFixed(toPixel(to)), toScalar(colour),
           toWidth(scaled(width)), cv::LINE_AA, kShift);
}

void Canvas::polyline(const std::vector<Brin::Pose2D>& path, Colour colour, int width) {
  std::vector<cv::Point> points;
  points.reserve(path.size());
  for (const Brin::Pose2D& pose : path) points.push_back(toFixed(toPixel(pose)));
  cv::polylines(picture_, points, false, toScalar(colour), toWidth(scaled(width)), cv::LINE_AA,
                kShift);
}

void Canvas::circle(const Brin::Point2D& centre, double radius, Colour colour, int width) {
  cv::circle(picture_, toFixed(toPixel(centre)), toFixed(scaled(radius)), toScalar(colour),
             width < 0 ? width : toWidth(scaled(width)), cv::LINE_AA, kShift);
}

void Canvas::disc(const Brin::Point2D& centre, double radius, Colour colour) {
  circle(centre, radius + 2.0, palette::kPaper, cv::FILLED);
  circle(centre, radius, colour, cv::FILLED);
}

void Canvas::arrow(const Brin::Point2D& from, const Brin::Point2D& to, Colour colour, int width) {
  const cv::Point2d tail = toPixel(from);
  const cv::Point2d head = toPixel(to);
  const double length = std::max(1.0, std::hypot(head.x - tail.x, head.y - tail.y));
  const double tip = std::min(0.5, scaled(6.0 + 3.0 * width) / length);
  cv::arrowedLine(picture_, toFixed(tail), toFixed(head), toScalar(colour), toWidth(scaled(width)),
                  cv::LINE_AA, kShift, tip);
}

void Canvas::heading(const Brin::Pose2D& pose, double length, Colour colour) {
  const float reach =
      static_cast<float>(scaled(length)) * frame_.resolution / static_cast<float>(pixelsPerCell());
  std::vector<cv::Point> outline;
  for (const Brin::Pose2D corner :
       {Brin::Pose2D(0.6f * reach, 0.0f, 0.0f), Brin::Pose2D(-0.4f * reach, 0.4f * reach, 0.0f),
        Brin::Pose2D(-0.4f * reach, -0.4f * reach, 0.0f)}) {
    outline.push_back(toFixed(toPixel(pose.absProject(corner))));
  }
  cv::polylines(picture_, outline, true, toScalar(palette::kPaper), toWidth(scaled(4)), cv::LINE_AA,
                kShift);
  cv::fillConvexPoly(picture_, outline, toScalar(colour), cv::LINE_AA, kShift);
}

double Canvas::scaled(double pixels) const {
  return pixels * std::max(1.0, picture_.cols / 1440.0);
}

double Canvas::textSize() const { return textSizeFor(picture_.cols); }

void Canvas::label(const Brin::Point2D& at, const std::string& text, Anchor anchor, Colour colour) {
  const cv::Mat mask = textMask(text, textSize());
  const cv::Point corner = cornerFor(toPixel(at), mask.size(), anchor);
  fillRect(picture_, {corner, mask.size()}, palette::kPaper, 0.8);
  drawMask(picture_, mask, corner, colour);
}

cv::Mat Canvas::footer() {
  if (picture_.rows == mapHeight_) {
    cv::Mat grown(mapHeight_ + stripHeightFor(picture_.cols), picture_.cols, CV_8UC3,
                  toScalar(palette::kPaper));
    picture_.copyTo(grown.rowRange(0, mapHeight_));
    picture_ = grown;
  }
  return picture_.rowRange(mapHeight_, picture_.rows);
}

void Canvas::legend(const std::vector<std::pair<Colour, std::string>>& entries) {
  cv::Mat strip = footer();
  const int unit = static_cast<int>(std::lround(textSize()));
  int x = unit;
  for (const auto& [colour, text] : entries) {
    const cv::Mat mask = textMask(text, textSize());
    const cv::Rect swatch(x, (strip.rows - unit) / 2, unit, unit);
    fillRect(strip, swatch, colour, 1.0);
    cv::rectangle(strip, swatch, toScalar(palette::kFaint), 1);
    drawMask(strip, mask, {x + unit + unit / 3, (strip.rows - mask.rows) / 2}, palette::kInk);
    x += unit + mask.cols + 2 * unit;
  }
}

void Canvas::scaleBar() {
  cv::Mat strip = footer();
  const int unit = static_cast<int>(std::lround(textSize()));
  const double pixelsPerMetre = pixelsPerCell() / double{frame_.resolution};
  const double metres = roundLength(0.16 * strip.cols / pixelsPerMetre);
  const int length = static_cast<int>(std::lround(metres * pixelsPerMetre));
  const int right = strip.cols - unit;
  const int y = strip.rows / 2;
  const int width = std::max(1, unit / 5);
  cv::line(strip, {right - length, y}, {right, y}, toScalar(palette::kInk), width);
  for (const int x : {right - length, right}) {
    cv::line(strip, {x, y - unit / 3}, {x, y + unit / 3}, toScalar(palette::kInk), width);
  }
  const cv::Mat mask = textMask(formatNumber(metres, metres < 1.0 ? 2 : 0) + " m", textSize());
  drawMask(strip, mask, {right - length - mask.cols - unit / 2, y - mask.rows / 2}, palette::kInk);
}

void Canvas::save(const std::string& path) const { Brin::io::writeFile(path, png()); }

std::vector<std::uint8_t> Canvas::png() const {
  std::vector<std::uint8_t> bytes;
  cv::imencode(".png", picture_, bytes, pngParameters(picture_));
  return bytes;
}

}  // namespace korrin_tool
