#import "APIManager.h"

#include <cmath>
#include <initializer_list>

#include "Foundation.h"

using pyrelux::host::ParameterDeclaration;
using pyrelux::host::ParameterKind;
using pyrelux::host::ParameterSet;
using pyrelux::host::ParameterValue;
using pyrelux::host::toStdString;

namespace {

constexpr double degreesPerRadian = 180.0 / M_PI;

/// The parameter, when it has one of the kinds; otherwise null.
const ParameterDeclaration *parameterOfKind(const ParameterSet &parameters, UInt32 id,
                                            std::initializer_list<ParameterKind> kinds) {
  const ParameterDeclaration *parameter = parameters.find(id);
  for (const ParameterKind kind : kinds)
    if (parameter && parameter->kind == kind) return parameter;
  return nullptr;
}

}  // namespace

@implementation PyreluxParameterCreation

- (instancetype)initWithDeclarations:(std::vector<ParameterDeclaration> *)declarations {
  self = [super init];
  if (self) _declarations = declarations;
  return self;
}

- (ParameterDeclaration &)add:(ParameterKind)kind named:(NSString *)name id:(UInt32)parmId flags:(UInt32)flags {
  ParameterDeclaration declaration;
  declaration.id = parmId;
  declaration.kind = kind;
  declaration.label = toStdString(name);
  declaration.key = declaration.label;
  declaration.flags = flags;
  _declarations->push_back(declaration);
  return _declarations->back();
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
  ParameterDeclaration &added = [self add:ParameterKind::Float named:name id:parmId flags:parmFlags];
  added.defaultValue = {defaultValue};
  added.minimum = parameterMin;
  added.maximum = parameterMax;
  added.sliderMinimum = sliderMin;
  added.sliderMaximum = sliderMax;
  added.delta = delta;
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
  ParameterDeclaration &added = [self add:ParameterKind::Integer named:name id:parmId flags:parmFlags];
  added.defaultValue = {static_cast<double>(defaultValue)};
  added.minimum = parameterMin;
  added.maximum = parameterMax;
  added.sliderMinimum = sliderMin;
  added.sliderMaximum = sliderMax;
  added.delta = delta;
  return YES;
}

- (BOOL)addAngleSliderWithName:(NSString *)name
                        parmId:(UInt32)parmId
                  defaultValue:(double)defaultValue
                  parameterMin:(double)parameterMin
                  parameterMax:(double)parameterMax
                     parmFlags:(UInt32)parmFlags {
  ParameterDeclaration &added = [self add:ParameterKind::Angle named:name id:parmId flags:parmFlags];
  // Declared in two units: the default in degrees, the bounds in radians.
  added.defaultValue = {defaultValue};
  added.minimum = added.sliderMinimum = parameterMin * degreesPerRadian;
  added.maximum = added.sliderMaximum = parameterMax * degreesPerRadian;
  return YES;
}

- (BOOL)addColorParameterWithName:(NSString *)name
                           parmId:(UInt32)parmId
                       defaultRed:(double)red
                     defaultGreen:(double)green
                      defaultBlue:(double)blue
                        parmFlags:(UInt32)parmFlags {
  [self add:ParameterKind::Colour named:name id:parmId flags:parmFlags].defaultValue = {red, green, blue};
  return YES;
}

- (BOOL)addPointParameterWithName:(NSString *)name
                           parmId:(UInt32)parmId
                         defaultX:(double)x
                         defaultY:(double)y
                        parmFlags:(UInt32)parmFlags {
  [self add:ParameterKind::Point named:name id:parmId flags:parmFlags].defaultValue = {x, y};
  return YES;
}

- (BOOL)addPopupMenuWithName:(NSString *)name
                      parmId:(UInt32)parmId
                defaultValue:(SInt32)defaultValue
                 menuEntries:(NSArray *)entries
                   parmFlags:(UInt32)parmFlags {
  ParameterDeclaration &added = [self add:ParameterKind::Popup named:name id:parmId flags:parmFlags];
  added.defaultValue = {static_cast<double>(defaultValue)};
  for (NSUInteger i = 0; i < [entries count]; ++i) added.entries.push_back(toStdString([entries objectAtIndex:i]));
  return YES;
}

- (BOOL)addCustomParameterWithName:(NSString *)name
                            parmId:(UInt32)parmId
                      defaultValue:(id)defaultValue
                         parmFlags:(UInt32)parmFlags {
  (void)defaultValue;
  [self add:ParameterKind::Custom named:name id:parmId flags:parmFlags];
  return YES;
}

@end

@implementation PyreluxParameterRetrieval

- (void)setParameters:(const pyrelux::host::ParameterSet *)parameters {
  _parameters = parameters;
}

- (void)setTopLeftOrigin:(BOOL)topLeftOrigin {
  _topLeftOrigin = topLeftOrigin;
}

- (BOOL)getFloatValue:(double *)value fromParm:(UInt32)parmId atTime:(double)time {
  const ParameterDeclaration *parameter = parameterOfKind(
      *_parameters, parmId, {ParameterKind::Float, ParameterKind::Angle, ParameterKind::Integer, ParameterKind::Popup});
  if (!parameter || !value) return NO;
  const double number = _parameters->value(parmId, time)[0];
  *value = parameter->kind == ParameterKind::Angle ? number * (M_PI / 180.0) : number;
  return YES;
}

- (BOOL)getIntValue:(int *)value fromParm:(UInt32)parmId atTime:(double)time {
  if (!value || !parameterOfKind(*_parameters, parmId, {ParameterKind::Integer, ParameterKind::Popup})) return NO;
  *value = static_cast<int>(std::lround(_parameters->value(parmId, time)[0]));
  return YES;
}

- (BOOL)getRedValue:(double *)red
         greenValue:(double *)green
          blueValue:(double *)blue
           fromParm:(UInt32)parmId
             atTime:(double)time {
  if (!red || !green || !blue || !parameterOfKind(*_parameters, parmId, {ParameterKind::Colour})) return NO;
  const ParameterValue value = _parameters->value(parmId, time);
  *red = value[0];
  *green = value[1];
  *blue = value[2];
  return YES;
}

- (BOOL)getXValue:(double *)x YValue:(double *)y fromParm:(UInt32)parmId atTime:(double)time {
  if (!x || !y || !parameterOfKind(*_parameters, parmId, {ParameterKind::Point})) return NO;
  const ParameterValue value = _parameters->value(parmId, time);
  *x = value[0];
  // A filter measures the point from the image's first row; people measure it from the bottom.
  *y = _topLeftOrigin ? 1.0 - value[1] : value[1];
  return YES;
}

@end

@implementation PyreluxAPIManager

- (void)dealloc {
  [_creation release];
  [_retrieval release];
  [super dealloc];
}

- (void)setCreation:(PyreluxParameterCreation *)creation {
  [creation retain];
  [_creation release];
  _creation = creation;
}

- (void)setRetrieval:(PyreluxParameterRetrieval *)retrieval {
  [retrieval retain];
  [_retrieval release];
  _retrieval = retrieval;
}

- (id)apiForProtocol:(Protocol *)protocol {
  // By name: the filter's module has protocol objects of its own.
  NSString *name = NSStringFromProtocol(protocol);
  if ([name isEqualToString:@"FxParameterCreationAPI"]) return _creation;
  if ([name isEqualToString:@"FxParameterRetrievalAPI"]) return _retrieval;
  return nil;
}

@end
