#pragma once

#import <FxPlug/FxPlugSDK.h>
#import <PluginManager/PROAPIAccessing.h>

/// The filter: what a host creates for each use of the effect. See the protocols for when its methods are called.
///
/// Thread: one at a time for each object, as the property "IsThreadSafe" NO asks for; all objects share one offscreen
/// surface.
@interface Pyrelux_64 : NSObject <FxFilter, FxCustomParameterViewHost> {
  id<PROAPIAccessing> _apiManager;  ///< the host's; not retained, as hosts own it for the filter's life
  NSBundle *_bundle;                ///< the bundle that holds this class

  // The popup being declared. Both popups go through the same fields, so these hold the last one's entries: this is
  // meant.
  NSArray *popupmenu1;
  NSString *popup1;
  NSString *popup2;
  NSString *popup3;  ///< never used; this is meant

  // The phases that one frame leaves for the next.
  double oldFrame;
  double currentFrame_for_turbulenceSpeed;
  double currentFrame_for_wiggleTurbulence;
}

- (instancetype)initWithAPIManager:(id<PROAPIAccessing>)apiManager;

/// Opens the maker's web page; the header button's action.
- (void)procSpecParamHeader:(id)sender;

@end
