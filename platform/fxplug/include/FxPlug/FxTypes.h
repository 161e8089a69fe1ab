#pragma once

#import <Foundation/Foundation.h>
#include <OpenGL/OpenGL.h>

#include <cstdint>

typedef std::uint32_t UInt32;
typedef std::int32_t SInt32;
typedef std::uint64_t UInt64;

/// The kind of an image's storage.
enum { kFxImageType_UNKNOWN = 0, kFxImageType_BITMAP = 1, kFxImageType_TEXTURE = 2 };

/// The position of an image's first row.
enum { kFxImageOrigin_BOTTOM_LEFT = 0, kFxImageOrigin_TOP_LEFT = 2 };

enum { kFxPixelFormat_RGBA = 0, kFxPixelFormat_ARGB = 2 };

enum { kFxQuality_LOW = 0, kFxQuality_MEDIUM = 1, kFxQuality_HIGH = 2 };

enum { kFxField_PROGRESSIVE = 0, kFxField_UPPER_FIRST = 1, kFxField_LOWER_FIRST = 2 };

enum { kFxDepth_UINT8 = 0, kFxDepth_FLOAT16 = 2, kFxDepth_FLOAT32 = 3 };

/// Parameter flags: an ordinary row, or one whose view the plug-in supplies.
enum { kFxParameterFlag_DEFAULT = 0, kFxParameterFlag_CUSTOM_UI = 1 << 6 };

/// The request for one render. Passed by value.
typedef struct {
  double frame;  ///< frame time: the frame number on the timeline; fields and retiming give fractions
  NSUInteger qualityLevel;
  NSUInteger fieldOrder;
  double scaleX;  ///< requested render scale; 1.0 is full size
  double scaleY;
  CGLContextObj sharedContext;  ///< the host's context, which it owns
  NSUInteger depth;
} FxRenderInfo;

/// The properties of an image. Passed by value.
typedef struct {
  NSUInteger width;   ///< pixels
  NSUInteger height;  ///< pixels
  NSUInteger depth;   ///< bits per component: 8, 16 or 32
  NSUInteger channels;
  NSUInteger imageType;
  NSUInteger origin;
  NSUInteger pixelFormat;
  BOOL isPremultiplied;  ///< always YES
  double pixelAspect;    ///< width of a pixel / its height
} FxImageInfo;
