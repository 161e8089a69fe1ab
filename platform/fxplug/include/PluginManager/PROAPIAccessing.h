#pragma once

#import <Foundation/Foundation.h>

/// The object through which a plug-in reaches what its host offers.
@protocol PROAPIAccessing <NSObject>

/// An object that conforms to `protocol`, or nil when the host does not offer it. The protocol may have been declared
/// in another module: compare with protocol_isEqual() or by name.
- (id)apiForProtocol:(Protocol *)protocol;

@end
