#include "platform/propertylist/xmlmarkup.h"

#include "platform/formaterror.h"
#include "platform/propertylist/readers.h"
#include "platform/text/byteordermark.h"
#include "platform/text/utf8text.h"

#include <algorithm>

namespace platform {

namespace {

constexpr qsizetype longestTag = 1024;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

qsizetype skipBlanks(QByteArrayView text, qsizetype at)
{
    while (at < text.size() && isBlank(text[at]))
        ++at;
    return at;
}

/// Where the text behind the next @p end begins, from @p from on; the document's end when there is none.
qsizetype behind(QByteArrayView xml, QByteArrayView end, qsizetype from)
{
    const qsizetype found = xml.indexOf(end, from);
    return found < 0 ? xml.size() : found + end.size();
}

/// Where the text behind the tag or document type at @p start begins.
qsizetype behindTag(QByteArrayView xml, qsizetype start)
{
    const bool isDocumentType = xml.sliced(start).startsWith("<!");
    char quote = 0;
    for (qsizetype at = start + 1; at < xml.size(); ++at) {
        const char c = xml[at];
        if (at - start >= longestTag)
            throw FormatError(start, "a tag longer than 1024 bytes");
        if (quote != 0)
            quote = c == quote ? char(0) : quote;
        else if (c == '"' || c == '\'')
            quote = c;
        else if (c == '[' && isDocumentType)
            throw FormatError(at, "a document type with declarations of its own");
        else if (c == '>')
            return at + 1;
    }
    return xml.size();
}

void checkMarkup(QByteArrayView xml)
{
    if (const qsizetype nul = xml.indexOf('\0'); nul >= 0)
        throw FormatError(nul, "a NUL in the text");
    qsizetype at = 0;
    while ((at = xml.indexOf('<', at)) >= 0) {
        const QByteArrayView rest = xml.sliced(at);
        if (rest.startsWith("<!--"))
            at = behind(xml, "-->", at + 4);
        else if (rest.startsWith("<![CDATA["))
            at = behind(xml, "]]>", at + 9);
        else if (rest.startsWith("<?"))
            at = behind(xml, "?>", at + 2);
        else
            at = behindTag(xml, at);
    }
}

/// The encoding that an XML declaration names, in small letters; empty when it names none.
QByteArray declaredEncoding(QByteArrayView declaration)
{
    constexpr QByteArrayView attribute("encoding");
    const qsizetype name = declaration.indexOf(attribute);
    if (name < 0)
        return {};
    qsizetype at = skipBlanks(declaration, name + attribute.size());
    if (at < declaration.size() && declaration[at] == '=')
        at = skipBlanks(declaration, at + 1);
    if (at >= declaration.size())
        return {};
    const qsizetype end = declaration.indexOf(declaration[at], at + 1); // the same quote again
    return end < 0 ? QByteArray() : declaration.sliced(at + 1, end - at - 1).toByteArray().toLower();
}

} // namespace

bool looksXml(QByteArrayView bytes)
{
    if (const auto mark = byteOrderMark(bytes))
        bytes = bytes.sliced(mark->size);
    constexpr qsizetype enough = 9; // the longest of those below
    QByteArray start;
    for (const char c : bytes) {
        if (c == 0 || (start.isEmpty() && isBlank(c))) // NULs: the other halves of UTF-16
            continue;
        start += c;
        if (start.size() == enough)
            break;
    }
    return start.startsWith("<?xml") || start.startsWith("<!DOCTYPE") || start.startsWith("<!--") ||
           start.startsWith("<plist");
}

XmlMarkup xmlMarkup(const QByteArray &file)
{
    Utf8Text text = utf8Text(file);
    if (text.endsInHalfUnit)
        throw FormatError(file.size(), "half a UTF-16 unit at the end");
    // XML wants its declaration at the very start, files have white space there. The declaration goes as
    // well: it may name the encoding of before.
    qsizetype begin = skipBlanks(text.bytes, 0);
    if (QByteArrayView(text.bytes).sliced(begin).startsWith("<?xml ")) {
        const qsizetype end = behind(text.bytes, "?>", begin);
        const QByteArray encoding = declaredEncoding(QByteArrayView(text.bytes).sliced(begin, end - begin));
        if (!text.wasUtf16 && !encoding.isEmpty() && encoding != "utf-8" && encoding != "us-ascii")
            throw FormatError(begin, "an encoding other than UTF-8 and UTF-16");
        begin = end;
    }
    text.bytes.remove(0, begin);
    checkMarkup(text.bytes);
    return {std::move(text.bytes), (text.hadMark ? 1 : 0) + begin};
}

} // namespace platform
