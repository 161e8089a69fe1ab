#import "HostObjects.h"

namespace pyrelux {

bool HostParameters::open() {
  api_ = [apiManager_ apiForProtocol:@protocol(FxParameterRetrievalAPI)];
  return api_ != nil;
}

int HostParameters::intValue(std::uint32_t id, double time) {
  int value = 0;
  [api_ getIntValue:&value fromParm:id atTime:time];
  return value;
}

double HostParameters::floatValue(std::uint32_t id, double time) {
  double value = 0.0;
  [api_ getFloatValue:&value fromParm:id atTime:time];
  return value;
}

Colour HostParameters::colourValue(std::uint32_t id, double time) {
  Colour value;
  [api_ getRedValue:&value.red greenValue:&value.green blueValue:&value.blue fromParm:id atTime:time];
  return value;
}

Point HostParameters::pointValue(std::uint32_t id, double time) {
  Point value;
  [api_ getXValue:&value.x YValue:&value.y fromParm:id atTime:time];
  return value;
}

std::uint64_t HostImage::imageType() { return [image_ imageType]; }
std::uint64_t HostImage::width() { return [image_ width]; }
std::uint64_t HostImage::height() { return [image_ height]; }
std::uint64_t HostImage::origin() { return [image_ origin]; }
double HostImage::pixelAspect() { return [image_ pixelAspect]; }

TextureEdges HostImage::textureEdges() {
  TextureEdges edges;
  [image_ getTextureCoords:&edges.left right:&edges.right bottom:&edges.bottom top:&edges.top];
  return edges;
}

void HostImage::bind() { [image_ bind]; }
void HostImage::enable() { [image_ enable]; }
void HostImage::disable() { [image_ disable]; }

}  // namespace pyrelux
