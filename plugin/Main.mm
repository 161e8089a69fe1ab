#import "Main.h"

#import <AppKit/AppKit.h>

#include "FrameRender.h"
#import "HostObjects.h"
#include "OffscreenSurface.h"
#include "ParameterTable.h"

namespace {

// Functions and not methods: the class has no methods beyond the hosts' and dealloc.

NSString *localized(NSBundle *bundle, const char *key) {
  return [bundle localizedStringForKey:[NSString stringWithUTF8String:key] value:nil table:nil];
}

/// Declares a row to the host. `entries` are a popup's; other rows ignore them.
void declareRow(const pyrelux::ParameterRow &row, NSString *name, NSArray *entries, id<FxParameterCreationAPI> api) {
  const UInt32 parmId = row.id;
  switch (row.kind) {
    case pyrelux::RowKind::Header:
      [api addCustomParameterWithName:name parmId:parmId defaultValue:nil parmFlags:kFxParameterFlag_CUSTOM_UI];
      break;
    case pyrelux::RowKind::IntSlider:
      [api addIntSliderWithName:name
                         parmId:parmId
                   defaultValue:static_cast<SInt32>(row.defaults[0])
                   parameterMin:static_cast<SInt32>(row.minimum)
                   parameterMax:static_cast<SInt32>(row.maximum)
                      sliderMin:static_cast<SInt32>(row.minimum)
                      sliderMax:static_cast<SInt32>(row.maximum)
                          delta:static_cast<SInt32>(row.delta)
                      parmFlags:kFxParameterFlag_DEFAULT];
      break;
    case pyrelux::RowKind::FloatSlider:
      [api addFloatSliderWithName:name
                           parmId:parmId
                     defaultValue:row.defaults[0]
                     parameterMin:row.minimum
                     parameterMax:row.maximum
                        sliderMin:row.minimum
                        sliderMax:row.maximum
                            delta:row.delta
                        parmFlags:kFxParameterFlag_DEFAULT];
      break;
    case pyrelux::RowKind::AngleSlider:
      [api addAngleSliderWithName:name
                           parmId:parmId
                     defaultValue:row.defaults[0]
                     parameterMin:row.minimum
                     parameterMax:row.maximum
                        parmFlags:kFxParameterFlag_DEFAULT];
      break;
    case pyrelux::RowKind::Colour:
      [api addColorParameterWithName:name
                              parmId:parmId
                          defaultRed:row.defaults[0]
                        defaultGreen:row.defaults[1]
                         defaultBlue:row.defaults[2]
                           parmFlags:kFxParameterFlag_DEFAULT];
      break;
    case pyrelux::RowKind::Point:
      [api addPointParameterWithName:name
                              parmId:parmId
                            defaultX:row.defaults[0]
                            defaultY:row.defaults[1]
                           parmFlags:kFxParameterFlag_DEFAULT];
      break;
    case pyrelux::RowKind::Popup:
      [api addPopupMenuWithName:name
                         parmId:parmId
                   defaultValue:static_cast<SInt32>(row.defaults[0])
                    menuEntries:entries
                      parmFlags:kFxParameterFlag_DEFAULT];
      break;
  }
}

}  // namespace

@implementation Pyrelux_64

- (instancetype)initWithAPIManager:(id<PROAPIAccessing>)apiManager {
  // Deliberate: no superclass initialiser is called.
  _apiManager = apiManager;
  _bundle = [NSBundle bundleForClass:[self class]];
  oldFrame = 0.0;
  currentFrame_for_turbulenceSpeed = 0.0;
  currentFrame_for_wiggleTurbulence = 0.0;
  return self;
}

// Releases what addParameters retained.
- (void)dealloc {
  [popupmenu1 release];
  [popup1 release];
  [popup2 release];
  [super dealloc];
}

// --- What the filter is

- (NSDictionary *)properties {
  NSNumber *yes = [NSNumber numberWithBool:YES];
  NSNumber *no = [NSNumber numberWithBool:NO];
  return [NSDictionary dictionaryWithObjectsAndKeys:yes, @"SupportsRowBytes", no, @"SupportsR408", no, @"SupportsR4fl",
                                                    no, @"MayRemapTime", no, @"IsThreadSafe", nil];
}

