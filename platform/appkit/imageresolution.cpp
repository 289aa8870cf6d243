#include "platform/appkit/imageresolution.h"

#include <QtEndian>

#include <cmath>

namespace platform {

namespace {

constexpr double centimetresPerInch = 2.54;
constexpr double metresPerInch = 0.0254;

enum class ByteOrder : quint8 { Big, Little };

/// Numbers at places that the file itself gives: each is there, or nothing.
class Numbers {
public:
    Numbers(QByteArrayView bytes, ByteOrder order) : m_bytes(bytes), m_order(order) {}

    [[nodiscard]] std::optional<quint16> short16(qint64 at) const { return number<quint16>(at); }
    [[nodiscard]] std::optional<quint32> long32(qint64 at) const { return number<quint32>(at); }

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

ImageResolution resolutionOfPng(QByteArrayView file)
{
    constexpr qint64 chunkOverhead = 12; // length, type, checksum
    constexpr quint8 metre = 1;
    const Numbers numbers(file, ByteOrder::Big);
    qint64 at = 8; // behind the signature
    for (;;) {
        const auto length = numbers.long32(at);
        if (!length || at + chunkOverhead + *length > file.size())
            return {};
        const QByteArrayView type = file.sliced(at + 4, 4);
        if (type == "IDAT")
            return {}; // too late for it
        if (type == "pHYs") {
            if (*length != 9 || quint8(file[at + 16]) != metre)
                return {};
            return {perInch(*numbers.long32(at + 8), metresPerInch),
                    perInch(*numbers.long32(at + 12), metresPerInch)};
        }
        at += chunkOverhead + *length;
    }
}

/// A field of a TIFF directory.
namespace field {
constexpr quint16 xResolution = 282;
constexpr quint16 yResolution = 283;
constexpr quint16 resolutionUnit = 296;
constexpr quint16 typeShort = 3;
constexpr quint16 typeRational = 5; // two longs elsewhere: numerator and denominator
constexpr qint64 size = 12;         // tag, type, count, and the value or its place
} // namespace field

std::optional<double> rational(const Numbers &numbers, qint64 entry)
{
    const auto place = numbers.long32(entry + 8);
    if (numbers.short16(entry + 2) != field::typeRational || !place)
        return std::nullopt;
    const auto numerator = numbers.long32(*place);
    const auto denominator = numbers.long32(qint64(*place) + 4);
    if (!numerator || !denominator || *denominator == 0)
        return std::nullopt;
    return double(*numerator) / *denominator;
}

/// Of a TIFF file, or of the one that an Exif segment holds.
ImageResolution resolutionOfTiff(QByteArrayView file)
{
    const bool isLittleEndian = file.startsWith(QByteArrayView("II*\0", 4));
    if (!isLittleEndian && !file.startsWith(QByteArrayView("MM\0*", 4)))
        return {};
    const Numbers numbers(file, isLittleEndian ? ByteOrder::Little : ByteOrder::Big);
    const auto directory = numbers.long32(4);
    const auto count = directory ? numbers.short16(*directory) : std::nullopt;
    if (!count)
        return {};
    std::optional<double> x;
    std::optional<double> y;
    quint16 unit = 2; // inches where the file does not say
    for (qint64 i = 0; i < *count; ++i) {
        const qint64 entry = qint64(*directory) + 2 + i * field::size;
        const auto tag = numbers.short16(entry);
        if (!tag)
            break;
        if (*tag == field::xResolution)
            x = rational(numbers, entry);
        else if (*tag == field::yResolution)
            y = rational(numbers, entry);
        else if (*tag == field::resolutionUnit && numbers.short16(entry + 2) == field::typeShort)
            unit = numbers.short16(entry + 8).value_or(unit);
    }
    if (unit != 2 && unit != 3)
        return {};
    const double unitsPerInch = unit == 2 ? 1 : centimetresPerInch;
    return {perInch(x.value_or(0), unitsPerInch), perInch(y.value_or(0), unitsPerInch)};
}

/// @param data of the segment behind "JFIF\0": version, unit, densities.
ImageResolution resolutionOfJfif(QByteArrayView data)
{
    const Numbers numbers(data, ByteOrder::Big);
    const quint8 unit = data.size() > 2 ? quint8(data[2]) : 0;
    if (unit != 1 && unit != 2)
        return {};
    const double unitsPerInch = unit == 1 ? 1 : centimetresPerInch;
    return {perInch(numbers.short16(3).value_or(0), unitsPerInch),
            perInch(numbers.short16(5).value_or(0), unitsPerInch)};
}

ImageResolution resolutionOfJpeg(QByteArrayView file)
{
    constexpr quint16 startOfScan = 0xFFDA;
    constexpr quint16 jfifSegment = 0xFFE0;
    constexpr quint16 exifSegment = 0xFFE1;
    constexpr QByteArrayView jfifName("JFIF\0", 5);
    constexpr QByteArrayView exifName("Exif\0\0", 6);
    const Numbers numbers(file, ByteOrder::Big);
    ImageResolution jfif;
    ImageResolution exif;
    qint64 at = 2; // behind the start marker
    for (;;) {
        const auto marker = numbers.short16(at);
        if (marker == 0xFFFF) { // a byte that fills up
            ++at;
            continue;
        }
        const auto length = numbers.short16(at + 2); // counts itself, but not the marker
        if (!marker || *marker < 0xFF00 || *marker == startOfScan || !length || *length < 2 ||
            at + 2 + *length > file.size())
            break;
        const QByteArrayView data = file.sliced(at + 4, *length - 2);
        if (*marker == jfifSegment && data.startsWith(jfifName))
            jfif = resolutionOfJfif(data.sliced(jfifName.size()));
        else if (*marker == exifSegment && data.startsWith(exifName))
            exif = resolutionOfTiff(data.sliced(exifName.size()));
        at += 2 + *length;
    }
    return {exif.horizontal ? exif.horizontal : jfif.horizontal,
            exif.vertical ? exif.vertical : jfif.vertical};
}

} // namespace

ImageResolution statedResolution(QByteArrayView file)
{
    if (file.startsWith("\x89PNG\r\n\x1A\n"))
        return resolutionOfPng(file);
    if (file.startsWith("\xFF\xD8\xFF"))
        return resolutionOfJpeg(file);
    return resolutionOfTiff(file);
}

} // namespace platform
