#pragma once

#import <FxPlug/FxImage.h>
#import <FxPlug/FxTypes.h>

@class NSView;

/// What every effect implements.
@protocol FxBaseEffect <NSObject>
- (BOOL)addParameters;
- (BOOL)parameterChanged:(UInt32)parmId;
- (NSDictionary *)properties;
- (BOOL)variesOverTime;
- (BOOL)frameCleanup;
@end

/// An effect with one input image.
@protocol FxFilter <FxBaseEffect>
- (BOOL)getOutputWidth:(UInt64 *)width
                height:(UInt64 *)height
             withInput:(FxImageInfo)inputInfo
              withInfo:(FxRenderInfo)renderInfo;
- (BOOL)frameSetup:(FxRenderInfo)renderInfo
         inputInfo:(FxImageInfo)inputInfo
          hardware:(BOOL *)canRenderHardware
          software:(BOOL *)canRenderSoftware;
- (BOOL)renderOutput:(FxImage *)outputImage withInput:(FxImage *)inputImage withInfo:(FxRenderInfo)renderInfo;
@end

/// An effect that supplies the views of its custom parameters.
@protocol FxCustomParameterViewHost <NSObject>
- (NSView *)createViewForParm:(UInt32)parmId;
@end
