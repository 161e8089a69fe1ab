// Filters that tests need a host to meet: one that tells what it was given, and several that misbehave.

#import <FxPlug/FxPlugSDK.h>
#import <PluginManager/PROAPIAccessing.h>

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

/// Behaves. Fills the output with a colour made of what it was given, and keeps a report of its last frame.
@interface ProbeFilter : NSObject <FxFilter> {
 @protected
  id<PROAPIAccessing> _apiManager;
}
/// What the last frame of any probe was given, by name.
+ (NSDictionary *)report;
/// The messages that probes got, in order, by their first words; parameterChanged: with its id.
+ (NSArray *)messages;
+ (void)forgetMessages;
@end

static NSMutableDictionary *lastReport = nil;
static NSMutableArray *messages = nil;

static void got(NSString *message) {
  if (!messages) messages = [[NSMutableArray alloc] init];
  [messages addObject:message];
}

static void note(NSString *name, double value) {
  if (!lastReport) lastReport = [[NSMutableDictionary alloc] init];
  [lastReport setObject:[NSNumber numberWithDouble:value] forKey:name];
}

@implementation ProbeFilter

+ (NSDictionary *)report {
  return lastReport;
}

+ (NSArray *)messages {
  return messages;
}

+ (void)forgetMessages {
  [messages removeAllObjects];
}

- (id)initWithAPIManager:(id<PROAPIAccessing>)apiManager {
  got(@"init");
  self = [super init];
  if (self) _apiManager = apiManager;
  return self;
}

- (NSDictionary *)properties {
  got(@"properties");
  return [NSDictionary dictionaryWithObjectsAndKeys:[NSNumber numberWithBool:YES], @"SupportsRowBytes",
                                                    [NSNumber numberWithBool:NO], @"IsThreadSafe", nil];
}

- (BOOL)variesOverTime {
  return NO;
}

- (BOOL)addParameters {
  got(@"addParameters");
  id<FxParameterCreationAPI> api = [_apiManager apiForProtocol:@protocol(FxParameterCreationAPI)];
  BOOL added = YES;
  added &= [api addAngleSliderWithName:@"Turn"
                                parmId:7
                          defaultValue:30.0
                          parameterMin:-3.141592653589793
                          parameterMax:6.283185307179586
                             parmFlags:0];
  added &= [api addIntSliderWithName:@"Count"
                              parmId:3
                        defaultValue:5
                        parameterMin:1
                        parameterMax:9
                           sliderMin:2
                           sliderMax:8
                               delta:1
                           parmFlags:0];
  added &= [api addFloatSliderWithName:@"Amount"
                                parmId:2
                          defaultValue:0.5
                          parameterMin:-1
                          parameterMax:1
                             sliderMin:-0.5
                             sliderMax:1
                                 delta:0.01
                             parmFlags:0];
  added &= [api addColorParameterWithName:@"Tint"
                                   parmId:4
                               defaultRed:0.25
                             defaultGreen:0.5
                              defaultBlue:0.75
                                parmFlags:0];
  added &= [api addPointParameterWithName:@"Centre" parmId:5 defaultX:0.25 defaultY:0.125 parmFlags:0];
  added &= [api addPopupMenuWithName:@"Mode"
                              parmId:6
                        defaultValue:1
                         menuEntries:[NSArray arrayWithObjects:@"First", @"Second One", nil]
                           parmFlags:0];
  added &= [api addCustomParameterWithName:@"Header" parmId:1 defaultValue:nil parmFlags:64];
  note(@"added", added);
  return YES;
}

- (BOOL)parameterChanged:(UInt32)parmId {
  got([NSString stringWithFormat:@"parameterChanged:%u", (unsigned)parmId]);
  return YES;
}

- (BOOL)getOutputWidth:(UInt64 *)width
                height:(UInt64 *)height
             withInput:(FxImageInfo)info
              withInfo:(FxRenderInfo)renderInfo {
  got(@"getOutputWidth");
  note(@"outputAsked", renderInfo.frame);
  *width = info.width;
  *height = info.height;
  return YES;
}

