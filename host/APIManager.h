#pragma once

#import <FxPlug/FxPlugSDK.h>
#import <PluginManager/PROAPIAccessing.h>

#include <vector>

#include "Parameters.h"

/// Collects what a filter declares.
@interface PyreluxParameterCreation : NSObject <FxParameterCreationAPI> {
 @private
  std::vector<pyrelux::host::ParameterDeclaration> *_declarations;
}
- (instancetype)initWithDeclarations:(std::vector<pyrelux::host::ParameterDeclaration> *)declarations;
@end

/// Hands values out, as they are at the time asked for and in the units that filters expect: angles in radians, points
/// from the first row of the image.
@interface PyreluxParameterRetrieval : NSObject <FxParameterRetrievalAPI> {
 @private
  const pyrelux::host::ParameterSet *_parameters;
  BOOL _topLeftOrigin;
}
- (void)setParameters:(const pyrelux::host::ParameterSet *)parameters;
- (void)setTopLeftOrigin:(BOOL)topLeftOrigin;
@end

/// What a filter reaches its host through. Each API is offered while there is an object for it.
@interface PyreluxAPIManager : NSObject <PROAPIAccessing> {
 @private
  PyreluxParameterCreation *_creation;
  PyreluxParameterRetrieval *_retrieval;
}
- (void)setCreation:(PyreluxParameterCreation *)creation;
- (void)setRetrieval:(PyreluxParameterRetrieval *)retrieval;
@end
