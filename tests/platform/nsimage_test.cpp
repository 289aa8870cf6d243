#include "platform/appkit/nsimage.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QtEndian>
#include <gtest/gtest.h>

#include <ctime>

using platform::NSImage;

namespace {

struct Points {
    double width;
    double height;
};

/// A file of a picture of 60 by 40 pixels, as Qt writes it, by default with 72 dpi.
QByteArray picture(const char *format, int dotsPerMetreX = 2835, int dotsPerMetreY = 2835)
{
    QImage image(60, 40, QImage::Format_RGB32);
    image.fill(Qt::red);
    image.setDotsPerMeterX(dotsPerMetreX);
    image.setDotsPerMeterY(dotsPerMetreY);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(QImageWriter(&buffer, format).write(image)) << format;
    return buffer.data();
}

template <class Number>
QByteArray bigEndian(Number value)
{
    QByteArray bytes(sizeof(Number), '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

/// A TIFF directory with what is said of the resolution, each as it is given: 0 stands for a missing field.
QByteArray exif(quint32 x, quint32 y, quint16 unit)
{
    QByteArray entries;
    QByteArray values;
    quint16 count = 0;
    const auto entry = [&](quint16 tag, quint16 type, const QByteArray &value) {
        entries += bigEndian(tag) + bigEndian(type) + bigEndian<quint32>(1) + value;
        ++count;
    };
    constexpr quint32 valuesAt = 80; // behind all that may stand before them
    for (const auto &[tag, numerator] : {std::pair(quint16(282), x), std::pair(quint16(283), y)}) {
        if (numerator == 0)
            continue;
        entry(tag, 5, bigEndian(quint32(valuesAt + values.size())));
        values += bigEndian(numerator) + bigEndian<quint32>(10);
    }
    if (unit != 0)
        entry(296, 3, bigEndian(unit) + bigEndian<quint16>(0));
    const QByteArray file = QByteArray("MM\0*", 4) + bigEndian<quint32>(8) + bigEndian(count) + entries;
    return file.leftJustified(valuesAt, '\0') + values;
}

/// @p jpeg with an Exif segment behind its JFIF segment.
QByteArray withExif(QByteArray jpeg, const QByteArray &tiff)
{
    const QByteArray data = QByteArray("Exif\0\0", 6) + tiff;
    return jpeg.insert(20, "\xFF\xE1" + bigEndian(quint16(data.size() + 2)) + data);
}

QByteArray fromHex(const char *hex)
{
    return QByteArray::fromHex(hex);
}

/// A GIF with a screen of this size, of four hexadecimal digits each, little-endian, and one image of 96 by
/// 20 pixels two pixels from the left and three from the top, with a comment before it.
QByteArray gif(const char *width, const char *height)
{
    return "GIF89a" + fromHex(width) + fromHex(height) +
           fromHex("800000"
                   "000000ffffff"
                   "21fe0161"
                   "00") +
           fromHex("2c02000300"
                   "60001400"
                   "00"
                   "02024401003b");
}

/// The first chunk of a WebP picture.
QByteArray webp(const char *type, const char *data)
{
    return QByteArray("RIFF\x40\0\0\0WEBP", 12) + type + fromHex("20000000") + fromHex(data);
}

/// A BMP with an information header of this size, the rest of which are zeros.
QByteArray bmp(quint8 headerSize, const char *sizes)
{
    return "BM" + QByteArray(12, '\0') + char(headerSize) + QByteArray(3, '\0') + fromHex(sizes) +
           QByteArray(headerSize, '\0');
}

/// The first directory of a TIFF in which the sizes stand in fields of this type.
const QByteArray littleTiff = fromHex("49492a00080000000200"
                                      "000103000100000060000000"
                                      "010103000100000014000000");
const QByteArray bigTiff = fromHex("4d4d002b000800000000000000000010"
                                   "0000000000000002"
                                   "01000004000000000000000100000060"
                                   "00000000"
                                   "01010010000000000000000100000000"
                                   "00000014");

QByteArray hugePng()
{
    QByteArray png = picture("png");
    png.replace(16, 8, bigEndian<quint32>(60000) + bigEndian<quint32>(60000));
    png.replace(29, 4, QByteArray::fromHex("0fb0e215")); // its checksum
    return png;
}

} // namespace

TEST(NSImage, HasTheSizeThatItsHeaderStates)
{
    const QByteArray jpeg = picture("jpg", 5669, 2835);
    QByteArray unitless = picture("png", 5669, 5669);
    const qsizetype unit = unitless.indexOf("pHYs") + 12;
    unitless.replace(unit, 5, QByteArray(1, char(0)) + QByteArray::fromHex("3e551466"));
    QByteArray jfifRatio = jpeg;
    jfifRatio[13] = 0;
    const struct {
        const char *name;
        QByteArray file;
        Points size;
    } table[] = {
        {"png, 72 dpi", picture("png"), {60, 40}},
        {"png, 144 by 72 dpi", picture("png", 5669, 2835), {30, 40}},
        {"png, 90 dpi", picture("png", 3543, 3543), {48, 32}},
        {"png without a unit", unitless, {60, 40}},
        {"jpeg, 72 dpi", picture("jpg"), {60, 40}},
        {"jpeg, 144 by 72 dpi", jpeg, {30, 40}},
        {"jpeg with a ratio", jfifRatio, {60, 40}},
        {"exif, 72 by 144 dpi", withExif(jpeg, exif(720, 1440, 2)), {60, 20}},
        {"exif of one axis", withExif(jpeg, exif(0, 1440, 2)), {30, 20}},
        {"exif in centimetres", withExif(jpeg, exif(200, 400, 3)), {60 * 72 / 50.8, 40 * 72 / 101.6}},
        {"exif in inches, which it need not say", withExif(jpeg, exif(720, 720, 0)), {60, 40}},
        {"exif without a unit, so jfif", withExif(jpeg, exif(720, 1440, 1)), {30, 40}},
        {"tiff, 72 dpi", picture("tiff"), {60, 40}},
        {"tiff, 144 by 72 dpi", picture("tiff", 5669, 2835), {30, 40}},
        {"gif", gif("6000", "1400"), {96, 20}},
        {"gif, larger than its image", gif("d007", "c800"), {2000, 200}},
        {"gif, too large to be believed", gif("da07", "ffff"), {98, 23}},
        {"gif without a size of its own", gif("0000", "0000"), {98, 23}},
        {"bmp of OS/2", bmp(12, "60001400"), {96, 20}},
        {"bmp from top to bottom", bmp(40, "60000000ecffffff"), {96, 20}},
        {"bmp of version 5", bmp(124, "6000000014000000"), {96, 20}},
        {"webp, lossy", webp("VP8 ", "3001009d012a60401480"), {96, 20}},
        {"webp, lossless", webp("VP8L", "2f5fc00400"), {96, 20}},
        {"webp, animated", webp("VP8X", "020000005f0000130000"), {96, 20}},
        {"tiff, little-endian and short", littleTiff, {96, 20}},
        {"BigTIFF, big-endian and long", bigTiff, {96, 20}},
        {"bmp, which states none here", picture("bmp", 5669, 5669), {60, 40}},
        {"webp", picture("webp"), {60, 40}},
        {"ico", picture("ico"), {60, 40}},
        {"a picture of 3.6 thousand million pixels", hugePng(), {60000, 60000}},
    };
    for (const auto &row : table) {
        const auto image = NSImage::initWithData(row.file);
        ASSERT_TRUE(image) << row.name;
        EXPECT_NEAR(image->width(), row.size.width, 0.01) << row.name;
        EXPECT_NEAR(image->height(), row.size.height, 0.01) << row.name;
    }
}

TEST(NSImage, IsNothingElse)
{
    const QByteArray icon = picture("ico");
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("text"), QByteArray("%PDF-1.3\n"), QByteArray("GIF89a"),
          QByteArray("RIFF"),
          QByteArray("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>"),
          icon + QByteArray(NSImage::largestOfOtherKinds, '\0'), webp("VP8L", "005fc00400"),
          bmp(40, "a0ffffff14000000"), fromHex("49492a00ffffffff"), picture("png").first(20)})
        EXPECT_FALSE(NSImage::initWithData(bytes)) << bytes.left(64).constData();
}

