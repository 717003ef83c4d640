#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "korrin/io/map_file.hpp"
#include "tools/serve/answers.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

// A directory of our own, gone with this.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "korrin-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw Refusal(500, "there is no room for a file");
    path_ = name;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  std::string file(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

Json changeJson(const MapChange& change) {
  const CellRectangle& at = change.changed;
  return {{"revision", change.revision},
          {"undo", change.undoSteps},
          {"changed", at.isEmpty() ? Json(nullptr) : Json{at.x, at.y, at.width, at.height}},
          {"changedCells", change.changedCells}};
}

}  // namespace

Json drawAnswer(const std::vector<Stroke>& strokes, World& world) {
  return changeJson(world.maps.draw(strokes));
}

Json undoAnswer(World& world) { return changeJson(world.maps.undo()); }

Reply downloadAnswer(const std::string& file, World& world) {
  const bool isYaml = file == "map.yaml";
  if (!isYaml && file != "map.pgm") throw Refusal(404, "there are map.yaml and map.pgm");
  const ScratchDirectory directory;
  Brin::io::writeMapFile(world.maps.current()->map, directory.file("map.yaml"));
  std::ifstream written(directory.file(file), std::ios::binary);
  Reply reply;
  reply.body.assign(std::istreambuf_iterator<char>(written), {});
  if (reply.body.empty()) throw Refusal(500, "there is no room for a file");
  reply.type = isYaml ? "application/yaml" : "image/x-portable-graymap";
  reply.headers.emplace_back("Content-Disposition", "attachment; filename=\"" + file + "\"");
  return reply;
}

}  // namespace korrin_tool::serve
