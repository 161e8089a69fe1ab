#import "RecordingHost.h"

#include "Trace.h"

using pyrelux::platform::trace;
using pyrelux::test::DeclaredParameter;
using pyrelux::test::FakeParameters;
using pyrelux::test::textOf;

namespace pyrelux::test {

std::string textOf(NSString *string) { return string ? [string UTF8String] : "(nil)"; }

NSBundle *filterBundle() {
  static NSBundle *bundle =
      [[NSBundle alloc] initWithPath:[NSString stringWithUTF8String:PYRELUX_TEST_BUNDLES "/Pyrelux.bundle"]];
  if (!bundle || ![bundle load]) throw std::runtime_error("the bundle in " PYRELUX_TEST_BUNDLES " does not load");
  return bundle;
}

Class filterClass() {
  const Class principal = [filterBundle() principalClass];
  if (!principal) throw std::runtime_error("the bundle names no class");
  return principal;
}

}  // namespace pyrelux::test

@implementation RecordingCreation

- (instancetype)init {
  self = [super init];
  if (self) _declared = new std::vector<DeclaredParameter>;
  return self;
}

- (void)dealloc {
  delete _declared;
  [super dealloc];
}

- (std::vector<DeclaredParameter> &)declared {
  return *_declared;
}

- (DeclaredParameter &)keep:(const char *)kind name:(NSString *)name parmId:(UInt32)parmId flags:(UInt32)flags {
  DeclaredParameter parameter;
  parameter.id = parmId;
  parameter.kind = kind;
  parameter.name = textOf(name);
  parameter.flags = flags;
  _declared->push_back(parameter);
  return _declared->back();
}

- (BOOL)addFloatSliderWithName:(NSString *)name
                        parmId:(UInt32)parmId
                  defaultValue:(double)defaultValue
                  parameterMin:(double)parameterMin
                  parameterMax:(double)parameterMax
                     sliderMin:(double)sliderMin
                     sliderMax:(double)sliderMax
                         delta:(double)delta
                     parmFlags:(UInt32)parmFlags {
  DeclaredParameter &parameter = [self keep:"float" name:name parmId:parmId flags:parmFlags];
  parameter.defaults = {defaultValue};
  parameter.minimum = parameterMin;
  parameter.maximum = parameterMax;
  parameter.sliderMinimum = sliderMin;
  parameter.sliderMaximum = sliderMax;
  parameter.delta = delta;
  return YES;
}

- (BOOL)addIntSliderWithName:(NSString *)name
                      parmId:(UInt32)parmId
                defaultValue:(SInt32)defaultValue
                parameterMin:(SInt32)parameterMin
                parameterMax:(SInt32)parameterMax
                   sliderMin:(SInt32)sliderMin
                   sliderMax:(SInt32)sliderMax
                       delta:(SInt32)delta
                   parmFlags:(UInt32)parmFlags {
  [self addFloatSliderWithName:name
                        parmId:parmId
                  defaultValue:defaultValue
                  parameterMin:parameterMin
                  parameterMax:parameterMax
                     sliderMin:sliderMin
                     sliderMax:sliderMax
                         delta:delta
                     parmFlags:parmFlags];
  _declared->back().kind = "int";
  return YES;
}

- (BOOL)addAngleSliderWithName:(NSString *)name
                        parmId:(UInt32)parmId
                  defaultValue:(double)defaultValue
                  parameterMin:(double)parameterMin
                  parameterMax:(double)parameterMax
                     parmFlags:(UInt32)parmFlags {
  DeclaredParameter &parameter = [self keep:"angle" name:name parmId:parmId flags:parmFlags];
  parameter.defaults = {defaultValue};
  parameter.minimum = parameterMin;
  parameter.maximum = parameterMax;
  return YES;
}

- (BOOL)addColorParameterWithName:(NSString *)name
                           parmId:(UInt32)parmId
                       defaultRed:(double)red
                     defaultGreen:(double)green
                      defaultBlue:(double)blue
                        parmFlags:(UInt32)parmFlags {
  [self keep:"colour" name:name parmId:parmId flags:parmFlags].defaults = {red, green, blue};
  return YES;
}

- (BOOL)addPointParameterWithName:(NSString *)name
                           parmId:(UInt32)parmId
                         defaultX:(double)x
                         defaultY:(double)y
                        parmFlags:(UInt32)parmFlags {
  [self keep:"point" name:name parmId:parmId flags:parmFlags].defaults = {x, y};
  return YES;
}

