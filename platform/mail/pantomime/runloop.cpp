#include "platform/mail/pantomime/runloop.h"

#include "platform/mail/pantomime/library.h"

namespace platform {

namespace {

class LoopTimer final : public NSTimer {
public:
    LoopTimer(double timeInterval, Action action, CWSMTP &userInfo)
        : NSTimer(userInfo), m_timer(timeInterval, [this, action = std::move(action)] { action(*this); })
    {
    }

private:
    pantomime::Timer m_timer;
};

class CurrentRunLoop final : public NSRunLoop {
public:
    std::unique_ptr<NSTimer> scheduledTimer(double timeInterval, NSTimer::Action action,
                                            CWSMTP &userInfo) override
    {
        return std::make_unique<LoopTimer>(timeInterval, std::move(action), userInfo);
    }

    bool runMode(NSRunLoopMode /*the only one*/, const NSDate &beforeDate) override
    {
        return pantomime::runLoopOnce(beforeDate.timeIntervalSinceReferenceDate());
    }
};

} // namespace

NSRunLoop &currentRunLoop()
{
    static CurrentRunLoop loop; // without a state: it stands for that of whichever thread asks
    return loop;
}

} // namespace platform
