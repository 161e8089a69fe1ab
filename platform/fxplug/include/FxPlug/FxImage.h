#pragma once

#import <FxPlug/FxTypes.h>

/// An input or output image of a render.
@interface FxImage : NSObject {
 @protected
  FxImageInfo _info;
}
- (instancetype)initWithInfo:(FxImageInfo)info;
- (NSUInteger)width;
- (NSUInteger)height;
- (NSUInteger)depth;
- (NSUInteger)imageType;
- (NSUInteger)origin;
- (double)pixelAspect;
@end

/// An image in memory, in rows of `rowBytes` bytes. The object does not own the memory.
@interface FxBitmap : FxImage {
 @private
  void *_data;
  NSUInteger _rowBytes;
}
- (instancetype)initWithInfo:(FxImageInfo)info data:(void *)data rowBytes:(NSUInteger)rowBytes;
- (void *)dataPtr;
- (NSUInteger)rowBytes;
@end

/// An image in a rectangle texture, addressed in texels. The object does not own the texture. Methods that call GL act
/// on the current context.
@interface FxTexture : FxImage {
 @private
  GLuint _name;
}
- (instancetype)initWithInfo:(FxImageInfo)info textureName:(GLuint)name;
- (GLuint)textureName;

/// Binds the texture to its target.
- (void)bind;

/// Turns texturing from its target on or off.
- (void)enable;
- (void)disable;

/// The texture coordinates of the image's edges: 0 to its width and height. Any pointer may be NULL.
- (void)getTextureCoords:(double *)left right:(double *)right bottom:(double *)bottom top:(double *)top;
@end
