// A report for a browser, in one file: headings, sentences, tables and pictures, the pictures
// embedded. Readable on a telephone.
//
//   Report report("Demonstration", "What the robot did.");
//   report.addTable(table);
//   report.addPicture("Plan", "The way to the far room.", canvas.png());
//   report.save("report.html");
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/format.hpp"

namespace korrin_tool {

class Report {
 public:
  // All texts are plain: what HTML would take for markup is escaped.
  Report(const std::string& title, const std::string& introduction);

  void addTable(const Table& table);
  void addPicture(const std::string& heading, const std::string& caption,
                  const std::vector<std::uint8_t>& png);

  std::string html() const;
  // A failure to write is a FileError that names the file.
  void save(const std::string& path) const;

 private:
  std::string head_;
  std::string body_;
};

// Base 64 with padding (RFC 4648, section 4).
std::string base64(const std::vector<std::uint8_t>& bytes);

}  // namespace korrin_tool
