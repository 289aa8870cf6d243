#import <Foundation/Foundation.h>

// The three classes of a transcript, with the keys that iChat archives them under and nothing of what it does
// with them.

@interface Presentity : NSObject <NSCoding> {
@public
    NSString *service;
    NSString *name;
    NSString *account; // a key that readers have no use for
}
+ (Presentity *)presentityWithService:(NSString *)aService name:(NSString *)aName;
@end

@interface InstantMessage : NSObject <NSCoding> {
@public
    Presentity *sender;
    NSDate *time;
    NSAttributedString *text;
    int32_t flags;
}
+ (InstantMessage *)messageFrom:(Presentity *)aSender
                             at:(NSDate *)aTime
                           text:(NSAttributedString *)aText
                          flags:(int32_t)someFlags;
@end

@interface Person : NSObject <NSCoding>
@end
