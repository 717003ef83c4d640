#include "io/picture_file.hpp"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/file_error.hpp"

namespace Brin::io {
namespace {

std::string quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

void checkThatItOpens(const std::string& yamlPath, const std::filesystem::path& path) {
  std::error_code ignored;
  errno = 0;
  if (std::filesystem::is_regular_file(path, ignored) && std::ifstream(path)) return;
  throw FileError(yamlPath, "image", "cannot read " + quoted(path), errno != 0 ? errno : EIO);
}

cv::Mat decode(const std::string& yamlPath, const std::filesystem::path& path) {
  cv::Mat picture;
  try {
    picture = cv::imread(path.string(), cv::IMREAD_UNCHANGED);
  } catch (const cv::Exception& error) {
    throw FileError(yamlPath, "image", "cannot read " + quoted(path) + ": " + error.err);
  }
  if (!picture.empty()) return picture;
  throw FileError(yamlPath, "image",
                  (isPicture(path) ? "damaged or cut short: " : "not a picture: ") + quoted(path));
}

}  // namespace

bool isPicture(const std::filesystem::path& path) {
  std::array<char, 4> begin{};
  std::ifstream(path, std::ios::binary).read(begin.data(), begin.size());
  const bool isNetpbm = begin[0] == 'P' && begin[1] >= '1' && begin[1] <= '6' &&
                        std::strchr("\n\r\t #", begin[2]) != nullptr;
  return isNetpbm || std::memcmp(begin.data(), "\x89PNG", begin.size()) == 0;
}

cv::Mat readPicture(const std::string& yamlPath, const std::filesystem::path& path) {
  checkThatItOpens(yamlPath, path);
  cv::Mat picture = decode(yamlPath, path);
  if (picture.depth() != CV_8U && picture.depth() != CV_16U) {
    throw FileError(yamlPath, "image", "must have 8 or 16 bits a channel: " + quoted(path));
  }
  const std::int64_t cells = std::int64_t{picture.rows} * picture.cols;
  if (cells > std::numeric_limits<std::int32_t>::max() / std::int64_t{sizeof(float)}) {
    throw FileError(yamlPath, "image", "has too many pixels: " + quoted(path));
  }
  return picture;
}

void writePicture(const cv::Mat& picture, const std::string& path) {
  bool written = false;
  errno = 0;
  try {
    written = cv::imwrite(path, picture);
  } catch (const cv::Exception&) {
    throw FileError(path, "", "not a kind of picture that can be written (use .pgm or .png)");
  }
  if (!written) throw FileError(path, "", "cannot be written", errno != 0 ? errno : EIO);
}

}  // namespace Brin::io
