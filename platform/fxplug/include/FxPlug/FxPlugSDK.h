#pragma once

// The plug-in interface of the video applications, as far as the product speaks it, for platforms without its SDK.

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#import <FxPlug/FxFilter.h>
#import <FxPlug/FxImage.h>
#import <FxPlug/FxParameterAPI.h>
#import <FxPlug/FxTypes.h>
