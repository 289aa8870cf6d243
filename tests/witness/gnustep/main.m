// Writes keyed archives with GNUstep's own NSKeyedArchiver, which shares nothing with the reader under test,
// and says what it put into them.
//
// Call: gnustep_witness FOLDER. Archives come in two forms, NAME.xml and NAME.binary. Standard output is one
// JSON object: file name -> what `prattlebug inspect` is to say of the file. Fonts need a display.

#import "json.h"
#import "transcriptclasses.h"

#import <AppKit/AppKit.h>

#include <stdio.h>
#include <string.h>

static NSDate *date(double secondsSince2001) {
    return [NSDate dateWithTimeIntervalSinceReferenceDate:secondsSince2001];
}

static NSString *utf8(const char *bytes) {
    return [NSString stringWithUTF8String:bytes];
}

static id values(void) {
    NSArray *strings =
        [NSArray arrayWithObjects:@"plain", @"", @"quotes \" and \\, tab\t, line\nend", @"$null", @"<&>]]>",
                                  utf8("Gr\xC3\xB6\xC3\x9F\x65, \xD0\x9E\xD0\xBB\xD1\x8C\xD0\xB3\xD0\xB0"),
                                  [NSMutableString stringWithString:@"mutable"],
                                  [NSMutableString stringWithUTF8String:"m\xC3\xBCtable"],
                                  [NSMutableString string], @"plain", nil];
    NSArray *numbers = [NSArray
        arrayWithObjects:[NSNumber numberWithInt:0], [NSNumber numberWithInt:-1],
                         [NSNumber numberWithChar:-128], [NSNumber numberWithUnsignedChar:255],
                         [NSNumber numberWithInt:2147483647],
                         [NSNumber numberWithLongLong:-9007199254740993LL], [NSNumber numberWithDouble:0.1],
                         [NSNumber numberWithDouble:-1.5e300], [NSNumber numberWithFloat:2.5F],
                         [NSNumber numberWithBool:YES], [NSNumber numberWithBool:NO], nil];
    NSArray *dates = [NSArray arrayWithObjects:date(0), date(162086400), date(-978307200), nil];
    NSArray *data =
        [NSArray arrayWithObjects:[NSData data], [@"five5" dataUsingEncoding:NSASCIIStringEncoding],
                                  [NSMutableData dataWithLength:300], nil];
    NSMutableDictionary *dictionary = [NSMutableDictionary dictionary];
    [dictionary setObject:strings forKey:@"the same strings"];
    [dictionary setObject:[NSDictionary dictionary] forKey:@"empty"];
    [dictionary setObject:[NSMutableArray arrayWithObject:[NSArray array]] forKey:utf8("nested \xC3\xA9")];
    return [NSArray arrayWithObjects:strings, numbers, dates, data, dictionary, nil];
}

static id urls(void) {
    NSURL *base = [NSURL URLWithString:@"http://example.com/a/b?c=d"];
    return [NSArray arrayWithObjects:base, [NSURL URLWithString:@"e/f.html#g" relativeToURL:base],
                                     [NSURL URLWithString:@"mailto:kim@example.com"],
                                     [NSURL fileURLWithPath:@"/tmp/a b"], base, nil];
}

/// Text whose parts bear these attributes: a part, its dictionary (or NSNull for none), the next part …
static NSAttributedString *attributed(NSArray *partsAndAttributes) {
    NSMutableAttributedString *text = [[[NSMutableAttributedString alloc] init] autorelease];
    for (NSUInteger i = 0; i < [partsAndAttributes count]; i += 2) {
        id attributes = [partsAndAttributes objectAtIndex:i + 1];
        if (attributes == [NSNull null])
            attributes = [NSDictionary dictionary];
        [text appendAttributedString:[[[NSAttributedString alloc]
                                         initWithString:[partsAndAttributes objectAtIndex:i]
                                             attributes:attributes] autorelease]];
    }
    return text;
}

static id attributedStrings(void) {
    NSNull *none = [NSNull null];
    NSFont *font = [NSFont userFontOfSize:12.5];
    NSFont *bold = [NSFont boldSystemFontOfSize:9];
    NSColor *calibrated = [NSColor colorWithCalibratedRed:0.25 green:0.5 blue:1 alpha:1];
    NSColor *device = [NSColor colorWithDeviceRed:1 green:0.2 blue:0 alpha:0.75];
    NSURL *link = [NSURL URLWithString:@"http://example.com/?a=b&c=d"];

    NSDictionary *fontOnly = [NSDictionary dictionaryWithObject:font forKey:NSFontAttributeName];
    NSDictionary *coloured = [NSDictionary
        dictionaryWithObjectsAndKeys:bold, NSFontAttributeName, calibrated, NSForegroundColorAttributeName,
                                     device, NSBackgroundColorAttributeName, nil];
    NSDictionary *linked =
        [NSDictionary dictionaryWithObjectsAndKeys:link, NSLinkAttributeName, font, NSFontAttributeName, nil];
    NSDictionary *linkedAgain = [NSDictionary
        dictionaryWithObjectsAndKeys:link, NSLinkAttributeName, device, NSForegroundColorAttributeName, nil];
    NSDictionary *linkedByText =
        [NSDictionary dictionaryWithObjectsAndKeys:@"http://example.com/text", NSLinkAttributeName, nil];
    NSDictionary *plainValues =
        [NSDictionary dictionaryWithObjectsAndKeys:[NSNumber numberWithInt:1], NSUnderlineStyleAttributeName,
                                                   @"x", @"of our own", nil];

    NSMutableString *longText = [NSMutableString string];
    while ([longText length] < 20000) // its run length takes three bytes
        [longText appendString:utf8("long \xE2\x82\xAC ")];

    return [NSArray
        arrayWithObjects:[[[NSAttributedString alloc] initWithString:@"no attributes"] autorelease],
                         [[[NSAttributedString alloc] initWithString:@""] autorelease],
                         [[[NSAttributedString alloc] initWithString:utf8("one set for \xC3\xA4ll")
                                                          attributes:fontOnly] autorelease],
                         [[[NSAttributedString alloc] initWithString:@"plain values"
                                                          attributes:plainValues] autorelease],
                         attributed([NSArray arrayWithObjects:@"font, ", fontOnly, utf8("c\xC3\xB6lours, "),
                                                              coloured, @"font again, ", fontOnly, @"nothing",
                                                              none, @", and again", fontOnly, nil]),
                         attributed([NSArray arrayWithObjects:@"link", linked, @" between ", none,
                                                              @"same link", linkedAgain, @"text link",
                                                              linkedByText, nil]),
                         attributed([NSArray
                             arrayWithObjects:longText, coloured, @"x", fontOnly, longText, linked, nil]),
                         nil];
}

