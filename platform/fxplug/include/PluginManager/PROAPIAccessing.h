#pragma once

#import <Foundation/Foundation.h>

/// The object from which a plug-in gets its host's interfaces.
@protocol PROAPIAccessing <NSObject>

/// An object that conforms to `protocol`, or nil when the host does not offer it. Another module may have declared the
/// protocol, so hosts compare it with protocol_isEqual() or by name.
- (id)apiForProtocol:(Protocol *)protocol;

@end
