#pragma once

#import "APIManager.h"

#include <map>
#include <string>
#include <vector>

#include "Filter.h"

namespace pyrelux::host {

/// What a filter object said before its first frame.
struct Declared {
  std::map<std::string, bool> properties;
  std::vector<ParameterDeclaration> parameters;
};

/// The host objects behind a Filter.
struct Filter::Objects {
  PyreluxAPIManager *apiManager = nil;
  PyreluxParameterRetrieval *retrieval = nil;
  NSObject<FxFilter> *filter = nil;

  /// Puts a new object of the class in the place of `filter`, asked for its properties and parameters, as every filter
  /// is before its first frame. `name` is the filter's, for messages. Throws HostError, and keeps the old object then.
  Declared makeFilter(Class filterClass, const std::string &name);

  ~Objects() {
    // The filter first: it holds the API manager without owning it.
    [filter release];
    [apiManager release];
    [retrieval release];
  }
};

}  // namespace pyrelux::host