- (BOOL)addPopupMenuWithName:(NSString *)name
                      parmId:(UInt32)parmId
                defaultValue:(SInt32)defaultValue
                 menuEntries:(NSArray *)entries
                   parmFlags:(UInt32)parmFlags {
  DeclaredParameter &parameter = [self keep:"popup" name:name parmId:parmId flags:parmFlags];
  parameter.defaults = {static_cast<double>(defaultValue)};
  for (NSUInteger i = 0; i < [entries count]; ++i) parameter.entries.push_back(textOf([entries objectAtIndex:i]));
  return YES;
}

- (BOOL)addCustomParameterWithName:(NSString *)name
                            parmId:(UInt32)parmId
                      defaultValue:(id)defaultValue
                         parmFlags:(UInt32)parmFlags {
  [self keep:"custom" name:name parmId:parmId flags:parmFlags].hasDefaultObject = defaultValue != nil;
  return YES;
}

@end

@implementation RecordingParameters

- (instancetype)initWithValues:(FakeParameters *)values {
  self = [super init];
  if (self) _values = values;
  return self;
}

- (BOOL)getFloatValue:(double *)value fromParm:(UInt32)parmId atTime:(double)time {
  trace("host", "getFloatValue:fromParm:atTime:", parmId, time);
  *value = _values->floatValue(parmId, time);
  return YES;
}

- (BOOL)getIntValue:(int *)value fromParm:(UInt32)parmId atTime:(double)time {
  trace("host", "getIntValue:fromParm:atTime:", parmId, time);
  *value = _values->intValue(parmId, time);
  return YES;
}

- (BOOL)getRedValue:(double *)red
         greenValue:(double *)green
          blueValue:(double *)blue
           fromParm:(UInt32)parmId
             atTime:(double)time {
  trace("host", "getRedValue:greenValue:blueValue:fromParm:atTime:", parmId, time);
  const pyrelux::Colour colour = _values->colourValue(parmId, time);
  *red = colour.red;
  *green = colour.green;
  *blue = colour.blue;
  return YES;
}

- (BOOL)getXValue:(double *)x YValue:(double *)y fromParm:(UInt32)parmId atTime:(double)time {
  trace("host", "getXValue:YValue:fromParm:atTime:", parmId, time);
  const pyrelux::Point point = _values->pointValue(parmId, time);
  *x = point.x;
  *y = point.y;
  return YES;
}

@end

@implementation RecordingAPIManager

- (void)dealloc {
  [_creation release];
  [_retrieval release];
  [super dealloc];
}

- (void)offerCreation:(id)creation {
  [creation retain];
  [_creation release];
  _creation = creation;
}

- (void)offerRetrieval:(id)retrieval {
  [retrieval retain];
  [_retrieval release];
  _retrieval = retrieval;
}

- (id)apiForProtocol:(Protocol *)protocol {
  // By name, because the filter's protocol object belongs to another module.
  NSString *name = NSStringFromProtocol(protocol);
  trace("host", "apiForProtocol:", textOf(name).c_str());
  if ([name isEqualToString:@"FxParameterCreationAPI"]) return _creation;
  if ([name isEqualToString:@"FxParameterRetrievalAPI"]) return _retrieval;
  return nil;
}

@end

@implementation RecordingTexture

- (instancetype)initWithRole:(const char *)role info:(FxImageInfo)info type:(NSUInteger)type {
  self = [super initWithInfo:info textureName:1];
  if (self) {
    _role = role;
    _type = type;
    [super getTextureCoords:&_edges[0] right:&_edges[1] bottom:&_edges[2] top:&_edges[3]];
  }
  return self;
}

- (void)note:(const char *)message {
  trace("host", (std::string(_role) + "." + message).c_str());
}

- (NSUInteger)width {
  [self note:"width"];
  return [super width];
}

- (NSUInteger)height {
  [self note:"height"];
  return [super height];
}

- (NSUInteger)imageType {
  [self note:"imageType"];
  return _type;
}

- (NSUInteger)origin {
  [self note:"origin"];
  return [super origin];
}

- (double)pixelAspect {
  [self note:"pixelAspect"];
  return [super pixelAspect];
}

- (void)getTextureCoords:(double *)left right:(double *)right bottom:(double *)bottom top:(double *)top {
  [self note:"getTextureCoords:right:bottom:top:"];
  *left = _edges[0];
  *right = _edges[1];
  *bottom = _edges[2];
  *top = _edges[3];
}

- (void)setEdges:(pyrelux::TextureEdges)edges {
  _edges[0] = edges.left;
  _edges[1] = edges.right;
  _edges[2] = edges.bottom;
  _edges[3] = edges.top;
}

- (void)bind {
  [self note:"bind"];
}

- (void)enable {
  [self note:"enable"];
}

- (void)disable {
  [self note:"disable"];
}

@end
