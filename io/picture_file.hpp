// The pictures that map files have: PGM and PNG, and whatever else OpenCV reads.
#pragma once

#include <filesystem>
#include <opencv2/core.hpp>
#include <string>

namespace Brin::io {

// Whether the file begins as PGM, PPM, PBM and PNG files do.
bool isPicture(const std::filesystem::path& path);

// The picture that the map file `yamlPath` names: 8 or 16 bits, 1 to 4 channels, no more pixels
// than a map can have cells. What is wrong with it is a FileError of the map file's key "image".
cv::Mat readPicture(const std::string& yamlPath, const std::filesystem::path& path);

// A failure is a FileError that names the picture.
void writePicture(const cv::Mat& picture, const std::string& path);

}  // namespace Brin::io