- (BOOL)variesOverTime {
  return YES;
}

// --- Parameters

- (BOOL)addParameters {
  id<FxParameterCreationAPI> api = [_apiManager apiForProtocol:@protocol(FxParameterCreationAPI)];
  if (!api) return NO;
  for (const pyrelux::ParameterRow &row : pyrelux::kParameterTable) {
    // A popup's entries come from the string table before its own name does.
    if (row.kind == pyrelux::RowKind::Popup) {
      [popup1 release];
      popup1 = [localized(_bundle, row.entries[0]) retain];
      [popup2 release];
      popup2 = [localized(_bundle, row.entries[1]) retain];
      [popupmenu1 release];
      popupmenu1 = [[NSArray alloc] initWithObjects:popup1, popup2, nil];
    }
    const bool isHeader = row.kind == pyrelux::RowKind::Header;
    declareRow(row, isHeader ? [NSString stringWithUTF8String:row.key] : localized(_bundle, row.key), popupmenu1, api);
  }
  return YES;
}

- (BOOL)parameterChanged:(UInt32)parmId {
  (void)parmId;
  return YES;
}

// --- Frames

- (BOOL)getOutputWidth:(UInt64 *)width
                height:(UInt64 *)height
             withInput:(FxImageInfo)inputInfo
              withInfo:(FxRenderInfo)renderInfo {
  (void)renderInfo;
  if (!width || !height) return NO;
  *width = inputInfo.width;
  *height = inputInfo.height;
  return YES;
}

- (BOOL)frameSetup:(FxRenderInfo)renderInfo
         inputInfo:(FxImageInfo)inputInfo
          hardware:(BOOL *)canRenderHardware
          software:(BOOL *)canRenderSoftware {
  (void)renderInfo;
  (void)inputInfo;
  *canRenderHardware = YES;
  *canRenderSoftware = NO;
  return YES;
}

- (BOOL)renderOutput:(FxImage *)outputImage withInput:(FxImage *)inputImage withInfo:(FxRenderInfo)renderInfo {
  pyrelux::HostParameters parameters(_apiManager);
  pyrelux::HostImage output(outputImage);
  pyrelux::HostImage input(inputImage);
  const pyrelux::PhaseAccumulators phases{oldFrame, currentFrame_for_turbulenceSpeed,
                                          currentFrame_for_wiggleTurbulence};
  return pyrelux::renderFrame(parameters, output, input, renderInfo.frame, phases) ? YES : NO;
}

- (BOOL)frameCleanup {
  pyrelux::cleanUpSurface();
  return YES;
}

// --- Header row

- (NSView *)createViewForParm:(UInt32)parmId {
  if (parmId != pyrelux::kHeader) return nil;
  NSString *path = [_bundle pathForResource:@"Morvane" ofType:@"png"];
  NSImage *logo = path ? [[[NSImage alloc] initWithContentsOfFile:path] autorelease] : nil;
  // Without a logo there is still a button, of size 0. Not every runtime returns a zero NSSize for a message to nil.
  const NSSize size = logo ? [logo size] : NSMakeSize(0.0, 0.0);
  NSButton *button = [[[NSButton alloc] initWithFrame:NSMakeRect(0.0, 0.0, size.width, size.height)] autorelease];
  [button setBezelStyle:NSRegularSquareBezelStyle];
  [button setTitle:@""];
  [button setImage:logo];
  [button setAlternateImage:logo];
  [button setTag:pyrelux::kHeader];
  [button setBordered:NO];
  [button setTransparent:NO];
  [button setButtonType:NSMomentaryPushInButton];
  [button setTarget:self];
  [button setAction:@selector(procSpecParamHeader:)];
  return button;
}

- (void)procSpecParamHeader:(id)sender {
  (void)sender;
  NSURL *address = [NSURL URLWithString:[NSString stringWithUTF8String:pyrelux::kMakerAddress]];
  [[NSWorkspace sharedWorkspace] openURL:address];
}

@end
