#include "RequestJson.h"

#include "ValueError.h"

namespace pyrelux::farm {

namespace {

template <typename Value>
void put(Json &json, const char *name, const std::optional<Value> &value) {
  if (value) json[name] = *value;
}

template <typename Value>
void putWord(Json &json, const char *name, const std::optional<Value> &value, const Words<Value> &words) {
  if (value) json[name] = wordFor(words, *value);
}

template <typename Value>
void take(const Json &json, const char *name, std::optional<Value> &value) {
  if (json.contains(name)) value = json[name].get<Value>();
}

template <typename Value>
void takeWord(const Json &json, const char *name, std::optional<Value> &value, const Words<Value> &words) {
  if (!json.contains(name)) return;
  const auto text = json[name].get<std::string>();
  value = valueOf(words, text);
  if (!value) throw ValueError("'" + text + "' is no value of '" + name + "'");
}

}  // namespace

Json toJson(const job::RenderRequest &request) {
  Json json = Json::object();
  put(json, "input", request.input);
  put(json, "testPattern", request.testPattern);
  json["deinterlace"] = request.deinterlace;
  putWord(json, "vfr", request.variableRate, job::variableRateWords());
  put(json, "drawBits", request.drawBits);
  json["output"] = request.output;
  json["codec"] = request.codec;
  putWord(json, "alpha", request.alpha, job::alphaWords());
  put(json, "crf", request.crf);
  put(json, "quality", request.quality);
  put(json, "loopCount", request.loopCount);
  json["makeFolders"] = request.makeFolders;
  put(json, "density", request.density);
  if (request.background) {
    Json &over = json["over"];
    over["name"] = request.background->name;
    over["askedAs"] = request.background->askedAs;
    over["isColour"] = request.background->colour.has_value();
    putWord(over, "fit", request.background->fit, job::fitWords());
    over["loop"] = request.background->isLooped;
  }
  json["audio"] = request.withAudio;
  json["overwrite"] = request.existing == job::Existing::Replace;
  json["backend"] = request.backend;
  return json;
}

job::RenderRequest requestFrom(const Json &json) {
  job::RenderRequest request;
  try {
    take(json, "input", request.input);
    take(json, "testPattern", request.testPattern);
    request.deinterlace = json.at("deinterlace");
    takeWord(json, "vfr", request.variableRate, job::variableRateWords());
    take(json, "drawBits", request.drawBits);
    request.output = json.at("output");
    request.codec = json.at("codec");
    takeWord(json, "alpha", request.alpha, job::alphaWords());
    take(json, "crf", request.crf);
    take(json, "quality", request.quality);
    take(json, "loopCount", request.loopCount);
    request.makeFolders = json.at("makeFolders");
    take(json, "density", request.density);
    if (json.contains("over")) {
      const Json &over = json["over"];
      request.background.emplace();
      request.background->name = over.at("name");
      request.background->askedAs = over.at("askedAs");
      if (over.at("isColour")) request.background->colour = readColour(request.background->name);
      takeWord(over, "fit", request.background->fit, job::fitWords());
      request.background->isLooped = over.at("loop");
    }
    request.withAudio = json.at("audio");
    if (json.at("overwrite")) request.existing = job::Existing::Replace;
    request.backend = json.at("backend");
  } catch (const nlohmann::json::exception &error) {
    throw ValueError(std::string("the request is damaged: ") + error.what());
  }
  return request;
}

}  // namespace pyrelux::farm
