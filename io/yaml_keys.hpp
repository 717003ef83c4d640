// The keys of one YAML file; every complaint names the file and the key.
#pragma once

#include <yaml-cpp/yaml.h>

#include <string>
#include <vector>

namespace Brin::io {

// Each function throws FileError when the file or the key's value is not as it must be.
class YamlKeys {
 public:
  explicit YamlKeys(const std::string& path);

  [[noreturn]] void fail(const std::string& key, const std::string& fault) const;

  bool has(const std::string& key) const { return root_[key].IsDefined(); }
  std::string text(const std::string& key) const;  // not empty
  double number(const std::string& key) const;     // finite, as all numbers
  std::vector<double> numbers(const std::string& key) const;
  bool flag(const std::string& key) const;  // 0, 1, or any YAML boolean

 private:
  YAML::Node find(const std::string& key) const;
  double toNumber(const YAML::Node& node, const std::string& key) const;

  std::string path_;
  YAML::Node root_;
};

}  // namespace Brin::io
