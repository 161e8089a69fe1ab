#import <FxPlug/FxPlugSDK.h>
#include <OpenGL/glext.h>

@implementation FxImage

- (instancetype)initWithInfo:(FxImageInfo)info {
  self = [super init];
  if (self) _info = info;
  return self;
}

- (NSUInteger)width {
  return _info.width;
}

- (NSUInteger)height {
  return _info.height;
}

- (NSUInteger)depth {
  return _info.depth;
}

- (NSUInteger)imageType {
  return _info.imageType;
}

- (NSUInteger)origin {
  return _info.origin;
}

- (double)pixelAspect {
  return _info.pixelAspect;
}

@end

@implementation FxBitmap

- (instancetype)initWithInfo:(FxImageInfo)info data:(void *)data rowBytes:(NSUInteger)rowBytes {
  info.imageType = kFxImageType_BITMAP;
  self = [super initWithInfo:info];
  if (self) {
    _data = data;
    _rowBytes = rowBytes;
  }
  return self;
}

- (void *)dataPtr {
  return _data;
}

- (NSUInteger)rowBytes {
  return _rowBytes;
}

@end

@implementation FxTexture

- (instancetype)initWithInfo:(FxImageInfo)info textureName:(GLuint)name {
  info.imageType = kFxImageType_TEXTURE;
  self = [super initWithInfo:info];
  if (self) _name = name;
  return self;
}

- (GLuint)textureName {
  return _name;
}

- (void)bind {
  glBindTexture(GL_TEXTURE_RECTANGLE_EXT, _name);
}

- (void)enable {
  glEnable(GL_TEXTURE_RECTANGLE_EXT);
}

- (void)disable {
  glDisable(GL_TEXTURE_RECTANGLE_EXT);
}

- (void)getTextureCoords:(double *)left right:(double *)right bottom:(double *)bottom top:(double *)top {
  if (left) *left = 0.0;
  if (right) *right = _info.width;
  if (bottom) *bottom = 0.0;
  if (top) *top = _info.height;
}

@end
