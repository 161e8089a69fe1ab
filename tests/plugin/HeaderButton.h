#pragma once

#import "RecordingHost.h"

#include <cstdlib>

extern "C" BOOL initialize_gnustep_backend(void);

namespace pyrelux::test {

/// Makes buttons work without a display.
inline void prepareViews() {
  unsetenv("DISPLAY");
  static const BOOL ready = initialize_gnustep_backend();
  ASSERT_TRUE(ready);
}

/// The header row's button, checked to be one.
inline NSButton *headerButton(id<FxCustomParameterViewHost> filter) {
  NSView *view = [filter createViewForParm:kHeader];
  EXPECT_TRUE([view isKindOfClass:[NSButton class]]);
  return static_cast<NSButton *>(view);
}

/// Checks what does not depend on the logo.
inline void expectHeaderButton(NSButton *button, id target) {
  EXPECT_EQ([button frame].origin.x, 0.0);
  EXPECT_EQ([button frame].origin.y, 0.0);
  EXPECT_EQ(textOf([button title]), "");
  EXPECT_EQ([button tag], 25);
  EXPECT_EQ([button bezelStyle], 2u);
  EXPECT_EQ([button isBordered], NO);
  EXPECT_EQ([button isTransparent], NO);
  // The two properties that identify a momentary push-in button.
  EXPECT_EQ([[button cell] highlightsBy], 6);
  EXPECT_EQ([[button cell] showsStateBy], 0);
  EXPECT_EQ([button target], target);
  EXPECT_TRUE(sel_isEqual([button action], @selector(procSpecParamHeader:)));
}

}  // namespace pyrelux::test