TEST(NSImage, CostsNoMoreThanItsHeader)
{
    // Each would take from tenths of a second to minutes, were it unpacked or gone through to its end.
    QByteArray packed = qCompress(QByteArray(1 << 26, '\0'), 9).sliced(4);
    packed.prepend(QByteArray("zTXtk\0\0", 7));
    const QByteArray chunk = bigEndian(quint32(packed.size() - 4)) + packed + bigEndian<quint32>(0);
    const QByteArray frame = fromHex("414e4d4620000000"
                                     "000000000000ff3f00ff3f0064000000") +
                             webp("VP8L", "2fffffff0f").sliced(12);
    const QByteArray files[] = {
        picture("png").insert(33, chunk.repeated(8)),
        webp("VP8X", "02000000ff3f00ff3f00") + frame.repeated(10'000),
        picture("jpg").insert(2, fromHex("ffe20002").repeated(10'000'000)),
        picture("jpg").insert(2, QByteArray(40'000'000, '\xFF')),
        gif("6000", "1400").insert(19, fromHex("21fe017800").repeated(10'000'000)),
    };
    const std::clock_t start = std::clock();
    for (const QByteArray &file : files)
        static_cast<void>(NSImage::initWithData(file));
    EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC / 20);
}

TEST(NSImage, SurvivesCutAndDamagedHeaders)
{
    for (const QByteArray &file : {picture("png", 5669, 2835), withExif(picture("jpg"), exif(720, 720, 2)),
                                   picture("tiff", 5669, 2835), exif(720, 720, 3), gif("6000", "1400"),
                                   bigTiff, picture("bmp"), webp("VP8X", "020000005f0000130000"),
                                   webp("VP8L", "2f5fc00400"), webp("VP8 ", "3001009d012a60401480")}) {
        for (qsizetype i = 0; i < std::min<qsizetype>(file.size(), 300); ++i) {
            static_cast<void>(NSImage::initWithData(file.first(i)));
            for (const char byte : {'\0', '\x7F', '\xFF'}) {
                QByteArray damaged = file;
                damaged[i] = byte;
                const auto image = NSImage::initWithData(damaged);
                EXPECT_TRUE(!image || (image->width() > 0 && image->height() > 0)) << i;
            }
        }
    }
}
