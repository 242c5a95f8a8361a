#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "host/composition.h"

namespace lunaform::host {

// Keeps a composition's footage in step with its files, as a compositing host re-reads footage
// whose file changed on disk. A file counts as changed when its modification time or size (or
// whether it can be looked at at all) differs from when the host last looked; the contents are
// not compared, so that looking costs one file-system query per file and frame.
// A plain value; one thread at a time.
class FootageRefresh {
 public:
  // Starts over: notes the files of `comp`'s footage layers as they are on disk now, taken to
  // be the state in which their images were read.
  void watch(const Composition& comp);

  // Re-reads every footage file of `comp` that changed since watch() or the previous
  // refresh() and gives each layer showing it the new Image (layers that shared the old one
  // share the new one): its pixels, its content hash and so its parameter state stamp change.
  // The layers' placement is left as it is. A file not seen before is only noted; layers
  // without an image are left alone.
  // Returns the warning lines, one per file: a changed file that cannot be read ("cannot read
  // image 'FILE': REASON; its layers keep the pixels read before") keeps its old
  // pixels and is not tried again until it changes again; a re-read file with NaN or infinite
  // values gives the reader's warning (read_footage).
  std::vector<std::string> refresh(Composition& comp);

 private:
  // What the file system says about a file; all zero when it cannot say.
  struct FileState {
    bool found = false;
    std::filesystem::file_time_type modified{};
    std::uintmax_t size = 0;

    friend bool operator==(const FileState&, const FileState&) = default;
  };
  static FileState look_at(const std::filesystem::path& file);

  std::map<std::filesystem::path, FileState> seen_;
};

}  // namespace lunaform::host
