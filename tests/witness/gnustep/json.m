#import "json.h"
#import "transcriptclasses.h"

static NSString *jsonString(NSString *text) {
    NSMutableString *json = [NSMutableString stringWithString:@"\""];
    for (NSUInteger i = 0; i < [text length]; ++i) {
        unichar unit = [text characterAtIndex:i];
        if (unit == '"' || unit == '\\' || unit < 0x20 || unit > 0x7E)
            [json appendFormat:@"\\u%04x", (unsigned)unit];
        else
            [json appendFormat:@"%c", (char)unit];
    }
    [json appendString:@"\""];
    return json;
}

static NSString *jsonReal(double value) {
    return [NSString stringWithFormat:@"%.17g", value];
}

static NSString *jsonNumber(NSNumber *number) {
    char type = [number objCType][0];
    if (type == 'f' || type == 'd')
        return jsonReal([number doubleValue]);
    if (type == 'Q')
        return [NSString stringWithFormat:@"%llu", [number unsignedLongLongValue]];
    return [NSString stringWithFormat:@"%lld", [number longLongValue]];
}

static NSString *jsonArray(NSArray *array) {
    NSMutableArray *elements = [NSMutableArray array];
    for (id element in array)
        [elements addObject:descriptionInJson(element)];
    return [NSString stringWithFormat:@"[%@]", [elements componentsJoinedByString:@", "]];
}

static NSString *jsonDictionary(NSDictionary *dictionary) {
    NSMutableArray *pairs = [NSMutableArray array];
    for (NSString *key in dictionary) {
        NSString *value = descriptionInJson([dictionary objectForKey:key]);
        [pairs addObject:[NSString stringWithFormat:@"%@: %@", jsonString(key), value]];
    }
    return [NSString stringWithFormat:@"{%@}", [pairs componentsJoinedByString:@", "]];
}

static NSString *jsonAttributedString(NSAttributedString *text) {
    NSMutableArray *runs = [NSMutableArray array];
    NSRange range = NSMakeRange(0, 0);
    for (NSUInteger position = 0; position < [text length]; position = NSMaxRange(range)) {
        NSDictionary *attributes = [text attributesAtIndex:position effectiveRange:&range];
        [runs addObject:[NSString stringWithFormat:@"{\"length\": %lu, \"attributes\": %@}",
                                                   (unsigned long)range.length, jsonDictionary(attributes)]];
    }
    return [NSString stringWithFormat:@"{\"text\": %@, \"utf16_length\": %lu, \"runs\": [%@]}",
                                      jsonString([text string]), (unsigned long)[text length],
                                      [runs componentsJoinedByString:@", "]];
}

static NSString *jsonUrl(NSURL *url) {
    return [NSString stringWithFormat:@"{\"url\": %@, \"base\": %@}", jsonString([url relativeString]),
                                      descriptionInJson([url baseURL])];
}

static NSString *jsonMessage(InstantMessage *message) {
    return [NSString stringWithFormat:@"{\"object\": \"InstantMessage\", \"sender\": %@, \"time\": %@, "
                                      @"\"text\": %@, \"flags\": %d}",
                                      descriptionInJson(message->sender), descriptionInJson(message->time),
                                      descriptionInJson(message->text), (int)message->flags];
}

static NSString *jsonPresentity(Presentity *presentity) {
    return [NSString stringWithFormat:@"{\"object\": \"Presentity\", \"service\": %@, \"name\": %@}",
                                      descriptionInJson(presentity->service),
                                      descriptionInJson(presentity->name)];
}

NSString *descriptionInJson(id object) {
    if (object == nil)
        return @"null";
    if ([object isKindOfClass:[NSString class]])
        return jsonString(object);
    if ([object isKindOfClass:[NSNumber class]])
        return jsonNumber(object);
    if ([object isKindOfClass:[NSArray class]])
        return jsonArray(object);
    if ([object isKindOfClass:[NSDictionary class]])
        return jsonDictionary(object);
    if ([object isKindOfClass:[NSAttributedString class]])
        return jsonAttributedString(object);
    if ([object isKindOfClass:[NSURL class]])
        return jsonUrl(object);
    if ([object isKindOfClass:[NSDate class]])
        return
            [NSString stringWithFormat:@"{\"date\": %@}", jsonReal([object timeIntervalSinceReferenceDate])];
    if ([object isKindOfClass:[NSData class]])
        return [NSString stringWithFormat:@"{\"data_length\": %lu}", (unsigned long)[object length]];
    if ([object isKindOfClass:[InstantMessage class]])
        return jsonMessage(object);
    if ([object isKindOfClass:[Presentity class]])
        return jsonPresentity(object);
    return [NSString
        stringWithFormat:@"{\"object\": %@}", jsonString(NSStringFromClass([object classForKeyedArchiver]))];
}
