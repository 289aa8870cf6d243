#include "platform/addressbook/addressbook.h"
#include "platform/addressbook/contentline.h"
#include "platform/addressbook/valuedecoding.h"
#include "platform/text/encoding.h"
#include "platform/text/utf8text.h"

#include <QHash>

#include <algorithm>

namespace platform {

namespace {

/// How much the user prefers an AIM name: 1 most, 100 least.
using PreferenceRank = int;
constexpr PreferenceRank mostPreferred = 1;
constexpr PreferenceRank leastPreferred = 100;
constexpr PreferenceRank unranked = leastPreferred + 1;

PreferenceRank rankOf(const ContentLine &line)
{
    if (line.hasParameter("TYPE", "PREF"))
        return mostPreferred;
    bool isNumber = false;
    const int rank = line.parameter("PREF").toInt(&isNumber);
    return isNumber && rank >= mostPreferred && rank <= leastPreferred ? rank : unranked;
}

/// One component of N without blanks around it; nothing when nothing is left. With @p isList its values are
/// separated by commas: a blank comes to stand between them.
std::optional<QString> nameComponent(QStringView component, bool isList)
{
    QStringList values;
    for (qsizetype start = 0; start <= component.size();) {
        const qsizetype end = isList ? findSeparator(component, u',', start) : component.size();
        const QString value = unescaped(component.sliced(start, end - start)).trimmed();
        if (!value.isEmpty())
            values.append(value);
        start = end + 1;
    }
    return values.isEmpty() ? std::nullopt : std::optional(values.join(u' '));
}

/// Sets the names of @p person from the value of N: `last;first;…`.
void setNames(ABPerson &person, QStringView value, bool isList)
{
    const qsizetype endOfLast = findSeparator(value, u';', 0);
    person.lastName = nameComponent(value.first(endOfLast), isList);
    if (endOfLast < value.size()) {
        const qsizetype start = endOfLast + 1;
        person.firstName =
            nameComponent(value.sliced(start, findSeparator(value, u';', start) - start), isList);
    }
    if (person.firstName && person.lastName)
        person.fullName = *person.firstName + u' ' + *person.lastName;
}

QString percentDecoded(QStringView text)
{
    return stringFromUtf8(QByteArray::fromPercentEncoding(utf8FromString(text)));
}

/// The screen name in a `aim:` URI's query, such as `screenname=kim+lee&message=Hi`, where a blank may be
/// written "+". A plus at the start is kept: that is a telephone's screen name.
QString screenNameInQuery(QStringView query)
{
    const QStringView key(u"screenname=");
    for (const QStringView field : query.split(u'&')) {
        if (!field.startsWith(key, Qt::CaseInsensitive))
            continue;
        QString name = field.sliced(key.size()).toString();
        if (!name.isEmpty())
            name = name.first(1) + name.sliced(1).replace(u'+', u' ');
        return percentDecoded(name);
    }
    return {};
}

/// The AIM screen name in @p line, an IMPP property with the value @p text; empty when it is of another
/// service. The named service counts before the scheme: the platform's address book writes `aim:` for ICQ
/// numbers too.
QString screenNameOfImpp(const ContentLine &line, QStringView text)
{
    const QStringView scheme(u"aim:");
    const QByteArray service = line.parameter("X-SERVICE-TYPE");
    const QString uri = unescaped(text).trimmed();
    const bool hasScheme = uri.startsWith(scheme, Qt::CaseInsensitive);
    if (service.isEmpty() ? !hasScheme : service != "AIM")
        return {};

    QStringView name = uri;
    if (hasScheme) {
        name = name.sliced(scheme.size());
        const qsizetype question = name.indexOf(u'?');
        const QStringView action = question < 0 ? name : name.first(question);
        if (action.compare(u"goim", Qt::CaseInsensitive) == 0 && question >= 0)
            return screenNameInQuery(name.sliced(question + 1));
        name = action;
    }
    return percentDecoded(name);
}

/// Makes cards of content lines.
class CardBuilder {
public:
    explicit CardBuilder(FileEncoding encoding) : m_encoding(encoding) {}

