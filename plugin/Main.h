#pragma once

#import <FxPlug/FxPlugSDK.h>
#import <PluginManager/PROAPIAccessing.h>

/// The filter: a host creates one object for each use of the effect. The protocols say when a host calls which method.
///
/// Thread: one at a time for each object; the property "IsThreadSafe" NO tells hosts so. All objects of a process share
/// one offscreen surface.
@interface Pyrelux_64 : NSObject <FxFilter, FxCustomParameterViewHost> {
  id<PROAPIAccessing> _apiManager;  ///< not retained: the host owns it and keeps it as long as the filter lives
  NSBundle *_bundle;                ///< the bundle that holds this class

  // Entries of the popup that addParameters declares. Deliberate: both popups use the same fields, which keep the last
  // one's entries.
  NSArray *popupmenu1;
  NSString *popup1;
  NSString *popup2;
  NSString *popup3;  ///< Deliberate: never used

  // The phases that one frame leaves for the next; see PhaseAccumulators.
  double oldFrame;
  double currentFrame_for_turbulenceSpeed;
  double currentFrame_for_wiggleTurbulence;
}

- (instancetype)initWithAPIManager:(id<PROAPIAccessing>)apiManager;

/// The header button's action: opens the maker's web page.
- (void)procSpecParamHeader:(id)sender;

@end