/// What GNUstep's binary form holds and its XML form does not: it writes characters beyond the first plane
/// there as
/// `\UD83D\UDE00`, and dates to the second.
static id valuesBeyondXml(void) {
    NSString *astral = utf8("\xF0\x9F\x98\x80 astral \xF0\x9D\x84\x9E");
    NSDictionary *font = [NSDictionary dictionaryWithObject:[NSFont userFontOfSize:12]
                                                     forKey:NSFontAttributeName];
    NSDictionary *link = [NSDictionary dictionaryWithObject:astral forKey:NSLinkAttributeName];
    return [NSArray arrayWithObjects:astral, [NSMutableString stringWithString:astral],
                                     attributed([NSArray
                                         arrayWithObjects:astral, font, @" and ", link, astral, font, nil]),
                                     [NSDictionary dictionaryWithObject:astral forKey:astral],
                                     date(162086400.25), date(1e9 + 0.001), date(-1e9 - 0.5), nil];
}

/// Shaped as iChat's transcripts are: service, an empty string, messages, participants, a number.
static id transcript(void) {
    Presentity *kim = [Presentity presentityWithService:@"AIM" name:@"kimlee"];
    Presentity *sam = [Presentity presentityWithService:@"SubNet" name:utf8("s\xC3\xA4m@machine")];
    NSDictionary *font = [NSDictionary dictionaryWithObject:[NSFont userFontOfSize:12]
                                                     forKey:NSFontAttributeName];
    NSDictionary *link = [NSDictionary dictionaryWithObject:[NSURL URLWithString:@"http://example.com/"]
                                                     forKey:NSLinkAttributeName];
    NSArray *messages = [NSMutableArray
        arrayWithObjects:[InstantMessage
                             messageFrom:kim
                                      at:date(162086400)
                                    text:attributed(
                                             [NSArray arrayWithObjects:@"Hello ", font, @"there", link, nil])
                                   flags:5],
                         [InstantMessage messageFrom:sam
                                                  at:date(162086460)
                                                text:attributed([NSArray array])
                                               flags:0x40000000],
                         [InstantMessage messageFrom:nil at:date(162086460) text:nil flags:0x7FFFFFFF],
                         [InstantMessage messageFrom:kim
                                                  at:nil
                                                text:attributed([NSArray arrayWithObjects:@"bye", font, nil])
                                               flags:0],
                         nil];
    NSArray *participants = [NSArray arrayWithObjects:kim, sam, [[[Person alloc] init] autorelease],
                                                      [Presentity presentityWithService:nil name:@""], nil];
    return [NSArray arrayWithObjects:@"AIM", @"", messages, participants, [NSNumber numberWithInt:3], nil];
}

/// Archives @p root and prints its member of the JSON object.
static void writeArchive(id root, NSString *folder, NSString *fileName, NSPropertyListFormat format) {
    static const char *separator = "{\n";
    NSMutableData *data = [NSMutableData data];
    NSKeyedArchiver *archiver = [[[NSKeyedArchiver alloc] initForWritingWithMutableData:data] autorelease];
    [archiver setOutputFormat:format];
    [archiver encodeObject:root forKey:@"root"];
    [archiver finishEncoding];
    if (![data writeToFile:[folder stringByAppendingPathComponent:fileName] atomically:NO])
        [NSException raise:NSGenericException format:@"cannot write %@", fileName];
    printf("%s\"%s\": %s", separator, [fileName UTF8String], [descriptionInJson(root) UTF8String]);
    separator = ",\n";
}

int main(int argc, const char *argv[]) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    if (argc != 2) {
        fprintf(stderr, "usage: gnustep_witness FOLDER\n");
        return 2;
    }
    [NSApplication sharedApplication]; // the fonts come from its display
    NSString *folder = [[NSFileManager defaultManager] stringWithFileSystemRepresentation:argv[1]
                                                                                   length:strlen(argv[1])];
    NSDictionary *roots =
        [NSDictionary dictionaryWithObjectsAndKeys:values(), @"values", urls(), @"urls", attributedStrings(),
                                                   @"attributedStrings", transcript(), @"transcript", nil];
    for (NSString *name in roots) {
        writeArchive([roots objectForKey:name], folder, [name stringByAppendingPathExtension:@"xml"],
                     NSPropertyListXMLFormat_v1_0);
        writeArchive([roots objectForKey:name], folder, [name stringByAppendingPathExtension:@"binary"],
                     NSPropertyListBinaryFormat_v1_0);
    }
    writeArchive(valuesBeyondXml(), folder, @"valuesBeyondXml.binary", NSPropertyListBinaryFormat_v1_0);
    printf("\n}\n");
    [pool release];
    return 0;
}
