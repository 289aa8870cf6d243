#include "VORALogGenerator+Run.h"

#include "DateComparator.h"
#include "VORAChatLog.h"

#include "platform/files/files.h"
#include "platform/log/nslog.h"

namespace {

/// Tells the console log and the preference pane.
class PaneReporter : public galleries::Reporter {
public:
    void linkStoreNotWritten(const std::filesystem::path &store) override
    {
        platform::NSLog(
            QStringLiteral("Link file failed to write to path: %1").arg(platform::displayPath(store)));
        VORAChatLog::reportError(VORAChatLog::ErrorCode::FileNotWritten, QStringLiteral("permissions"));
    }
    void linkStoreTooLarge() override
    {
        platform::NSLog(
            QStringLiteral("Error while serializing link database: it is larger than can be read again"));
        VORAChatLog::reportError(VORAChatLog::ErrorCode::Internal, QStringLiteral("corrupt cache"));
    }
};

PaneReporter theReporter; // has no state

} // namespace

VORALogGenerator::Run::Run(std::function<Clock::time_point()> now)
    : m_session(std::make_unique<galleries::Session>(
          theReporter,
          galleries::Session::MonthOrders{DateComparator::compareLinkDateString,
                                          DateComparator::compareImageDateString},
          galleries::WriteSchedule(std::move(now))))
{
}

VORALogGenerator::Run::~Run() = default;

VORALogGenerator::WholeChat::WholeChat()
{
    if (!galleries::Session::open())
        m_run = std::make_unique<Run>();
    m_session = galleries::Session::open();
    m_session->beginChat();
}

VORALogGenerator::WholeChat::~WholeChat()
{
    m_session->takeBackChat();
}

void VORALogGenerator::WholeChat::keep()
{
    m_session->keepChat();
}
