#include "platform/appkit/pictureheader.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <limits>

namespace platform {

namespace {

constexpr double centimetresPerInch = 2.54;
constexpr double metresPerInch = 0.0254;

/// How many chunks, segments or fields are looked at. Real pictures have some dozens of them; stepping
/// through hundreds of megabytes of empty ones would take longer than decoding.
constexpr int mostSteps = 4096;

enum class ByteOrder : quint8 { Big, Little };

/// Numbers at places that the file itself gives: each is there, or nothing.
class Numbers {
public:
    Numbers(QByteArrayView bytes, ByteOrder order) : m_bytes(bytes), m_order(order) {}

    [[nodiscard]] std::optional<quint8> byte(qint64 at) const { return number<quint8>(at); }
    [[nodiscard]] std::optional<quint16> short16(qint64 at) const { return number<quint16>(at); }
    [[nodiscard]] std::optional<quint32> long32(qint64 at) const { return number<quint32>(at); }
    [[nodiscard]] std::optional<quint64> long64(qint64 at) const { return number<quint64>(at); }

private:
    template <class Number>
    [[nodiscard]] std::optional<Number> number(qint64 at) const
    {
        if (at < 0 || at > m_bytes.size() - qsizetype(sizeof(Number)))
            return std::nullopt;
        const char *place = m_bytes.data() + at;
        return m_order == ByteOrder::Big ? qFromBigEndian<Number>(place) : qFromLittleEndian<Number>(place);
    }

