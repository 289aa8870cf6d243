#include "platform/appkit/nsimage.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QtEndian>
#include <gtest/gtest.h>

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
    QByteArray file = QByteArray("MM\0*", 4) + bigEndian<quint32>(8) + bigEndian(count) + entries;
    return file.leftJustified(valuesAt, '\0') + values;
}

/// @p jpeg with an Exif segment behind its JFIF segment.
QByteArray withExif(QByteArray jpeg, const QByteArray &tiff)
{
    const QByteArray data = QByteArray("Exif\0\0", 6) + tiff;
    return jpeg.insert(20, "\xFF\xE1" + bigEndian(quint16(data.size() + 2)) + data);
}

/// A GIF of 96 by 20 pixels up to its colours, which is all that a size takes.
const QByteArray gif("GIF89a\x60\0\x14\0\x80\0\0\0\0\0\xFF\xFF\xFF,\0\0\0\0\x60\0\x14\0\0\x02\x02\x44\x01\0;",
                     36);

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
        {"gif", gif, {96, 20}},
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
    for (const char *bytes : {"", "text", "%PDF-1.3\n", "GIF89a",
                              "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>"})
        EXPECT_FALSE(NSImage::initWithData(bytes)) << bytes;
}

TEST(NSImage, SurvivesCutAndDamagedHeaders)
{
    for (const QByteArray &file : {picture("png", 5669, 2835), withExif(picture("jpg"), exif(720, 720, 2)),
                                   picture("tiff", 5669, 2835), exif(720, 720, 3), gif}) {
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
