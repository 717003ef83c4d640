#include "io/yaml_keys.hpp"

#include <cerrno>
#include <cmath>

#include "io/picture_file.hpp"
#include "korrin/io/file_error.hpp"

namespace Brin::io {
namespace {

std::string found(const YAML::Node& node) {
  return node.IsScalar() ? ", found '" + node.Scalar() + "'" : std::string();
}

}  // namespace

YamlKeys::YamlKeys(const std::string& path) : path_(path) {
  if (isPicture(path)) {
    throw FileError(path, "", "is a picture; what to read is the YAML file that belongs to it");
  }
  try {
    errno = 0;
    root_ = YAML::LoadFile(path);
  } catch (const YAML::BadFile&) {
    throw FileError(path, "", "cannot be read", errno != 0 ? errno : EIO);
  } catch (const YAML::Exception& error) {
    throw FileError(
        path, "", "not valid YAML: line " + std::to_string(error.mark.line + 1) + ": " + error.msg);
  }
  if (!root_.IsMap()) throw FileError(path, "", "must hold 'key: value' lines");
}

void YamlKeys::fail(const std::string& key, const std::string& fault) const {
  throw FileError(path_, key, fault);
}

std::string YamlKeys::text(const std::string& key) const {
  const YAML::Node node = find(key);
  if (!node.IsScalar() || node.Scalar().empty()) fail(key, "must be a text");
  return node.Scalar();
}

double YamlKeys::number(const std::string& key) const { return toNumber(find(key), key); }

std::vector<double> YamlKeys::numbers(const std::string& key) const {
  const YAML::Node node = find(key);
  if (!node.IsSequence()) fail(key, "must be a list of numbers");
  std::vector<double> values;
  for (const YAML::Node& element : node) values.push_back(toNumber(element, key));
  return values;
}

bool YamlKeys::flag(const std::string& key) const {
  const YAML::Node node = find(key);
  if (node.IsScalar() && (node.Scalar() == "0" || node.Scalar() == "1")) {
    return node.Scalar() == "1";
  }
  bool value = false;
  if (!YAML::convert<bool>::decode(node, value)) fail(key, "must be 0 or 1" + found(node));
  return value;
}

YAML::Node YamlKeys::find(const std::string& key) const {
  const YAML::Node node = root_[key];
  if (!node.IsDefined() || node.IsNull()) fail(key, "is missing");
  return node;
}

double YamlKeys::toNumber(const YAML::Node& node, const std::string& key) const {
  double value = 0.0;
  if (!node.IsScalar() || !YAML::convert<double>::decode(node, value)) {
    fail(key, "must be a number" + found(node));
  }
  if (!std::isfinite(value)) fail(key, "must be finite" + found(node));
  return value;
}

}  // namespace Brin::io
