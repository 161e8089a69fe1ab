#include "FrameRows.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/sha.h>
}

#include <cstring>
#include <memory>

namespace pyrelux::test {

std::vector<json> FrameRows::overlays() const {
  std::vector<json> found;
  for (std::size_t i = 0; i + 2 < rows.size(); ++i) {
    if (rows[i][1] != "glColor4f" || rows[i + 2][1] != "glBegin") continue;
    json overlay = json::array();
    for (std::size_t k = i; k < rows.size(); ++k) {
      overlay.push_back(json{rows[k][1], rows[k][2]});
      if (rows[k][1] == "glFlush") break;
    }
    found.push_back(overlay);
  }
  return found;
}

std::string flameHash(const std::vector<Calls> &tongues) {
  static const std::map<std::string, char> letters = {
      {"glBegin", 'B'}, {"glColor4f", 'C'}, {"glTexCoord2f", 'T'}, {"glVertex2f", 'V'}, {"glEnd", 'E'}};
  std::vector<std::uint8_t> bytes;
  for (const Calls &tongue : tongues)
    for (const auto &call : tongue) {
      const char letter = letters.at(call.name);
      bytes.push_back(static_cast<std::uint8_t>(letter));
      if (letter == 'B' || letter == 'E') continue;
      for (std::size_t i = 0; i < call.arguments.size(); ++i) {
        const auto single = static_cast<float>(numberArgument(call, i));
        std::uint32_t bits;
        std::memcpy(&bits, &single, sizeof bits);
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(bits >> shift));
      }
    }

  const std::unique_ptr<AVSHA, decltype(&av_free)> sha(av_sha_alloc(), av_free);
  std::uint8_t digest[32];
  av_sha_init(sha.get(), 256);
  av_sha_update(sha.get(), bytes.data(), bytes.size());
  av_sha_final(sha.get(), digest);
  std::string text;
  for (const std::uint8_t byte : digest) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    text += digits;
  }
  return text;
}

json RowWriter::contextName(const void *handle) {
  if (!handle) return nullptr;
  if (handle == host_) return "ctx:host";
  if (!surface_) surface_ = handle;
  return handle == surface_ ? "ctx:surface" : "ctx:?";
}

json RowWriter::pbufferName(const void *handle) {
  if (!handle) return nullptr;
  if (!pbuffer_) pbuffer_ = handle;
  return handle == pbuffer_ ? "pbuffer" : "pbuffer:?";
}

json RowWriter::argumentsOf(const platform::TraceCall &call) {
  const auto handle = [&call](std::size_t i) { return std::get<const void *>(call.arguments.at(i)); };
  json list = json::array();
  for (const auto &argument : call.arguments) {
    if (const auto *value = std::get_if<double>(&argument))
      list.push_back(*value);
    else if (const auto *numbers = std::get_if<std::vector<double>>(&argument))
      list.push_back(*numbers);
    else if (const auto *word = std::get_if<std::string>(&argument))
      list.push_back(*word);
    else
      list.push_back(nullptr);
  }

  if (call.name == "CGLCreateContext") {
    list[0] = handle(0) ? json("pixelformat") : json();
    list[1] = contextName(handle(1));
    surface_ = nullptr;
  } else if (call.name == "CGLDestroyPixelFormat") {
    list[0] = "pixelformat";
  } else if (call.name == "CGLCreatePBuffer") {
    pbuffer_ = nullptr;
  } else if (call.name == "CGLGetVirtualScreen" || call.name == "CGLSetCurrentContext" ||
             call.name == "CGLDestroyContext") {
    list[0] = contextName(handle(0));
  } else if (call.name == "CGLDestroyPBuffer") {
    list[0] = pbufferName(handle(0));
  } else if (call.name == "CGLSetPBuffer") {
    list[0] = contextName(handle(0));
    list[1] = pbufferName(handle(1));
    // CGLGetVirtualScreen gives 0, the only screen.
    if (list[4] == 0.0) list[4] = "screen";
  } else if (call.name == "CGLTexImagePBuffer") {
    list[0] = contextName(handle(0));
    list[1] = pbufferName(handle(1));
  } else if (call.name == "glGenTextures") {
    list[1] = "tex:surface";
    textureIsNew_ = true;
  } else if (call.name == "glBindTexture") {
    if (textureIsNew_) texture_ = numberArgument(call, 1);
    textureIsNew_ = false;
    if (texture_ != 0.0 && list[1] == texture_) list[1] = "tex:surface";
  }
  return list;
}

FrameRows RowWriter::write(const Calls &calls) {
  FrameRows frame;
  bool inSurface = false;
  bool inTongue = false;
  for (const auto &call : calls) {
    // Only tongues are drawn while the surface's context is current.
    if (call.name == "CGLSetCurrentContext")
      inSurface = contextName(std::get<const void *>(call.arguments.at(0))) == "ctx:surface";
    if (inSurface && call.name == "glBegin") {
      inTongue = true;
      frame.rows.push_back(json{"oracle", "tongue", json::array({frame.tongues.size()})});
      frame.tongues.emplace_back();
    }
    if (inTongue) {
      frame.tongues.back().push_back(call);
      inTongue = call.name != "glEnd";
      continue;
    }
    json row = json::array({call.layer, call.name, argumentsOf(call)});
    frame.rows.push_back(row);
  }
  return frame;
}

void expectRows(const json &expected, const json &got, const std::string &where) {
  EXPECT_EQ(expected.size(), got.size()) << where << ": number of rows";
  int reported = 0;
  for (std::size_t i = 0; i < std::max(expected.size(), got.size()) && reported < 5; ++i) {
    const json wanted = i < expected.size() ? expected[i] : json();
    const json found = i < got.size() ? got[i] : json();
    if (wanted == found) continue;
    ADD_FAILURE() << where << ", row " << i << ": expected " << wanted << ", got " << found;
    ++reported;
  }
}

}  // namespace pyrelux::test
