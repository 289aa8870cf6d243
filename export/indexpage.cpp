#include "export/indexpage.h"

#include "export/htmlmarkup.h"
#include "export/moments.h"
#include "export/names.h"

#include <QLocale>

#include <algorithm>
#include <limits>
#include <map>

namespace exporting {

namespace {

QString counted(qint64 count, const char *one, const char *many)
{
    return QLocale(QLocale::English).toString(count) + u' ' + QLatin1String(count == 1 ? one : many);
}

QString monthOf(const std::optional<qint64> &moment)
{
    return moment ? platform::descriptionWithCalendarFormat(dateOf(*moment), u"%B %Y")
                  : QStringLiteral("Without a date");
}

void addPeople(Output &output, const std::vector<IndexEntry> &entries)
{
    std::map<QString, qint64> chats;
    for (const IndexEntry &entry : entries) {
        for (const QString &person : entry.summary.people)
            chats[person] += entry.summary.chats;
    }
    output << "<details><summary>" << counted(qint64(chats.size()), "person", "people")
           << "</summary>\n<ul id=\"people\">\n";
    for (const auto &[person, count] : chats) {
        output << "<li><button type=\"button\" data-name=\"";
        addEscaped(output, person);
        output << "\"><bdi>";
        addEscaped(output, person);
        output << "</bdi></button> <small>" << counted(count, "chat", "chats") << "</small></li>\n";
    }
    output << "</ul></details>\n";
}

void addEntry(Output &output, const IndexEntry &entry)
{
    const Summary &summary = entry.summary;
    output << "<li>";
    if (summary.first)
        output << "<time datetime=\"" << isoText(*summary.first) << "\" title=\"" << dayText(summary.first)
               << "\">" << platform::descriptionWithCalendarFormat(dateOf(*summary.first), u"%Y-%m-%d %H:%M")
               << "</time>";
    output << "<a href=\"" << urlOfPath(entry.path) << "\"><bdi>";
    addEscaped(output, summary.title);
    output << "</bdi></a><small>";
    if (summary.chats > 1)
        output << counted(summary.chats, "chat", "chats") << ", ";
    output << counted(summary.messages, "message", "messages");
    if (summary.files > 0)
        output << ", " << counted(summary.files, "file", "files");
    output << "</small></li>\n";
}

} // namespace

QByteArray indexPage(std::vector<IndexEntry> entries)
{
    std::sort(entries.begin(), entries.end(), [](const IndexEntry &a, const IndexEntry &b) {
        constexpr qint64 last = std::numeric_limits<qint64>::max();
        return std::pair(a.summary.first.value_or(last), a.path) <
               std::pair(b.summary.first.value_or(last), b.path);
    });
    qint64 chats = 0;
    qint64 messages = 0;
    for (const IndexEntry &entry : entries) {
        chats += entry.summary.chats;
        messages += entry.summary.messages;
    }
    Output output(std::numeric_limits<qsizetype>::max());
    const QByteArray script = pageResource("index.js");
    addPageHead(output, u"Chats", pageResource("page.css") + pageResource("index.css"), script, false);
    output
        << "<main>\n<h1>Chats</h1>\n<p><small id=\"told\">" << counted(chats, "chat", "chats") << ", "
        << counted(messages, "message", "messages")
        << "</small></p>\n<input id=\"filter\" type=\"search\" autocomplete=\"off\" placeholder=\"Names or "
           "dates, such as kim 2005-03\" aria-label=\"Show only chats with these names or dates\" hidden>\n";
    addPeople(output, entries);
    QString month;
    for (const IndexEntry &entry : entries) {
        if (const QString now = monthOf(entry.summary.first); now != month) {
            output << (month.isEmpty() ? "" : "</ul></section>\n") << "<section><h2>" << now
                   << "</h2>\n<ul>\n";
            month = now;
        }
        addEntry(output, entry);
    }
    output << (month.isEmpty() ? "" : "</ul></section>\n") << "</main>\n<script>" << script
           << "</script>\n</body>\n</html>\n";
    return output.bytes();
}

} // namespace exporting
