#include "platform/addressbook/contentline.h"

#include "platform/text/byteordermark.h"

#include <QList>

#include <algorithm>

namespace platform {

namespace {

bool isBlank(char character)
{
    return character == ' ' || character == '\t';
}

QByteArray upperCase(QByteArrayView text)
{
    return text.trimmed().toByteArray().toUpper();
}

/// Position of the next @p wanted from @p from on that does not stand between quotes; the size when there is
/// none.
qsizetype findUnquoted(QByteArrayView text, char wanted, qsizetype from)
{
    bool quoted = false;
    for (qsizetype i = from; i < text.size(); ++i) {
        if (text[i] == '"')
            quoted = !quoted;
        else if (text[i] == wanted && !quoted)
            return i;
    }
    return text.size();
}

/// The colon before the value; nothing when the line has none.
std::optional<qsizetype> findColon(QByteArrayView line)
{
    qsizetype colon = findUnquoted(line, ':', 0);
    if (colon == line.size()) // none, or behind a quote that is never closed
        colon = line.indexOf(':');
    return colon < 0 ? std::nullopt : std::optional(colon);
}

/// The parameter that a value without a name, as version 2.1 writes it, is a value of.
QByteArray impliedName(const QByteArray &value)
{
    const bool isEncoding =
        value == "QUOTED-PRINTABLE" || value == "BASE64" || value == "7BIT" || value == "8BIT";
    return isEncoding ? QByteArrayLiteral("ENCODING") : QByteArrayLiteral("TYPE");
}

void appendParameters(std::vector<ContentLine::Parameter> &parameters, QByteArrayView text)
{
    const qsizetype equals = text.indexOf('=');
    const QByteArray name = equals < 0 ? QByteArray() : upperCase(text.first(equals));
    // Quotes may enclose a whole list of types as well as one value: commas inside separate all the same.
    const QByteArray values = text.sliced(equals + 1).toByteArray().replace('"', QByteArray());
    for (const QByteArray &each : values.split(',')) {
        const QByteArray value = upperCase(each);
        if (!value.isEmpty())
            parameters.push_back({name.isEmpty() ? impliedName(value) : name, value});
    }
}

/// @p line taken apart; nothing when it has no colon or no name.
std::optional<ContentLine> parse(QByteArrayView line)
{
    if (const auto mark = byteOrderMark(line); mark && mark->encoding == UnicodeEncoding::Utf8)
        line = line.sliced(mark->size);
    const std::optional<qsizetype> colon = findColon(line);
    if (!colon)
        return std::nullopt;

    const QByteArrayView head = line.first(*colon);
    qsizetype end = findUnquoted(head, ';', 0);
    const QByteArrayView groupAndName = head.first(end);
    ContentLine result;
    result.name = upperCase(groupAndName.sliced(groupAndName.lastIndexOf('.') + 1));
    if (result.name.isEmpty())
        return std::nullopt;
    while (end < head.size()) {
        const qsizetype start = end + 1;
        end = findUnquoted(head, ';', start);
        appendParameters(result.parameters, head.sliced(start, end - start));
    }
    result.value = line.sliced(*colon + 1);
    return result;
}

bool endsWithSoftBreak(QByteArrayView line)
{
    while (!line.empty() && isBlank(line.back()))
        line.chop(1);
    return line.endsWith('=');
}

bool isQuotedPrintable(QByteArrayView line)
{
    const std::optional<ContentLine> parsed = parse(line);
    return parsed && parsed->hasParameter("ENCODING", "QUOTED-PRINTABLE");
}

} // namespace

QByteArray ContentLine::parameter(QByteArrayView parameter) const
{
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [parameter](const Parameter &each) { return each.name == parameter; });
    return found == parameters.end() ? QByteArray() : found->value;
}

bool ContentLine::hasParameter(QByteArrayView parameter, QByteArrayView wanted) const
{
    return std::any_of(parameters.begin(), parameters.end(), [parameter, wanted](const Parameter &each) {
        return each.name == parameter && each.value == wanted;
    });
}

std::optional<ContentLine> ContentLineReader::next(FoldingBlank blank)
{
    while (!atEnd()) {
        if (std::optional<ContentLine> line = parse(logicalLine(blank)))
            return line;
    }
    return std::nullopt;
}

bool ContentLineReader::nextIsFolded() const
{
    return !atEnd() && isBlank(m_text[m_position]);
}

/// The physical line at @p position, without its end; moves @p position behind that.
QByteArrayView ContentLineReader::physicalLine(qsizetype &position) const
{
    const QByteArrayView rest = m_text.sliced(position);
    const auto *const end =
        std::find_if(rest.begin(), rest.end(), [](char c) { return c == '\r' || c == '\n'; });
    const QByteArrayView line = rest.first(end - rest.begin());
    position += line.size();
    if (position < m_text.size())
        position += m_text.sliced(position).startsWith("\r\n") ? 2 : 1;
    return line;
}

/// The physical line at the current position with those that continue it.
QByteArrayView ContentLineReader::logicalLine(FoldingBlank blank)
{
    // Only what a physical line brings is looked at, never again what has been gathered: the time stays
    // linear.
    QByteArrayView physical = physicalLine(m_position);
    bool softBreak = endsWithSoftBreak(physical) && isQuotedPrintable(physical);
    if (!softBreak && !nextIsFolded())
        return physical;

    const bool quotedPrintable = isQuotedPrintable(physical);
    m_unfolded = physical.toByteArray();
    while (!atEnd()) {
        qsizetype behind = m_position;
        physical = physicalLine(behind);
        if (softBreak) {
            if (isCardBoundary(physical, "BEGIN") || isCardBoundary(physical, "END"))
                break;
            m_unfolded.truncate(m_unfolded.lastIndexOf('='));
        } else if (!nextIsFolded()) {
            break;
        } else if (blank == FoldingBlank::drop) {
            physical = physical.sliced(1);
        }
        m_unfolded += physical;
        m_position = behind;
        softBreak = quotedPrintable && endsWithSoftBreak(physical);
    }
    return m_unfolded;
}

bool isCardBoundary(QByteArrayView line, QByteArrayView keyword)
{
    const qsizetype colon = line.indexOf(':');
    return colon >= 0 && line.first(colon).trimmed().compare(keyword, Qt::CaseInsensitive) == 0 &&
           line.sliced(colon + 1).trimmed().compare("VCARD", Qt::CaseInsensitive) == 0;
}

} // namespace platform
