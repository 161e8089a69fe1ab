#pragma once

#include <OpenGL/OpenGL.h>

#include <map>
#include <string>
#include <vector>

#include "TraceText.h"
#include "VectorFile.h"

namespace pyrelux::test {

/// One frame's calls in the form of the file's rows.
struct FrameRows {
  json rows = json::array();   ///< [layer, name, arguments], each tongue folded into ["oracle", "tongue", [i]]
  std::vector<Calls> tongues;  ///< the folded calls, including glBegin and glEnd

  /// The quads drawn over the output: from glColor4f to glFlush, each.
  std::vector<json> overlays() const;
};

/// SHA-256, in hexadecimal digits, over a flame's calls in order: of each a letter (B glBegin, C glColor4f, T
/// glTexCoord2f, V glVertex2f, E glEnd) and, but for glBegin and glEnd, its arguments as singles, little-endian.
std::string flameHash(const std::vector<Calls> &tongues);

/// Turns recorded calls into rows. Handles get their names from the calls that create them, so one object converts all
/// frames of a filter's life, in order.
class RowWriter {
 public:
  explicit RowWriter(CGLContextObj host) : host_(host) {}
  FrameRows write(const Calls &calls);

 private:
  json argumentsOf(const platform::TraceCall &call);
  json contextName(const void *handle);
  json pbufferName(const void *handle);

  CGLContextObj host_;
  const void *surface_ = nullptr;  ///< the surface's context; null until it is seen
  const void *pbuffer_ = nullptr;
  bool textureIsNew_ = false;
  double texture_ = 0.0;
};

/// Compares rows and reports the first few that differ.
void expectRows(const json &expected, const json &got, const std::string &where);

}  // namespace pyrelux::test