    QByteArrayView m_bytes;
    ByteOrder m_order;
};

/// The size of these two, empty when it is none.
QSize sizeOf(std::optional<quint64> width, std::optional<quint64> height)
{
    const auto isLength = [](const std::optional<quint64> &length) {
        return length && *length > 0 && *length <= quint64(std::numeric_limits<int>::max());
    };
    return isLength(width) && isLength(height) ? QSize(int(*width), int(*height)) : QSize();
}

/// @p perUnit pixels on a unit of which @p unitsPerInch make an inch.
std::optional<double> perInch(double perUnit, double unitsPerInch)
{
    // One pixel per metre: some programs round down.
    constexpr double tolerance = metresPerInch;
    const double resolution = perUnit * unitsPerInch;
    if (!(resolution > 0))
        return std::nullopt;
    const double whole = std::round(resolution);
    return whole > 0 && std::abs(resolution - whole) < tolerance ? whole : resolution;
}

PictureHeader pngHeader(QByteArrayView file)
{
    constexpr qint64 signatureSize = 8;
    constexpr qint64 chunkOverhead = 12; // length, type, checksum
    constexpr quint8 metre = 1;
    const Numbers numbers(file, ByteOrder::Big);
    if (file.size() < signatureSize + chunkOverhead || file.sliced(signatureSize + 4, 4) != "IHDR")
        return {};
    PictureHeader header{
        sizeOf(numbers.long32(signatureSize + 8), numbers.long32(signatureSize + 12)), {}, {}};
    qint64 at = signatureSize;
    for (int step = 0; step < mostSteps; ++step) {
        const auto length = numbers.long32(at);
        if (!length || at + chunkOverhead + *length > file.size())
            break;
        const QByteArrayView type = file.sliced(at + 4, 4);
        if (type == "IDAT")
            break; // too late for a resolution
        if (type == "pHYs") {
            if (*length == 9 && numbers.byte(at + 16) == metre) {
                header.horizontalResolution = perInch(*numbers.long32(at + 8), metresPerInch);
                header.verticalResolution = perInch(*numbers.long32(at + 12), metresPerInch);
            }
            break;
        }
        at += chunkOverhead + *length;
    }
    return header;
}

/// The fields of a TIFF directory.
namespace field {
constexpr quint16 imageWidth = 256;
constexpr quint16 imageLength = 257;
constexpr quint16 xResolution = 282;
constexpr quint16 yResolution = 283;
constexpr quint16 resolutionUnit = 296;
constexpr quint16 typeByte = 1;
constexpr quint16 typeShort = 3;
constexpr quint16 typeLong = 4;
constexpr quint16 typeRational = 5; // two longs elsewhere: numerator and denominator
constexpr quint16 typeLong8 = 16;
} // namespace field

std::optional<quint64> integer(const Numbers &numbers, quint16 type, qint64 value)
{
    switch (type) {
    case field::typeByte: return numbers.byte(value);
    case field::typeShort: return numbers.short16(value);
    case field::typeLong: return numbers.long32(value);
    case field::typeLong8: return numbers.long64(value);
    default: return std::nullopt;
    }
}

std::optional<double> rational(const Numbers &numbers, quint16 type, qint64 value)
{
    const auto place = numbers.long32(value);
    if (type != field::typeRational || !place)
        return std::nullopt;
    const auto numerator = numbers.long32(*place);
    const auto denominator = numbers.long32(qint64(*place) + 4);
    if (!numerator || !denominator || *denominator == 0)
        return std::nullopt;
    return double(*numerator) / *denominator;
}

/// What tells the two generations of TIFF apart.
struct TiffForm {
    bool isBig = false;
    qint64 fieldSize = 12; // tag, type, count, and the value or its place
    qint64 valueAt = 8;    // in a field
};

/// Of a TIFF file, or of the one that an Exif segment holds.
PictureHeader tiffHeader(QByteArrayView file)
{
    const Numbers numbers(file, file.startsWith('I') ? ByteOrder::Little : ByteOrder::Big);
    const TiffForm form = numbers.short16(2) == 43 ? TiffForm{true, 20, 12} : TiffForm{};
    const auto place = form.isBig ? numbers.long64(8) : std::optional<quint64>(numbers.long32(4));
    if (!place || *place > quint64(file.size()))
        return {};
    const auto directory = qint64(*place);
    const auto count =
        form.isBig ? numbers.long64(directory) : std::optional<quint64>(numbers.short16(directory));

    std::optional<quint64> width;
    std::optional<quint64> height;
    std::optional<double> x;
    std::optional<double> y;
    std::optional<quint64> unit = 2; // inches where the file does not say
    for (qint64 i = 0; i < qint64(std::min<quint64>(count.value_or(0), mostSteps)); ++i) {
        const qint64 entry = directory + (form.isBig ? 8 : 2) + i * form.fieldSize;
        const auto tag = numbers.short16(entry);
        const auto type = numbers.short16(entry + 2);
        if (!tag || !type)
            break;
        const qint64 value = entry + form.valueAt;
        switch (*tag) {
        case field::imageWidth: width = integer(numbers, *type, value); break;
        case field::imageLength: height = integer(numbers, *type, value); break;
        case field::xResolution: x = rational(numbers, *type, value); break;
        case field::yResolution: y = rational(numbers, *type, value); break;
        case field::resolutionUnit: unit = integer(numbers, *type, value); break;
        default: break;
        }
    }
    PictureHeader header{sizeOf(width, height), {}, {}};
    if (!form.isBig && (unit == 2 || unit == 3)) {
        const double unitsPerInch = unit == 2 ? 1 : centimetresPerInch;
        header.horizontalResolution = perInch(x.value_or(0), unitsPerInch);
        header.verticalResolution = perInch(y.value_or(0), unitsPerInch);
    }
    return header;
}

bool isTiff(QByteArrayView file)
{
    return file.startsWith(QByteArrayView("II*\0", 4)) || file.startsWith(QByteArrayView("MM\0*", 4)) ||
           file.startsWith(QByteArrayView("II+\0", 4)) || file.startsWith(QByteArrayView("MM\0+", 4));
}

/// What the segment JFIF states, whose @p data begins with version, unit and densities.
void takeJfif(PictureHeader &header, QByteArrayView data)
{
    const Numbers numbers(data, ByteOrder::Big);
    const quint8 unit = numbers.byte(2).value_or(0);
    if (unit != 1 && unit != 2)
        return;
    const double unitsPerInch = unit == 1 ? 1 : centimetresPerInch;
    header.horizontalResolution = perInch(numbers.short16(3).value_or(0), unitsPerInch);
    header.verticalResolution = perInch(numbers.short16(5).value_or(0), unitsPerInch);
}

bool isFrameHeader(quint16 marker)
{
    constexpr quint16 first = 0xFFC0;
    constexpr quint16 last = 0xFFCF;
    const bool isTable = marker == 0xFFC4 || marker == 0xFFC8 || marker == 0xFFCC;
    return marker >= first && marker <= last && !isTable;
}

PictureHeader jpegHeader(QByteArrayView file)
{
    constexpr quint16 startOfScan = 0xFFDA;
    constexpr quint16 jfifSegment = 0xFFE0;
    constexpr quint16 exifSegment = 0xFFE1;
    constexpr QByteArrayView jfifName("JFIF\0", 5);
    constexpr QByteArrayView exifName("Exif\0\0", 6);
    const Numbers numbers(file, ByteOrder::Big);
    PictureHeader header;
    PictureHeader exif;
    qint64 at = 2; // after the start marker
    for (int step = 0; step < mostSteps; ++step) {
        const auto marker = numbers.short16(at);
        if (marker == 0xFFFF) { // a fill byte
            ++at;
            continue;
        }
        const auto length = numbers.short16(at + 2); // counts itself, but not the marker
        if (!marker || *marker < 0xFF00 || *marker == startOfScan || !length || *length < 2 ||
            at + 2 + *length > file.size())
            break;
        const QByteArrayView data = file.sliced(at + 4, *length - 2);
        if (isFrameHeader(*marker) && header.pixels.isEmpty())
            header.pixels = sizeOf(numbers.short16(at + 7), numbers.short16(at + 5));
        else if (*marker == jfifSegment && data.startsWith(jfifName))
            takeJfif(header, data.sliced(jfifName.size()));
        else if (*marker == exifSegment && data.startsWith(exifName) && isTiff(data.sliced(exifName.size())))
            exif = tiffHeader(data.sliced(exifName.size()));
        at += 2 + *length;
    }
    if (exif.horizontalResolution)
        header.horizontalResolution = exif.horizontalResolution;
    if (exif.verticalResolution)
        header.verticalResolution = exif.verticalResolution;
    return header;
}

/// The place after the sub-blocks that begin at @p at; the end of the file when they do not end.
qint64 afterGifBlocks(const Numbers &numbers, qint64 at, int &steps)
{
    while (steps-- > 0) {
        const auto size = numbers.byte(at);
        if (!size)
            break;
        at += 1 + *size;
        if (*size == 0)
            return at;
    }
    return std::numeric_limits<qint64>::max() / 2;
}

/// The place of the first image's descriptor, beyond the file when there is none.
qint64 firstGifImage(const Numbers &numbers)
{
    constexpr qint64 screenEnd = 13;
    constexpr quint8 extension = 0x21;
    constexpr quint8 image = 0x2C;
    const quint8 flags = numbers.byte(10).value_or(0);
    qint64 at = screenEnd + ((flags & 0x80U) != 0 ? qint64(3) << ((flags & 7U) + 1) : 0);
    int steps = 4 * mostSteps; // an application's notes stand in blocks of 255 bytes
    while (numbers.byte(at) == extension)
        at = afterGifBlocks(numbers, at + 2, steps);
    return numbers.byte(at) == image ? at : std::numeric_limits<qint64>::max() / 2;
}

PictureHeader gifHeader(QByteArrayView file)
{
    constexpr int believedLength = 2000; // of a screen, whatever the image's
    const Numbers numbers(file, ByteOrder::Little);
    const qint64 image = firstGifImage(numbers);
    const auto length = [&](qint64 screenAt, qint64 offsetAt) -> std::optional<quint64> {
        const auto screen = numbers.short16(screenAt);
        const auto offset = numbers.short16(image + offsetAt);
        const auto ofImage = numbers.short16(image + offsetAt + 4);
        if (!screen || !offset || !ofImage)
            return std::nullopt;
        const bool isBelieved = *screen > 0 && *screen / 10 <= std::max<int>(*ofImage, believedLength / 10);
        return isBelieved ? *screen : *offset + *ofImage;
    };
    return {sizeOf(length(6, 1), length(8, 3)), {}, {}};
}

PictureHeader bmpHeader(QByteArrayView file)
{
    constexpr quint32 oldestHeader = 12; // whose sizes are short
    const Numbers numbers(file, ByteOrder::Little);
    const auto headerSize = numbers.long32(14);
    if (headerSize == oldestHeader)
        return {sizeOf(numbers.short16(18), numbers.short16(20)), {}, {}};
    auto height = numbers.long32(22);
    if (height && qint32(*height) < 0)
        height = -*height; // the rows go from top to bottom
    return {sizeOf(numbers.long32(18), height), {}, {}};
}

PictureHeader webpHeader(QByteArrayView file)
{
    constexpr qint64 chunk = 12; // after "RIFF", a length and "WEBP"
    constexpr qint64 data = chunk + 8;
    const Numbers numbers(file, ByteOrder::Little);
    const QByteArrayView type = file.sliced(chunk).first(std::min<qsizetype>(4, file.size() - chunk));
    if (type == "VP8X") { // one less than each, 24 bits
        const auto width = numbers.long32(data + 4);
        const auto height = numbers.long32(data + 6);
        if (width && height)
            return {sizeOf((*width & 0xFFFFFFU) + 1, (*height >> 8U) + 1), {}, {}};
    } else if (type == "VP8L" && numbers.byte(data) == 0x2F) { // one less than each, 14 bits
        if (const auto both = numbers.long32(data + 1))
            return {sizeOf((*both & 0x3FFFU) + 1, (*both >> 14U & 0x3FFFU) + 1), {}, {}};
    } else if (type == "VP8 " && numbers.byte(data + 3) == 0x9D && numbers.short16(data + 4) == 0x2A01) {
        const auto width = numbers.short16(data + 6); // 14 bits, and two of scaling
        const auto height = numbers.short16(data + 8);
        if (width && height)
            return {sizeOf(*width & 0x3FFFU, *height & 0x3FFFU), {}, {}};
    }
    return {};
}

} // namespace

std::optional<PictureHeader> pictureHeader(QByteArrayView file)
{
    if (file.startsWith("\x89PNG\r\n\x1A\n"))
        return pngHeader(file);
    if (file.startsWith("\xFF\xD8"))
        return jpegHeader(file);
    if (isTiff(file))
        return tiffHeader(file);
    if (file.startsWith("GIF87a") || file.startsWith("GIF89a"))
        return gifHeader(file);
    if (file.startsWith("BM"))
        return bmpHeader(file);
    if (file.startsWith("RIFF") &&
        file.sliced(4).sliced(std::min<qsizetype>(4, file.size() - 4)).startsWith("WEBP"))
        return webpHeader(file);
    return std::nullopt;
}

} // namespace platform
