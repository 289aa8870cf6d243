#include "export/plan.h"

#include "export/maildir.h"
#include "export/moments.h"
#include "export/names.h"

#include "platform/text/encoding.h"

#include <algorithm>
#include <limits>
#include <map>

namespace exporting {

namespace {

constexpr std::string_view separator = " on ";

QString textOf(const std::string &bytes)
{
    return platform::stringFromUtf8(QByteArrayView(bytes));
}

QString otherPartyOf(const Transcript &transcript)
{
    return textOf(transcript.fileName.substr(0, transcript.fileName.rfind(separator)));
}

/// The name of the transcript without its extension.
QString stemOf(const Transcript &transcript)
{
    return portableName(textOf(std::filesystem::path(transcript.name).stem().native()));
}

/// The name of the document that @p transcript belongs to, without a suffix.
QString groupOf(const Transcript &transcript, const Options &options)
{
    const auto date = [&](QStringView format) {
        return transcript.first ? platform::descriptionWithCalendarFormat(dateOf(*transcript.first), format)
                                : QStringLiteral("Without a date");
    };
    switch (options.grouping) {
    case Grouping::Person: return otherPartyOf(transcript);
    case Grouping::Month: return date(u"%Y-%m");
    case Grouping::Year: return date(u"%Y");
    case Grouping::Chat: break;
    }
    return QStringLiteral("chats");
}

const char *nameOf(Grouping grouping)
{
    switch (grouping) {
    case Grouping::Person: return "person";
    case Grouping::Month: return "month";
    case Grouping::Year: return "year";
    case Grouping::Chat: break;
    }
    return "chat";
}

QString titleOf(const QString &group, const std::vector<size_t> &members,
                const std::vector<Transcript> &transcripts, const Options &options)
{
    const std::optional<qint64> first = transcripts[members.front()].first;
    if (options.grouping == Grouping::Month && first)
        return platform::descriptionWithCalendarFormat(dateOf(*first), u"%B %Y");
    return options.grouping == Grouping::Chat ? QStringLiteral("Chats") : group;
}

/// Gives documents their paths.
class Naming {
public:
    Naming(const Ledger &ledger, QString suffix) : m_ledger(ledger), m_suffix(std::move(suffix))
    {
        m_names.note(QStringLiteral("index.html"));
        for (const auto &[key, document] : ledger.documents)
            m_names.note(document.path);
    }

    [[nodiscard]] QString pathFor(const std::string &key, const QString &wanted)
    {
        const auto known = m_ledger.documents.find(key);
        return known != m_ledger.documents.end() ? known->second.path : m_names.take(wanted, m_suffix);
    }

    /// The folder for files of the document at @p path, relative to it.
    [[nodiscard]] QString filesFolder(const QString &path) const
    {
        const QString name = path.sliced(path.lastIndexOf(u'/') + 1);
        return name.chopped(m_suffix.size()) + QStringLiteral(" files");
    }

private:
    const Ledger &m_ledger;
    QString m_suffix;
    UniqueNames m_names;
};

} // namespace

const char *nameOf(Format format)
{
    switch (format) {
    case Format::Text: return "text";
    case Format::Markdown: return "markdown";
    case Format::Json: return "json";
    case Format::JsonLines: return "jsonl";
    case Format::Csv: return "csv";
    case Format::Eml: return "eml";
    case Format::Maildir: return "maildir";
    case Format::Html: break;
    }
    return "html";
}

std::vector<PlannedDocument> planDocuments(const std::vector<Transcript> &transcripts, const Options &options,
                                           const QString &suffix, const Ledger &ledger)
{
    Naming naming(ledger, suffix);
    std::vector<PlannedDocument> documents;
    const std::string beginning = std::string(nameOf(options.format)) + ' ' + nameOf(options.grouping) + ' ';
    if (options.grouping == Grouping::Chat && options.format != Format::JsonLines) {
        for (size_t position = 0; position < transcripts.size(); ++position) {
            const Transcript &transcript = transcripts[position];
            PlannedDocument &document = documents.emplace_back();
            document.key = beginning + transcript.name;
            document.path = naming.pathFor(document.key, options.format == Format::Maildir
                                                             ? maildirPath(document.key, transcript.first)
                                                             : portableName(otherPartyOf(transcript)) + u'/' +
                                                                   stemOf(transcript));
            document.chats.push_back({position, naming.filesFolder(document.path)});
        }
        return documents;
    }

    std::map<QString, std::vector<size_t>> groups;
    for (size_t position = 0; position < transcripts.size(); ++position)
        groups[groupOf(transcripts[position], options)].push_back(position);
    for (auto &[group, members] : groups) {
        std::sort(members.begin(), members.end(), [&](size_t a, size_t b) {
            constexpr qint64 last = std::numeric_limits<qint64>::max();
            return std::pair(transcripts[a].first.value_or(last), std::string_view(transcripts[a].name)) <
                   std::pair(transcripts[b].first.value_or(last), std::string_view(transcripts[b].name));
        });
        PlannedDocument &document = documents.emplace_back();
        document.key = beginning + platform::utf8FromString(group).toStdString();
        document.path = naming.pathFor(document.key, portableName(group));
        document.title = titleOf(group, members, transcripts, options);
        UniqueNames folders;
        for (const size_t member : members)
            document.chats.push_back({member, naming.filesFolder(document.path) + u'/' +
                                                  folders.take(stemOf(transcripts[member]), {})});
    }
    return documents;
}

} // namespace exporting
