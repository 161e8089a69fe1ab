#pragma once

#import <Foundation/Foundation.h>

#include <string>

// Small bridges between Foundation and the standard library, for the host's own sources.

namespace pyrelux::host {

/// Releases what is autoreleased during a block.
class AutoreleasePool {
 public:
  AutoreleasePool() : pool_([[NSAutoreleasePool alloc] init]) {}
  ~AutoreleasePool() { [pool_ release]; }
  AutoreleasePool(const AutoreleasePool &) = delete;
  AutoreleasePool &operator=(const AutoreleasePool &) = delete;

 private:
  NSAutoreleasePool *pool_;
};

/// Empty for nil and for what is not a string.
inline std::string toStdString(id object) {
  return [object isKindOfClass:[NSString class]] ? std::string([object UTF8String]) : std::string();
}

inline NSString *toNSString(const std::string &text) { return [NSString stringWithUTF8String:text.c_str()]; }

}  // namespace pyrelux::host
