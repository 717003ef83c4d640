#include "tools/pictures/report.hpp"

#include <algorithm>

#include "io/write_file.hpp"

namespace korrin_tool {
namespace {

constexpr const char* kStyle = R"(
:root { --ink: #1f2937; --quiet: #5b6675; --line: #dfe4ea; --accent: #0072b2; }
* { box-sizing: border-box; }
body { margin: 0; background: #f4f6f8; color: var(--ink); line-height: 1.5;
       font-family: system-ui, -apple-system, "Segoe UI", Roboto, "Helvetica Neue", sans-serif; }
main { max-width: 62rem; margin: 0 auto; padding: 2rem 1rem 4rem; }
h1 { font-size: clamp(1.6rem, 5vw, 2.4rem); line-height: 1.15; margin: 0 0 .5rem; }
h2 { font-size: 1.15rem; margin: 0 0 .25rem; }
.introduction { color: var(--quiet); max-width: 44rem; margin: 0 0 1.75rem; }
.card { background: #fff; border: 1px solid var(--line); border-radius: .75rem;
        padding: 1.1rem 1.25rem 1.25rem; margin: 0 0 1.5rem; }
.card p { color: var(--quiet); margin: 0 0 .9rem; max-width: 46rem; }
.card img { display: block; width: 100%; height: auto; border-radius: .4rem; }
@media (max-width: 40rem) {
  main { padding: 1.25rem .5rem 2rem; }
  .card { padding: .9rem .7rem 1rem; }
  th, td { padding: .4rem .3rem; }
}
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th, td { padding: .4rem .6rem; text-align: right; border-bottom: 1px solid var(--line); }
th { color: var(--quiet); font-weight: 600; }
th:first-child, td:first-child { text-align: left; padding-left: 0; }
td:last-child { white-space: nowrap; }
tr:last-child td { border-bottom: 0; }
)";

std::string escaped(const std::string& text) {
  std::string html;
  for (const char c : text) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      default:
        html += c;
    }
  }
  return html;
}

std::string tableRow(const std::vector<std::string>& cells, const std::string& tag) {
  std::string html = "<tr>";
  for (const std::string& cell : cells) {
    html.append("<").append(tag).append(">").append(escaped(cell));
    html.append("</").append(tag).append(">");
  }
  return html + "</tr>\n";
}

}  // namespace

Report::Report(const std::string& title, const std::string& introduction)
    : head_(
          "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
          "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
          "<title>" +
          escaped(title) + "</title>\n<style>" + kStyle + "</style>\n</head>\n"),
      body_("<h1>" + escaped(title) + "</h1>\n<p class=\"introduction\">" + escaped(introduction) +
            "</p>\n") {}

void Report::addTable(const Table& table) {
  body_ += "<div class=\"card\">\n<table>\n";
  if (!table.header.empty()) body_ += "<thead>" + tableRow(table.header, "th") + "</thead>\n";
  body_ += "<tbody>\n";
  for (const auto& row : table.rows) body_ += tableRow(row, "td");
  body_ += "</tbody>\n</table>\n</div>\n";
}

void Report::addPicture(const std::string& heading, const std::string& caption,
                        const std::vector<std::uint8_t>& png) {
  body_ += "<section class=\"card\">\n<h2>" + escaped(heading) + "</h2>\n<p>" + escaped(caption) +
           "</p>\n<img alt=\"" + escaped(heading) + "\" src=\"data:image/png;base64," +
           base64(png) + "\">\n</section>\n";
}

std::string Report::html() const {
  return head_ + "<body>\n<main>\n" + body_ + "</main>\n</body>\n</html>\n";
}

void Report::save(const std::string& path) const { Brin::io::writeFile(path, html()); }

std::string base64(const std::vector<std::uint8_t>& bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? bytes[i + k] : 0u);
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= count ? kDigits[group >> (18 - 6 * k) & 63u] : '=';
    }
  }
  return text;
}

}  // namespace korrin_tool