- (BOOL)frameSetup:(FxRenderInfo)info
         inputInfo:(FxImageInfo)inputInfo
          hardware:(BOOL *)hardware
          software:(BOOL *)software {
  got(@"frameSetup");
  note(@"inputDepth", inputInfo.depth);
  note(@"inputPremultiplied", inputInfo.isPremultiplied);
  note(@"inputChannels", inputInfo.channels);
  note(@"inputPixelFormat", inputInfo.pixelFormat);
  note(@"renderDepth", info.depth);
  note(@"scaleX", info.scaleX);
  note(@"scaleY", info.scaleY);
  note(@"quality", info.qualityLevel);
  note(@"fieldOrder", info.fieldOrder);
  note(@"setUp", info.frame);
  *hardware = YES;
  *software = NO;
  return YES;
}

- (BOOL)renderOutput:(FxImage *)output withInput:(FxImage *)input withInfo:(FxRenderInfo)info {
  got(@"renderOutput");
  id<FxParameterRetrievalAPI> api = [_apiManager apiForProtocol:@protocol(FxParameterRetrievalAPI)];
  note(@"offersCreation", [_apiManager apiForProtocol:@protocol(FxParameterCreationAPI)] != nil);
  double turn = 0, amount = 0, red = 0, green = 0, blue = 0, x = 0, y = 0, wrong = -1;
  int count = 0, mode = 0;
  [api getFloatValue:&turn fromParm:7 atTime:info.frame];
  [api getIntValue:&count fromParm:3 atTime:info.frame];
  [api getFloatValue:&amount fromParm:2 atTime:info.frame];
  [api getRedValue:&red greenValue:&green blueValue:&blue fromParm:4 atTime:info.frame];
  [api getXValue:&x YValue:&y fromParm:5 atTime:info.frame];
  [api getIntValue:&mode fromParm:6 atTime:info.frame];
  note(@"turn", turn);
  note(@"count", count);
  note(@"amount", amount);
  note(@"red", red);
  note(@"green", green);
  note(@"blue", blue);
  note(@"x", x);
  note(@"y", y);
  note(@"mode", mode);
  note(@"answersUnknownId", [api getFloatValue:&wrong fromParm:99 atTime:0]);
  note(@"answersWrongKind", [api getFloatValue:&wrong fromParm:4 atTime:0]);
  note(@"time", info.frame);
  note(@"sharesContext", info.sharedContext == CGLGetCurrentContext());
  note(@"outputDepth", [output depth]);
  note(@"outputType", [output imageType]);
  note(@"outputOrigin", [output origin]);
  note(@"inputWidth", [input width]);
  note(@"inputHeight", [input height]);
  note(@"outputWidth", [output width]);
  note(@"outputHeight", [output height]);
  note(@"pixelAspect", [input pixelAspect]);
  double left = -1, right = -1, bottom = -1, top = -1;
  [(FxTexture *)input getTextureCoords:&left right:&right bottom:&bottom top:&top];
  note(@"inputRight", right);
  note(@"inputTop", top);

  // The input as it is, over the whole output: what comes back tells orientation, filtering and depth.
  const double w = [output width], h = [output height];
  glDisable(GL_BLEND);
  glColor4f(1, 1, 1, 1);
  [(FxTexture *)input bind];
  [(FxTexture *)input enable];
  glBegin(GL_QUADS);
  glTexCoord2f(left, bottom);
  glVertex2f(-w / 2, -h / 2);
  glTexCoord2f(right, bottom);
  glVertex2f(w / 2, -h / 2);
  glTexCoord2f(right, top);
  glVertex2f(w / 2, h / 2);
  glTexCoord2f(left, top);
  glVertex2f(-w / 2, h / 2);
  glEnd();
  [(FxTexture *)input disable];
  return YES;
}

- (BOOL)frameCleanup {
  got(@"frameCleanup");
  note(@"cleanups", [[lastReport objectForKey:@"cleanups"] doubleValue] + 1);
  return YES;
}

@end

/// Refuses every frame.
@interface RefusingFilter : ProbeFilter
@end
@implementation RefusingFilter
- (BOOL)renderOutput:(FxImage *)output withInput:(FxImage *)input withInfo:(FxRenderInfo)info {
  (void)output, (void)input, (void)info;
  return NO;
}
@end

