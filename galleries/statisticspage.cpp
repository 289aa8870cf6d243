#include "galleries/statisticspage.h"

#include "galleries/pagefile.h"
#include "galleries/supportfolder.h"

#include "platform/date/calendar.h"

#include <array>
#include <charconv>
#include <cmath>

namespace galleries {

namespace {

// Qt's formatters round halves away from zero, and printf follows the locale that a program sets.
QString fixed(double value, int digits)
{
    if (std::isnan(value))
        return QStringLiteral("nan"); // never "-nan", whatever sign the machine gives 0/0
    std::array<char, 400> text{};     // the largest double has 309 digits before the point
    const auto [end, error] =
        std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, digits);
    return QString::fromLatin1(text.data(), error == std::errc() ? end - text.data() : 0);
}

// Averages are computed in single precision; sizes in double precision, of single precision values.

QString average(float dividend, float divisor)
{
    return fixed(double(dividend / divisor), 1);
}

/// The width of a bar that is 300 wide when @p part is all of @p whole.
QString size(float part, float whole)
{
    constexpr double scale = 300;
    return fixed(scale * double(part) / double(whole), 0);
}

QString sum(qint32 a, qint32 b)
{
    return QString::number(saturated(qint64(a) + b));
}

QString day(const platform::NSDate &date)
{
    return platform::descriptionWithCalendarFormat(date, u"%B %e, %Y");
}

} // namespace

std::vector<PageTemplate::Replacement> statisticsReplacements(const Statistics &statistics)
{
    const StatisticsCounts &counts = statistics.counts;
    const auto user = float(counts.usertextcount);
    const auto other = float(counts.othertextcount);
    const float all = user + other;
    const auto chats = float(counts.chatcount);
    const int days = platform::calendarDaysBetween(statistics.startDate, statistics.endDate);

    return {
        {"____USERTOTAL", QString::number(counts.usertextcount)},
        {"____OTHERTOTAL", QString::number(counts.othertextcount)},
        {"____SUMTOTAL", sum(counts.usertextcount, counts.othertextcount)},
        {"____USERWORDAVG", average(user, chats)},
        {"____OTHERWORDAVG", average(other, chats)},
        {"____SUMWORDAVG", average(all, chats)},
        {"____CHATRATIOSIZE", size(user, all)},
        {"____CHATIMAGEAVG", average(float(counts.imagecount), chats)},
        {"____CHATLINKAVG", average(float(counts.linkcount), chats)},
        {"____CHATIMAGETOTAL", QString::number(counts.imagecount)},
        {"____CHATLINKTOTAL", QString::number(counts.linkcount)},
        {"____USERCURSETOTAL", QString::number(counts.cursecount)},
        {"____OTHERCURSETOTAL", QString::number(counts.othercursecount)},
        {"____SUMCURSETOTAL", sum(counts.othercursecount, counts.cursecount)},
        {"____CURSERATIOSIZE", size(float(counts.cursecount), user)},
        {"____CURSERECRATIOSIZE", size(float(counts.othercursecount), other)},
        {"____NETSPEAKTOTAL", QString::number(counts.netspeakcount)},
        {"____NETSPEAKOTHERTOTAL", QString::number(counts.othernetspeakcount)},
        {"____NETSPEAKSUMTOTAL", sum(counts.othernetspeakcount, counts.netspeakcount)},
        {"____NETSPEAKRATIOSIZE", size(float(counts.netspeakcount), user)},
        {"____DATE1", day(statistics.startDate)},
        {"____DATE2", day(statistics.endDate)},
        {"____AVGCHATSPERDAY", days == 0 ? fixed(0, 1) : average(chats, float(days))},
    };
}

void writeStatisticsPage(const Statistics &statistics)
{
    const std::optional<PageTemplate> pageTemplate = PageTemplate::read(statisticsTemplatePath());
    if (!pageTemplate)
        return;
    writePage({QStringLiteral("stats"), QStringLiteral(".html")},
              pageTemplate->page(statisticsReplacements(statistics)));
}

} // namespace galleries
