#pragma once

#import <FxPlug/FxTypes.h>

/// Declares parameters to the host, which shows the names as given. Angle defaults are in degrees, angle bounds in
/// radians.
@protocol FxParameterCreationAPI <NSObject>
- (BOOL)addFloatSliderWithName:(NSString *)name
                        parmId:(UInt32)parmId
                  defaultValue:(double)defaultValue
                  parameterMin:(double)parameterMin
                  parameterMax:(double)parameterMax
                     sliderMin:(double)sliderMin
                     sliderMax:(double)sliderMax
                         delta:(double)delta
                     parmFlags:(UInt32)parmFlags;
- (BOOL)addIntSliderWithName:(NSString *)name
                      parmId:(UInt32)parmId
                defaultValue:(SInt32)defaultValue
                parameterMin:(SInt32)parameterMin
                parameterMax:(SInt32)parameterMax
                   sliderMin:(SInt32)sliderMin
                   sliderMax:(SInt32)sliderMax
                       delta:(SInt32)delta
                   parmFlags:(UInt32)parmFlags;
- (BOOL)addAngleSliderWithName:(NSString *)name
                        parmId:(UInt32)parmId
                  defaultValue:(double)defaultValue
                  parameterMin:(double)parameterMin
                  parameterMax:(double)parameterMax
                     parmFlags:(UInt32)parmFlags;
- (BOOL)addColorParameterWithName:(NSString *)name
                           parmId:(UInt32)parmId
                       defaultRed:(double)red
                     defaultGreen:(double)green
                      defaultBlue:(double)blue
                        parmFlags:(UInt32)parmFlags;
- (BOOL)addPointParameterWithName:(NSString *)name
                           parmId:(UInt32)parmId
                         defaultX:(double)x
                         defaultY:(double)y
                        parmFlags:(UInt32)parmFlags;
- (BOOL)addPopupMenuWithName:(NSString *)name
                      parmId:(UInt32)parmId
                defaultValue:(SInt32)defaultValue
                 menuEntries:(NSArray *)entries
                   parmFlags:(UInt32)parmFlags;
- (BOOL)addCustomParameterWithName:(NSString *)name
                            parmId:(UInt32)parmId
                      defaultValue:(id)defaultValue
                         parmFlags:(UInt32)parmFlags;
@end

/// Reads parameter values at a frame time, in frames. Angles are in radians, points in normalised image coordinates,
/// colours 0 .. 1.
@protocol FxParameterRetrievalAPI <NSObject>
- (BOOL)getFloatValue:(double *)value fromParm:(UInt32)parmId atTime:(double)time;
- (BOOL)getIntValue:(int *)value fromParm:(UInt32)parmId atTime:(double)time;
- (BOOL)getRedValue:(double *)red
         greenValue:(double *)green
          blueValue:(double *)blue
           fromParm:(UInt32)parmId
             atTime:(double)time;
- (BOOL)getXValue:(double *)x YValue:(double *)y fromParm:(UInt32)parmId atTime:(double)time;
@end
