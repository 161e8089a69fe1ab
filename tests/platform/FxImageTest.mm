#import <FxPlug/FxPlugSDK.h>

#include <OpenGL/glext.h>
#include <gmock/gmock.h>

#include "HostContext.h"
#include "TraceText.h"

namespace pyrelux::platform {
namespace {

using ::testing::ElementsAre;

FxImageInfo someInfo() {
  FxImageInfo info = {};
  info.width = 720;
  info.height = 480;
  info.depth = 16;
  info.channels = 4;
  info.origin = kFxImageOrigin_TOP_LEFT;
  info.pixelAspect = 0.9;
  return info;
}

class FxImageTest : public ::testing::Test {
 protected:
  void SetUp() override { pool = [[NSAutoreleasePool alloc] init]; }
  void TearDown() override { [pool release]; }

  FxTexture *texture(GLuint name) { return [[[FxTexture alloc] initWithInfo:someInfo() textureName:name] autorelease]; }

  NSAutoreleasePool *pool = nil;
};

TEST_F(FxImageTest, AnswersWhatItWasMadeFrom) {
  FxImage *image = [[[FxImage alloc] initWithInfo:someInfo()] autorelease];
  EXPECT_EQ([image width], 720u);
  EXPECT_EQ([image height], 480u);
  EXPECT_EQ([image depth], 16u);
  EXPECT_EQ([image origin], 2u);
  EXPECT_EQ([image pixelAspect], 0.9);
  EXPECT_EQ([image imageType], static_cast<NSUInteger>(kFxImageType_UNKNOWN));
}

TEST_F(FxImageTest, ABitmapIsMemoryWhateverItsInfoSays) {
  FxImageInfo info = someInfo();
  info.imageType = kFxImageType_TEXTURE;
  int memory = 0;
  FxBitmap *bitmap = [[[FxBitmap alloc] initWithInfo:info data:&memory rowBytes:5760] autorelease];
  EXPECT_EQ([bitmap imageType], 1u);
  EXPECT_EQ([bitmap dataPtr], &memory);
  EXPECT_EQ([bitmap rowBytes], 5760u);
  EXPECT_EQ([bitmap width], 720u);
}

TEST_F(FxImageTest, ATextureIsOneWhateverItsInfoSays) {
  FxTexture *image = texture(12);
  EXPECT_EQ([image imageType], 2u);
  EXPECT_EQ([image textureName], 12u);
  EXPECT_EQ([image pixelAspect], 0.9);
}

TEST_F(FxImageTest, ATexturesCoordinatesAreItsTexels) {
  double left = -1, right = -1, bottom = -1, top = -1;
  [texture(12) getTextureCoords:&left right:&right bottom:&bottom top:&top];
  EXPECT_EQ(left, 0.0);
  EXPECT_EQ(right, 720.0);
  EXPECT_EQ(bottom, 0.0);
  EXPECT_EQ(top, 480.0);
}

TEST_F(FxImageTest, AnyOfTheCoordinatesMayBeLeftOut) {
  double right = -1, top = -1;
  [texture(12) getTextureCoords:nullptr right:&right bottom:nullptr top:nullptr];
  [texture(12) getTextureCoords:nullptr right:nullptr bottom:nullptr top:&top];
  EXPECT_EQ(right, 720.0);
  EXPECT_EQ(top, 480.0);
}

TEST_F(FxImageTest, ATextureActsOnTheRectangleTarget) {
  const test::HostContext host;
  Trace trace;
  FxTexture *image = texture(12);
  [image bind];
  [image enable];
  [image disable];
  EXPECT_THAT(test::TraceText()(trace.calls()),
              ElementsAre("glBindTexture(34037, 12)", "glEnable(34037)", "glDisable(34037)"));
}

}  // namespace
}  // namespace pyrelux::platform
