#include "galleries/statistics.h"

#include "galleries/supportfolder.h"

#include "platform/files/files.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"
#include "platform/propertylist/xmlwriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

using platform::NSDate;
using platform::PropertyList;

namespace galleries {

namespace {

struct Count {
    QStringView key;
    qint32 StatisticsCounts::*member;
};

constexpr std::array<Count, 9> everyCount{{
    {u"usertextcount", &StatisticsCounts::usertextcount},
    {u"othertextcount", &StatisticsCounts::othertextcount},
    {u"cursecount", &StatisticsCounts::cursecount},
    {u"othercursecount", &StatisticsCounts::othercursecount},
    {u"netspeakcount", &StatisticsCounts::netspeakcount},
    {u"othernetspeakcount", &StatisticsCounts::othernetspeakcount},
    {u"imagecount", &StatisticsCounts::imagecount},
    {u"linkcount", &StatisticsCounts::linkcount},
    {u"chatcount", &StatisticsCounts::chatcount},
}};

constexpr QStringView startDateKey = u"startDate";
constexpr QStringView endDateKey = u"endDate";

/// The count that @p value stands for, held at the ends of its range; 0 when it is none.
qint32 countFrom(const PropertyList &value)
{
    if (const auto real = value.real()) {
        constexpr double limit = std::numeric_limits<qint32>::max();
        return std::isnan(*real) ? 0 : saturated(qint64(std::clamp(*real, -limit - 1, limit)));
    }
    return saturated(platform::integerFrom(value).value_or(0));
}

} // namespace

qint32 saturated(qint64 count)
{
    using Limits = std::numeric_limits<qint32>;
    return qint32(std::clamp<qint64>(count, Limits::min(), Limits::max()));
}

Statistics Statistics::load(const std::filesystem::path &path)
{
    const auto startingAt = [](const NSDate &start) { return Statistics{{}, start, start}; };

    if (!platform::fileExists(path))
        return startingAt(NSDate::now());
    const PropertyList store = readPropertyListFile(path);
    std::optional<NSDate> start = storedDate(store[startDateKey]);
    if (!start) {
        const auto created = platform::creationTime(supportFolder());
        start = created ? created->date() : NSDate::now();
    }
    Statistics statistics = startingAt(*start);
    for (const Count &count : everyCount)
        statistics.counts.*count.member = countFrom(store[count.key]);
    return statistics;
}

void Statistics::fold(const ChatStatistics &chat)
{
    for (const Count &count : everyCount) {
        qint32 &total = counts.*count.member;
        total = saturated(qint64(total) + chat.counts.*count.member);
    }
    endDate = chat.lastMessage;
}

void Statistics::settle()
{
    startDate = startDate.wholeSeconds();
    endDate = startDate;
}

platform::Result<> Statistics::save(const std::filesystem::path &path) const
{
    platform::XMLPropertyListWriter writer;
    writer.beginDictionary();
    for (const Count &count : everyCount) {
        writer.key(count.key);
        writer.integer(counts.*count.member);
    }
    writer.key(startDateKey);
    writer.date(startDate);
    writer.key(endDateKey);
    writer.date(endDate);
    writer.endDictionary();
    return platform::writeAtomically(path, writer.finish());
}

} // namespace galleries
