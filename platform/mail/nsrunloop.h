#pragma once

#include "platform/date/nsdate.h"
#include "platform/mail/cwsmtp.h"

#include <functional>
#include <memory>

namespace platform {

/// A timer that a run loop has been given, to fire once. Destroying it takes it out of the loop; its own
/// action may do that.
class NSTimer {
public:
    /// What is done when it fires: target and selector in one.
    using Action = std::function<void(const NSTimer &timer)>;

    virtual ~NSTimer() = default;
    NSTimer(const NSTimer &) = delete;
    NSTimer &operator=(const NSTimer &) = delete;

    /// What was handed in with it.
    [[nodiscard]] CWSMTP &userInfo() const { return m_userInfo; }

protected:
    explicit NSTimer(CWSMTP &userInfo) : m_userInfo(userInfo) {}

private:
    CWSMTP &m_userInfo;
};

enum NSRunLoopMode { NSDefaultRunLoopMode };

/// The run loop of a thread: it carries the timers and the events of the connections that were made there.
class NSRunLoop {
public:
    virtual ~NSRunLoop() = default;

    /// Gives the loop a timer of the default mode that fires once, @p timeInterval seconds from now.
    /// @param userInfo lent; must outlive the timer.
    [[nodiscard]] virtual std::unique_ptr<NSTimer> scheduledTimer(double timeInterval, NSTimer::Action action,
                                                                  CWSMTP &userInfo) = 0;

    /// Runs the loop once: waits for what comes first, a timer, an event or @p beforeDate, and handles it.
    /// @return false when the loop cannot run: nothing is left in it to wait for, or handling an event has
    /// failed in the library.
    [[nodiscard]] virtual bool runMode(NSRunLoopMode mode, const NSDate &beforeDate) = 0;
};

} // namespace platform
