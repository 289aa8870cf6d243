#import <Foundation/Foundation.h>

/// What `prattlebug inspect` is to say of an archive with this root object, in JSON (ASCII only).
NSString *descriptionInJson(id object);