    /// How the card at hand is folded.
    [[nodiscard]] ContentLineReader::FoldingBlank foldingBlank() const
    {
        return m_isVersion21 ? ContentLineReader::FoldingBlank::keep : ContentLineReader::FoldingBlank::drop;
    }

    void take(const ContentLine &line)
    {
        const bool followsAgent = std::exchange(m_followsAgent, false);
        const bool isCard = line.value.trimmed().compare("VCARD", Qt::CaseInsensitive) == 0;
        if (line.name == "BEGIN" && isCard)
            begin(followsAgent);
        else if (line.name == "END" && isCard)
            end();
        else if (line.name == "AGENT" && isCardBoundary(line.value, "BEGIN"))
            begin(true);
        else if (line.name == "AGENT")
            m_followsAgent = line.value.trimmed().empty();
        else if (m_depth == 1)
            takeProperty(line);
    }

    /// The cards; ends the last one if its END is missing.
    [[nodiscard]] std::vector<ABPerson> finish()
    {
        if (m_depth > 0)
            close();
        return std::move(m_cards);
    }

private:
    void begin(bool isAgent)
    {
        if (isAgent && m_depth > 0) {
            ++m_depth;
            return;
        }
        if (m_depth > 0) // where no card can be nested, the END of the one before is missing
            close();
        m_depth = 1;
    }

    void end()
    {
        if (m_depth == 1)
            close();
        else if (m_depth > 1)
            --m_depth;
    }

    /// The card at hand is complete.
    void close()
    {
        setNames(m_person, m_name, !m_isVersion21);
        m_cards.push_back(std::move(m_person));
        m_person = {};
        m_name.clear();
        m_ranks.clear();
        m_positions.clear();
        m_isVersion21 = false;
        m_depth = 0;
    }

    void takeProperty(const ContentLine &line)
    {
        if (line.name == "VERSION")
            m_isVersion21 = line.value.trimmed() == "2.1";
        else if (line.name == "N" && m_name.isEmpty())
            m_name = text(line);
        else if (line.name == "X-AIM")
            takeAimName(unescaped(text(line)).trimmed(), rankOf(line));
        else if (line.name == "IMPP")
            takeAimName(screenNameOfImpp(line, text(line)).trimmed(), rankOf(line));
    }

    [[nodiscard]] QString text(const ContentLine &line) const { return valueText(line, m_encoding); }

    void takeAimName(const QString &name, PreferenceRank rank)
    {
        if (name.isEmpty())
            return;
        const qsizetype position = m_positions.value(name, m_person.aimNames.size());
        if (position == m_person.aimNames.size()) {
            m_positions.insert(name, position);
            m_person.aimNames.append(name);
            m_ranks.push_back(rank);
        } else {
            m_ranks[size_t(position)] = std::min(m_ranks[size_t(position)], rank);
        }
        // Of names preferred alike the first one is primary; a later line may raise the rank of an earlier
        // one.
        const PreferenceRank raised = m_ranks[size_t(position)];
        const PreferenceRank primary = m_ranks[size_t(m_person.primaryAimName)];
        if (raised < primary || (raised == primary && position < m_person.primaryAimName))
            m_person.primaryAimName = position;
    }

    FileEncoding m_encoding;
    std::vector<ABPerson> m_cards;
    qsizetype m_depth = 0; ///< 0 outside of cards, 1 in one, more in one that is nested as an AGENT
    bool m_followsAgent = false;

    ABPerson m_person;
    QString m_name; ///< the value of N; what separates its parts depends on the version, which may come later
    bool m_isVersion21 = false;
    std::vector<PreferenceRank> m_ranks; ///< of each AIM name
    QHash<QString, qsizetype> m_positions;
};

} // namespace

std::vector<ABPerson> readVCards(const QByteArray &bytes)
{
    const Utf8Text text = utf8Text(bytes);
    ContentLineReader lines(text.bytes);
    CardBuilder cards(text.wasUtf16 || text.hadMark ? FileEncoding::Unicode : FileEncoding::Unknown);
    while (const std::optional<ContentLine> line = lines.next(cards.foldingBlank()))
        cards.take(*line);
    return cards.finish();
}

} // namespace platform
