#pragma once

// The part of the FxPlug SDK that the filter and its hosts use, for platforms without that SDK.

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#import <FxPlug/FxFilter.h>
#import <FxPlug/FxImage.h>
#import <FxPlug/FxParameterAPI.h>
#import <FxPlug/FxTypes.h>