/// Raises in the middle of a frame, with another context than the host's current.
@interface RaisingFilter : ProbeFilter
@end
@implementation RaisingFilter
- (BOOL)renderOutput:(FxImage *)output withInput:(FxImage *)input withInfo:(FxRenderInfo)info {
  (void)output, (void)input, (void)info;
  CGLSetCurrentContext(NULL);
  [NSException raise:@"ProbeException" format:@"on purpose"];
  return YES;
}
@end

/// Raises while it is asked for its parameters.
@interface RaisingEarlyFilter : ProbeFilter
@end
@implementation RaisingEarlyFilter
- (BOOL)addParameters {
  [NSException raise:@"ProbeException" format:@"on purpose"];
  return YES;
}
@end

/// Leaves an OpenGL error behind.
@interface ErroneousFilter : ProbeFilter
@end
@implementation ErroneousFilter
- (BOOL)renderOutput:(FxImage *)output withInput:(FxImage *)input withInfo:(FxRenderInfo)info {
  (void)output, (void)input, (void)info;
  glEnable(0xFFFF);
  return YES;
}
@end

/// Declares no parameters.
@interface SilentFilter : ProbeFilter
@end
@implementation SilentFilter
- (BOOL)addParameters {
  return NO;
}
@end

/// Declares parameters the first time only.
@interface FickleFilter : ProbeFilter
@end
@implementation FickleFilter
- (BOOL)addParameters {
  static BOOL hasDeclared = NO;
  if (hasDeclared) return NO;
  hasDeclared = YES;
  return [super addParameters];
}
@end

/// Refuses every set-up, though it could render.
@interface UnreadyFilter : ProbeFilter
@end
@implementation UnreadyFilter
- (BOOL)frameSetup:(FxRenderInfo)info
         inputInfo:(FxImageInfo)inputInfo
          hardware:(BOOL *)hardware
          software:(BOOL *)software {
  [super frameSetup:info inputInfo:inputInfo hardware:hardware software:software];
  return NO;
}
@end

/// Raises in clean-up alone.
@interface RaisingLastFilter : ProbeFilter
@end
@implementation RaisingLastFilter
- (BOOL)frameCleanup {
  [super frameCleanup];
  [NSException raise:@"ProbeException" format:@"on purpose"];
  return YES;
}
@end

/// Renders in software only, and raises in clean-up.
@interface RaisingAfterFilter : RaisingLastFilter
@end
@implementation RaisingAfterFilter
- (BOOL)frameSetup:(FxRenderInfo)info
         inputInfo:(FxImageInfo)inputInfo
          hardware:(BOOL *)hardware
          software:(BOOL *)software {
  [super frameSetup:info inputInfo:inputInfo hardware:hardware software:software];
  *hardware = NO;
  return YES;
}
@end

/// Renders in software only.
@interface SoftwareFilter : ProbeFilter
@end
@implementation SoftwareFilter
- (BOOL)frameSetup:(FxRenderInfo)info
         inputInfo:(FxImageInfo)inputInfo
          hardware:(BOOL *)hardware
          software:(BOOL *)software {
  (void)info, (void)inputInfo;
  *hardware = NO;
  *software = YES;
  return YES;
}
@end

/// Says nothing about what it renders with.
@interface VagueFilter : ProbeFilter
@end
@implementation VagueFilter
- (BOOL)frameSetup:(FxRenderInfo)info
         inputInfo:(FxImageInfo)inputInfo
          hardware:(BOOL *)hardware
          software:(BOOL *)software {
  (void)info, (void)inputInfo, (void)hardware, (void)software;
  return YES;
}
@end

/// Gives no output size.
@interface SizelessFilter : ProbeFilter
@end
@implementation SizelessFilter
- (BOOL)getOutputWidth:(UInt64 *)width
                height:(UInt64 *)height
             withInput:(FxImageInfo)info
              withInfo:(FxRenderInfo)renderInfo {
  (void)width, (void)height, (void)info, (void)renderInfo;
  return NO;
}
@end

/// Is none.
@interface NotAFilter : NSObject
@end
@implementation NotAFilter
@end
