#include "export/names.h"

#include "galleries/filenames.h"

#include "platform/text/encoding.h"

#include <QCryptographicHash>
#include <QHash>

#include <algorithm>
#include <array>
#include <string_view>

namespace exporting {

namespace {

using namespace std::string_view_literals;

constexpr qsizetype longestName = 200; // bytes of UTF-8

// Kinds that open in a program of their own, or in a browser as what they are, and run nothing there.
constexpr std::array harmless{
    "7z"sv,    "aac"sv,  "ai"sv,      "aif"sv,  "aiff"sv, "avi"sv,  "bmp"sv,  "bz2"sv, "caf"sv,
    "csv"sv,   "dmg"sv,  "doc"sv,     "docx"sv, "eps"sv,  "flac"sv, "gif"sv,  "gz"sv,  "heic"sv,
    "hqx"sv,   "icns"sv, "ico"sv,     "ics"sv,  "jp2"sv,  "jpe"sv,  "jpeg"sv, "jpg"sv, "key"sv,
    "log"sv,   "m4a"sv,  "m4v"sv,     "mid"sv,  "midi"sv, "mkv"sv,  "mov"sv,  "mp3"sv, "mp4"sv,
    "mpeg"sv,  "mpg"sv,  "numbers"sv, "odp"sv,  "ods"sv,  "odt"sv,  "oga"sv,  "ogg"sv, "ogv"sv,
    "pages"sv, "pdf"sv,  "pict"sv,    "png"sv,  "ppt"sv,  "pptx"sv, "ps"sv,   "psd"sv, "rar"sv,
    "rtf"sv,   "sit"sv,  "sitx"sv,    "tar"sv,  "tgz"sv,  "tif"sv,  "tiff"sv, "txt"sv, "vcf"sv,
    "wav"sv,   "webm"sv, "webp"sv,    "wma"sv,  "wmv"sv,  "xls"sv,  "xlsx"sv, "zip"sv};

// Kinds that are text, and that a browser would run or take for a page.
constexpr std::array runByBrowsers{"htm"sv,   "html"sv, "js"sv,     "mjs"sv,   "mht"sv, "mhtml"sv,
                                   "shtml"sv, "svg"sv,  "xht"sv,    "xhtml"sv, "xml"sv, "xsl"sv,
                                   "xslt"sv,  "url"sv,  "webloc"sv, "css"sv};

template <class Kinds>
bool isAmong(const Kinds &kinds, const QString &extension)
{
    const std::string wanted = extension.toLower().toStdString();
    return std::find(kinds.begin(), kinds.end(), wanted) != kinds.end();
}

bool isDevice(const QString &name)
{
    static constexpr std::array devices{"con"sv, "prn"sv, "aux"sv, "nul"sv};
    const QString stem = name.left(name.indexOf(u'.')).trimmed().toLower(); // all of it when there is none
    constexpr qsizetype lengthWithNumber = 4;
    const bool isNumbered = stem.size() == lengthWithNumber && stem.back().isDigit() &&
                            (stem.startsWith(u"com") || stem.startsWith(u"lpt"));
    return isNumbered || isAmong(devices, stem);
}

/// As they count when names are compared.
QString comparable(const QString &name)
{
    return name.normalized(QString::NormalizationForm_C).toCaseFolded();
}

/// @p name cut to @p size bytes of UTF-8, with a hash of the whole at its end when it is longer.
QString shortened(const QString &name, qsizetype size)
{
    const QByteArray whole = platform::utf8FromString(name);
    if (whole.size() <= size)
        return name;
    constexpr qsizetype digits = 8;
    const QByteArray hash = QCryptographicHash::hash(whole, QCryptographicHash::Sha256).toHex().first(digits);
    qsizetype end = size - digits - 1;
    constexpr quint8 followingMask = 0xC0;
    constexpr quint8 following = 0x80;
    while (end > 0 && (quint8(whole[end]) & followingMask) == following)
        --end; // not within a character
    return platform::stringFromUtf8(whole.first(end)) + u'-' + QLatin1String(hash);
}

} // namespace

QString portableName(QStringView name, QStringView suffix)
{
    QString result = platform::stringFromUtf8(platform::utf8FromString(name)) // without lone surrogates
                         .normalized(QString::NormalizationForm_C);
    for (QChar &character : result) {
        const bool isFormatting = character.category() == QChar::Other_Format; // such as "write backwards"
        if (character.category() == QChar::Other_Control || isFormatting ||
            character == QChar::LineSeparator || character == QChar::ParagraphSeparator ||
            QStringView(u"/\\:*?\"<>|").contains(character))
            character = u'_';
    }
    while (!result.isEmpty() && (result.back() == u'.' || result.back().isSpace()))
        result.chop(1);
    result = result.trimmed();
    if (result.startsWith(u'.'))
        result.replace(0, 1, u'_');
    if (isDevice(result))
        result.prepend(u'_');
    result = shortened(result, longestName - platform::utf8FromString(suffix).size());
    return galleries::fileName(result, suffix).text();
}

QString attachmentName(const QString &preferredFilename)
{
    const QString name = portableName(preferredFilename);
    const qsizetype stop = name.lastIndexOf(u'.');
    const QString extension = stop < 0 ? QString() : name.sliced(stop + 1);
    if (isAmong(harmless, extension)) {
        return portableName(QStringView(name).first(stop), QStringView(name).sliced(stop));
    }
    return portableName(name, isAmong(runByBrowsers, extension) ? u".txt" : u".bin");
}

QString urlOfPath(QStringView path)
{
    return QString::fromLatin1(platform::utf8FromString(path).toPercentEncoding("/"));
}

bool isSafeLink(QStringView link)
{
    if (std::any_of(link.begin(), link.end(), [](QChar character) {
            return character.unicode() <= 0x20 || character.unicode() == 0x7F;
        }))
        return false;
    const qsizetype colon = link.indexOf(u':');
    const QString scheme = link.first(std::max<qsizetype>(colon, 0)).toString();
    static constexpr std::array schemes{"http"sv, "https"sv, "mailto"sv, "ftp"sv};
    return isAmong(schemes, scheme);
}

QString UniqueNames::take(const QString &stem, const QString &suffix)
{
    if (note(stem + suffix))
        return stem + suffix;
    int &number = m_last[comparable(stem + suffix)];
    for (number = std::max(number, 1);;) {
        const QString name = stem + QStringLiteral(" (%1)").arg(++number) + suffix;
        if (note(name))
            return name;
    }
}

bool UniqueNames::note(const QString &name)
{
    const qsizetype before = m_taken.size();
    m_taken.insert(comparable(name));
    return m_taken.size() > before;
}

} // namespace exporting
