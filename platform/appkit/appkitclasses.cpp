#include "platform/appkit/appkitclasses.h"

#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfilewrapper.h"
#include "platform/appkit/nsfont.h"
#include "platform/archive/nskeyedunarchiver.h"
#include "platform/archive/nsunarchiver.h"
#include "platform/foundation/scalars.h"
#include "platform/text/encoding.h"
#include "platform/text/nextstep.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace platform {

namespace {

using typedstream::TypeEncoding;

// Fonts.

bool nextIsReal(NSUnarchiver &coder)
{
    const char type = coder.nextType();
    return type == 'f' || type == 'd' || typedstream::isIntegerCode(type);
}

/// A font's name in its old serialised form: a type code, a byte length, the bytes, padding.
std::optional<QString> fontName(QByteArrayView serialized)
{
    constexpr quint32 eightBitText = 5; // NeXTSTEP's encoding
    constexpr quint32 utf16Text = 6;    // with a byte-order mark
    constexpr qsizetype headerLength = 8;
    if (serialized.size() < headerLength)
        return std::nullopt;
    const auto type = qFromLittleEndian<quint32>(serialized.data());
    const auto length = qFromLittleEndian<quint32>(serialized.data() + 4);
    const QByteArrayView rest = serialized.sliced(headerLength);
    if (length > quint64(rest.size()))
        return std::nullopt;
    const QByteArrayView text = rest.first(length);
    if (type == eightBitText) {
        QString name(text.size(), Qt::Uninitialized);
        std::transform(text.begin(), text.end(), name.begin(),
                       [](char c) { return QChar(characterFromNextStep(quint8(c))); });
        return name;
    }
    const bool littleEndian = text.startsWith("\xFF\xFE");
    if (type != utf16Text || length % 2 != 0 || (!littleEndian && !text.startsWith("\xFE\xFF")))
        return std::nullopt;
    QString name(text.size() / 2 - 1, Qt::Uninitialized);
    if (littleEndian)
        qFromLittleEndian<quint16>(text.data() + 2, name.size(), name.data());
    else
        qFromBigEndian<quint16>(text.data() + 2, name.size(), name.data());
    return name;
}

ObjectRef fontFromStream(NSUnarchiver &coder)
{
    static_cast<void>(coder.decodeReal()); // the length, which the bytes have too
    const QByteArrayView serialized = coder.decodeBytes();
    coder.charge(quint64(serialized.size()), sizeof(char16_t));
    const auto name = fontName(serialized);
    if (!name)
        coder.fail("a font without a name");
    return std::make_shared<NSFont>(*name, coder.decodeReal());
}

ObjectRef fontFromKeys(NSKeyedUnarchiver &coder)
{
    const auto name = coder.decodeForKey<NSString>("NSName");
    if (!name)
        coder.fail("a font without a name");
    return std::make_shared<NSFont>(name->string(), coder.decodeDoubleForKey("NSSize").value_or(0.0));
}

// Colours.

constexpr size_t mostComponents = 5;

ObjectRef colorFromStream(NSUnarchiver &coder)
{
    const auto space = NSColorSpace(coder.decodeInteger());
    if (space == NSColorSpace::Named) {
        for (int i = 0; i < 2 && coder.nextType() == '@'; ++i)
            coder.skipValue(); // the names of the list and of the colour
        return std::make_shared<NSColor>(coder.nextType() == '@' ? coder.decode<NSColor>() : nullptr);
    }
    std::array<double, mostComponents> components{};
    size_t count = 0;
    while (count < components.size() && nextIsReal(coder))
        components[count++] = coder.decodeReal();
    return std::make_shared<NSColor>(space, std::span(components).first(count));
}

/// Decimals between blanks, as keyed archives spell a colour's components; a NUL may close them.
std::shared_ptr<const NSColor> colorFromDecimals(NSColorSpace space, const QByteArray &decimals)
{
    std::array<double, mostComponents> components{};
    size_t count = 0;
    const qsizetype end = decimals.indexOf('\0');
    const QByteArray text = (end < 0 ? decimals : decimals.first(end)).left(256).simplified();
    for (const QByteArray &decimal : text.split(' ')) {
        bool isNumber = false;
        const double component = decimal.toDouble(&isNumber);
        if (!isNumber || count == components.size())
            break;
        components[count++] = component;
    }
    return std::make_shared<NSColor>(space, std::span(components).first(count));
}

ObjectRef colorFromKeys(NSKeyedUnarchiver &coder)
{
    const auto space = NSColorSpace(coder.decodeInt32ForKey("NSColorSpace"));
    switch (space) {
    case NSColorSpace::CalibratedRGB:
    case NSColorSpace::DeviceRGB:
        return colorFromDecimals(space, coder.decodeBytesForKey("NSRGB").value_or(QByteArray()));
    case NSColorSpace::CalibratedWhite:
    case NSColorSpace::DeviceWhite:
        return colorFromDecimals(space, coder.decodeBytesForKey("NSWhite").value_or(QByteArray()));
    case NSColorSpace::DeviceCMYK:
        return colorFromDecimals(space, coder.decodeBytesForKey("NSCMYK").value_or(QByteArray()));
    case NSColorSpace::Named: return std::make_shared<NSColor>(coder.decodeForKey<NSColor>("NSColor"));
    case NSColorSpace::Pattern: break;
    }
    return std::make_shared<NSColor>(space, std::span<const double>());
}

// Attachments: some values, one of them the file wrapper; the wrapper is its serialised bytes, as an object
// or as they are.

ObjectRef attachmentFromStream(NSUnarchiver &coder)
{
    while (coder.nextType() != '\0') {
        if (coder.nextIsObjectOfClass("NSFileWrapper"))
            return std::make_shared<NSTextAttachment>(coder.decode<NSFileWrapper>());
        coder.skipValue();
    }
    return std::make_shared<NSTextAttachment>(nullptr);
}

ObjectRef attachmentFromKeys(NSKeyedUnarchiver &coder)
{
    return std::make_shared<NSTextAttachment>(coder.decodeForKey<NSFileWrapper>("NSFileWrapper"));
}

template <class Coder>
ObjectRef fileWrapperOf(Coder &coder, const QByteArray &serialized)
{
    return NSFileWrapper::initWithSerializedRepresentation(
        serialized, [&coder](quint64 bytes) { coder.charge(bytes, 1); });
}

ObjectRef fileWrapperFromStream(NSUnarchiver &coder)
{
    std::optional<QByteArrayView> direct;
    for (char type = coder.nextType(); type != '\0'; type = coder.nextType()) {
        if (coder.nextIsObjectOfClass("NSData"))
            return fileWrapperOf(coder, readable<NSData>(coder.decodeObject())->bytes());
        if (type != '+' && type != TypeEncoding::BytesCode) {
            coder.skipValue();
            continue;
        }
        const QByteArrayView bytes = coder.decodeBytes();
        if (!direct || (!NSFileWrapper::looksSerialized(*direct) && NSFileWrapper::looksSerialized(bytes)))
            direct = bytes;
    }
    if (!direct)
        coder.fail("a file wrapper without its bytes");
    coder.charge(quint64(direct->size()), 1);
    return fileWrapperOf(coder, direct->toByteArray());
}

ObjectRef fileWrapperFromKeys(NSKeyedUnarchiver &coder)
{
    const auto bytes = coder.decodeBytesForKey("NSFileWrapperData");
    if (!bytes)
        coder.fail("a file wrapper without its bytes");
    return fileWrapperOf(coder, *bytes);
}

} // namespace

void addAppKitClasses(ClassTable &table)
{
    table.insert("NSFont", {fontFromStream, fontFromKeys});
    table.insert("NSColor", {colorFromStream, colorFromKeys});
    table.insert("NSTextAttachment", {attachmentFromStream, attachmentFromKeys});
    table.insert("NSFileWrapper", {fileWrapperFromStream, fileWrapperFromKeys});
}

} // namespace platform
