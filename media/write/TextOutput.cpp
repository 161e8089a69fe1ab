// Apart from readText(), because this is written through FFmpeg's libraries, which a plug-in that reads must not load.

#include "OutputFile.h"
#include "TextFile.h"

namespace pyrelux::media {

void writeText(const std::string &path, const std::string &text) {
  OutputFile file(path);
  avio_write(file.io(), reinterpret_cast<const unsigned char *>(text.data()), static_cast<int>(text.size()));
  file.commit();
}

}  // namespace pyrelux::media
