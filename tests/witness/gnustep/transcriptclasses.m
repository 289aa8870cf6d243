#import "transcriptclasses.h"

// Nothing is ever read back here, nor released: the program writes its archives and ends.

@implementation Presentity
+ (Presentity *)presentityWithService:(NSString *)aService name:(NSString *)aName {
    Presentity *made = [[Presentity alloc] init];
    made->service = [aService retain];
    made->name = [aName retain];
    made->account = @"4A0D6C1E-account";
    return made;
}
- (void)encodeWithCoder:(NSCoder *)coder {
    [coder encodeObject:service forKey:@"ServiceName"];
    [coder encodeObject:account forKey:@"AccountID"];
    [coder encodeObject:name forKey:@"ID"];
}
- (id)initWithCoder:(NSCoder *)coder {
    return [self init];
}
@end

@implementation InstantMessage
+ (InstantMessage *)messageFrom:(Presentity *)aSender
                             at:(NSDate *)aTime
                           text:(NSAttributedString *)aText
                          flags:(int32_t)someFlags {
    InstantMessage *made = [[InstantMessage alloc] init];
    made->sender = [aSender retain];
    made->time = [aTime retain];
    made->text = [aText retain];
    made->flags = someFlags;
    return made;
}
- (void)encodeWithCoder:(NSCoder *)coder {
    [coder encodeObject:sender forKey:@"Sender"];
    [coder encodeObject:@"7C8F2A10-message" forKey:@"GUID"];
    [coder encodeObject:time forKey:@"Time"];
    [coder encodeObject:text forKey:@"MessageText"];
    [coder encodeInt32:flags forKey:@"Flags"];
}
- (id)initWithCoder:(NSCoder *)coder {
    return [self init];
}
@end

@implementation Person
- (void)encodeWithCoder:(NSCoder *)coder {
    [coder encodeObject:@"nobody reads this" forKey:@"DisplayName"];
}
- (id)initWithCoder:(NSCoder *)coder {
    return [self init];
}
@end
