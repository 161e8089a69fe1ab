#pragma once

#include <string>

#include "PangoPointers.h"

namespace pyrelux {

/// A file of fonts that is used without being installed, beside those that are. Other text of the process does not see
/// it.
class FontFile {
 public:
  /// Throws FontFileError for what is no TrueType or OpenType font.
  explicit FontFile(std::string path);

  /// Its first font, without a size.
  const PangoFontDescription &description() const { return *description_; }

  /// Makes the file known to a font map. `isFirst`: whatever font is asked for, this file's comes first. The file has
  /// to outlive the map.
  void addTo(PangoFontMap &fonts, bool isFirst) const;

 private:
  std::string path_;
  FontConfigPtr config_;
  DescriptionPtr description_;
};

}  // namespace pyrelux
