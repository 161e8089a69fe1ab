#pragma once

#import "APIManager.h"

#include "Filter.h"

namespace pyrelux::host {

/// The host objects behind a Filter.
struct Filter::Objects {
  PyreluxAPIManager *apiManager = nil;
  PyreluxParameterRetrieval *retrieval = nil;
  NSObject<FxFilter> *filter = nil;

  ~Objects() {
    // The filter first: it holds the API manager without owning it.
    [filter release];
    [apiManager release];
    [retrieval release];
  }
};

}  // namespace pyrelux::host
