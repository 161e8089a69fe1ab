#include "Plan.h"

#include <optional>

#include "FarmFiles.h"
#include "MediaErrors.h"
#include "MovieJoin.h"
#include "RequestJson.h"
#include "ValueError.h"
#include "Words.h"
#include "Writer.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

const Words<Product> &productWords() {
  static const Words<Product> words{
      {"sequence", Product::Sequence}, {"pieces", Product::Pieces}, {"pictures", Product::Pictures}};
  return words;
}

/// Calls work, whose complaints about JSON become one about the file.
template <typename Work>
auto reading(const fs::path &path, Work work) {
  try {
    return work(readJson(path));
  } catch (const nlohmann::json::exception &error) {
    media::failReading(path.string(), std::string("it is damaged: ") + error.what());
  } catch (const ValueError &error) {
    media::failReading(path.string(), error.what());
  }
}

Json roundJson(const std::vector<FrameList> &chunks, bool isAnew) {
  Json json = Json::array();
  for (const FrameList &chunk : chunks) json.push_back(formatFrames(chunk));
  return {{"anew", isAnew}, {"chunks", json}};
}

/// A path of the plan; those that are relative count from the folder.
std::string placed(const fs::path &folder, const std::string &path) {
  return fs::path(path).is_absolute() ? path : (folder / path).string();
}

}  // namespace

Plan readPlan(const fs::path &given) {
  const fs::path folder = fs::absolute(given).lexically_normal();
  const Layout layout{folder};
  std::error_code error;
  if (!fs::is_directory(folder, error)) media::failReading(given.string(), "there is no such folder");
  if (!fs::exists(layout.plan(), error))
    media::failReading(given.string(), "it holds no farm; 'pyrelux farm plan' makes one");
  return reading(layout.plan(), [&](const Json &json) {
    Plan plan;
    plan.version = json.at("pyrelux");
    plan.request = requestFrom(json.at("request"));
    if (plan.request.input) plan.request.input = placed(folder, *plan.request.input);
    if (plan.request.background && !plan.request.background->colour)
      plan.request.background->name = placed(folder, plan.request.background->name);
    plan.request.project = layout.project().string();
    const auto product = valueOf(productWords(), json.at("product").get<std::string>());
    if (!product) throw ValueError("its product is unknown");
    plan.product = *product;
    plan.frames = parseFrames(json.at("frames").get<std::string>());
    for (const Json &file : json.at("files"))
      plan.files.push_back({file.at("path"), file.at("bytes"), file.at("xxh3")});
    plan.width = json.at("size").at(0);
    plan.height = json.at("size").at(1);
    plan.drawBits = json.at("drawBits");
    plan.instructions = json.at("instructions");
    plan.secondsPerFrame = json.at("secondsPerFrame");
    plan.cores = json.at("cores");
    return plan;
  });
}

void writePlan(const fs::path &folder, const Plan &plan) {
  Json files = Json::array();
  for (const InputFile &file : plan.files)
    files.push_back({{"path", file.path}, {"bytes", file.bytes}, {"xxh3", file.fingerprint}});
  writeJson(Layout{folder}.plan(), {{"pyrelux", plan.version},
                                    {"request", toJson(plan.request)},
                                    {"product", wordFor(productWords(), plan.product)},
                                    {"frames", formatFrames(plan.frames)},
                                    {"files", files},
                                    {"size", {plan.width, plan.height}},
                                    {"drawBits", plan.drawBits},
                                    {"instructions", plan.instructions},
                                    {"secondsPerFrame", plan.secondsPerFrame},
                                    {"cores", plan.cores}});
}

Round readRound(const fs::path &folder, int number) {
  const fs::path path = Layout{folder}.round(number);
  return reading(path, [&](const Json &json) {
    Round round{number, {}, json.at("anew")};
    for (const Json &chunk : json.at("chunks")) round.chunks.push_back(parseFrames(chunk.get<std::string>()));
    return round;
  });
}

Round newestRound(const fs::path &folder) {
  std::error_code error;
  int number = 1;
  while (fs::exists(Layout{folder}.round(number + 1), error)) ++number;
  return readRound(folder, number);
}

int newestAnew(const fs::path &folder) {
  std::error_code error;
  int newest = 1;
  for (int number = 2; fs::exists(Layout{folder}.round(number), error); ++number) {
    try {
      if (readRound(folder, number).isAnew) newest = number;
    } catch (const media::InputError &) {
    }
  }
  return newest;
}

Round addRound(const fs::path &folder, std::vector<FrameList> chunks, bool isAnew) {
  const Json json = roundJson(chunks, isAnew);
  int number = 1;
  while (!writeNewJson(Layout{folder}.round(number), json)) ++number;
  return {number, std::move(chunks), isAnew};
}

Product productOf(const job::RenderRequest &request) {
  if (media::Writer::isSequence(request.output)) return Product::Sequence;
  return media::standsAlone(request.output, request.codec) ? Product::Pieces : Product::Pictures;
}

job::RenderRequest taskRequest(const Plan &plan, const std::string &output, const FrameList &part) {
  job::RenderRequest request = plan.request;
  request.output = output;
  request.part = part;
  request.makeFolders = true;
  request.existing = job::Existing::Refuse;
  request.withAudio = false;
  if (plan.product == Product::Pictures) {
    // What belongs to the encoding waits for the merge; a background is laid under here, with its density.
    request.codec = "float";
    request.alpha.reset();
    request.crf.reset();
    request.quality.reset();
    request.loopCount.reset();
    if (!request.background) request.density.reset();
  }
  return request;
}

}  // namespace pyrelux::farm
