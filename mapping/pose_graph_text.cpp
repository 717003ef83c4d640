// Pose graphs as g2o text.
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>

#include "io/number_text.hpp"
#include "io/write_file.hpp"
#include "korrin/mapping/pose_graph.hpp"

namespace Brin::mapping {
namespace {

using io::FileError;

constexpr std::string_view kBlanks = " \t\r";

// The words of a line, one by one.
class Words {
 public:
  explicit Words(std::string_view line) : rest_(line) {}

  // Empty at the end of the line.
  std::string_view next() {
    const std::size_t begin = std::min(rest_.find_first_not_of(kBlanks), rest_.size());
    rest_.remove_prefix(begin);
    const std::string_view word = rest_.substr(0, rest_.find_first_of(kBlanks));
    rest_.remove_prefix(word.size());
    return word;
  }

 private:
  std::string_view rest_;
};

class G2oParser {
 public:
  explicit G2oParser(const std::string& name) : name_(name) {}

  PoseGraph parse(std::string_view text) {
    while (!text.empty()) {
      ++line_;
      const std::size_t end = std::min(text.find('\n'), text.size());
      readLine(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    // Only now are all nodes known.
    for (std::size_t i = 0; i < ends_.size(); ++i) {
      line_ = ends_[i].line;
      graph_.edges[i].from = nodeOf(ends_[i].from);
      graph_.edges[i].to = nodeOf(ends_[i].to);
    }
    return std::move(graph_);
  }

 private:
  struct Ends {
    std::int64_t from;
    std::int64_t to;
    std::size_t line;
  };

  void readLine(std::string_view text) {
    Words words(text);
    const std::string_view kind = words.next();
    if (kind.empty() || kind[0] == '#' || kind == "FIX") return;
    if (kind == "VERTEX_SE2") {
      readNode(words);
    } else if (kind == "EDGE_SE2") {
      readEdge(words);
    } else {
      fail("must begin with VERTEX_SE2, EDGE_SE2 or FIX");
    }
    if (!words.next().empty()) fail("more numbers than it should have");
  }

  void readNode(Words& words) {
    const std::int64_t id = readId(words);
    if (!indexOf_.emplace(id, graph_.nodes.size()).second) fail("a node that came before");
    graph_.nodes.push_back(readPose(words));
  }

  void readEdge(Words& words) {
    const std::int64_t from = readId(words);
    const std::int64_t to = readId(words);
    if (from == to) fail("an edge from a node to itself");
    GraphEdge edge;
    edge.motion = readPose(words);
    GraphInformation& known = edge.information;
    for (double* value :
         {&known.xx, &known.xy, &known.xTheta, &known.yy, &known.yTheta, &known.thetaTheta}) {
      *value = readNumber(words);
    }
    graph_.edges.push_back(edge);
    ends_.push_back({from, to, line_});
  }

  GraphPose readPose(Words& words) {
    GraphPose pose;
    for (double* value : {&pose.x, &pose.y, &pose.theta}) *value = readNumber(words);
    return pose;
  }

  double readNumber(Words& words) {
    const double value = readAs<double>(words);
    if (!std::isfinite(value)) fail("a number that is not finite");
    return value;
  }

  std::int64_t readId(Words& words) {
    const auto id = readAs<std::int64_t>(words);
    if (id < 0) fail("a negative number of a node");
    return id;
  }

  template <typename Number>
  Number readAs(Words& words) {
    const std::string_view word = words.next();
    Number value = 0;
    const char* const end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, value);
    if (word.empty() || error != std::errc() || rest != end) {
      fail("must be a number: '" + std::string(word) + "'");
    }
    return value;
  }

  std::size_t nodeOf(std::int64_t id) const {
    const auto found = indexOf_.find(id);
    if (found == indexOf_.end()) fail("a node that does not come: " + std::to_string(id));
    return found->second;
  }

  [[noreturn]] void fail(const std::string& fault) const {
    throw FileError(name_, "line " + std::to_string(line_), fault);
  }

  const std::string name_;
  std::size_t line_ = 0;
  PoseGraph graph_;
  std::vector<Ends> ends_;
  std::map<std::int64_t, std::size_t> indexOf_;
};

// Numbers of a line, each after a blank.
template <std::size_t Count>
std::string numbersText(const std::array<double, Count>& numbers, const std::string& name,
                        const std::string& place) {
  std::string text;
  for (const double number : numbers) {
    if (!std::isfinite(number)) throw FileError(name, place, "a number that is not finite");
    text += ' ' + io::shortText(number);
  }
  return text + '\n';
}

}  // namespace

std::string toG2o(const PoseGraph& graph, const std::string& name) {
  std::string text;
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    const GraphPose& node = graph.nodes[i];
    const std::string number = std::to_string(i);
    text += "VERTEX_SE2 " + number +
            numbersText<3>({node.x, node.y, node.theta}, name, "node " + number);
  }
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    const GraphEdge& edge = graph.edges[i];
    const GraphPose& motion = edge.motion;
    const GraphInformation& known = edge.information;
    text += "EDGE_SE2 " + std::to_string(edge.from) + ' ' + std::to_string(edge.to) +
            numbersText<9>({motion.x, motion.y, motion.theta, known.xx, known.xy, known.xTheta,
                            known.yy, known.yTheta, known.thetaTheta},
                           name, "edge " + std::to_string(i));
  }
  return text;
}

PoseGraph parseG2o(std::string_view text, const std::string& name) {
  return G2oParser(name).parse(text);
}

PoseGraph readG2o(const std::string& path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) throw FileError(path, "", "cannot be read", errno != 0 ? errno : EIO);
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (file.bad()) throw FileError(path, "", "cannot be read", errno != 0 ? errno : EIO);
  return parseG2o(text, path);
}

void writeG2o(const PoseGraph& graph, const std::string& path) {
  io::writeFile(path, toG2o(graph, path));
}

}  // namespace Brin::mapping
