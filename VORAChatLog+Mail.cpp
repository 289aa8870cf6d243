#include "VORAChatLog.h"

#include "VORAHostFlags.h"

#include "platform/log/nslog.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"

using platform::NSLog;

namespace {

constexpr double secondsBeforeSending = 1.0; // what the server has to say first comes in meanwhile

QString stringPreference(QStringView key)
{
    return platform::CFPreferencesCopyAppValue(key).string().value_or(QString());
}

} // namespace

bool VORAChatLog::HandleEmailSending(platform::CWSMTP &client, platform::NSRunLoop &currentRunLoop)
{
    m_smtp = &client;
    m_mailTransmissionDone = false;
    if (VORAHostFlags::verbose)
        NSLog(u"preparing to email with pantomime");
    client.setDelegate(this);
    if (client.connect() != 0) {
        NSLog(u"Unable to connect to mail server.");
        reportError(ErrorCode::MailServer, QStringLiteral("SMTP unreachable"));
        endTransmission();
        return true;
    }
    m_emailTimer = currentRunLoop.scheduledTimer(
        secondsBeforeSending, [this](const platform::NSTimer &timer) { emailReady(timer); }, client);

    bool failed = false;
    while (!m_mailTransmissionDone) {
        if (!VORAHostFlags::shouldQuit)
            return true;
        if (currentRunLoop.runMode(platform::NSDefaultRunLoopMode, platform::NSDate::distantFuture()))
            continue;
        NSLog(u"Error waiting for email transmission runloop.");
        reportError(ErrorCode::Internal, QStringLiteral("runloop error"));
        endTransmission();
        failed = true;
    }
    return failed;
}

void VORAChatLog::emailReady(const platform::NSTimer &timer)
{
    if (m_mailTransmissionDone)
        return;
    const bool needsLogin =
        platform::integerFrom(platform::CFPreferencesCopyAppValue(platform::preference::emailNeedsUsername))
            .value_or(0) != 0;
    if (needsLogin)
        timer.userInfo().authenticate(stringPreference(platform::preference::emailUsername),
                                      stringPreference(platform::preference::emailPassword),
                                      QStringLiteral("LOGIN"));
    else
        timer.userInfo().sendMessage();
}

// What a client may still have to say after the end changes nothing any more.

void VORAChatLog::authenticationCompleted()
{
    if (!m_mailTransmissionDone && m_smtp)
        m_smtp->sendMessage();
}

void VORAChatLog::authenticationFailed()
{
    if (m_mailTransmissionDone)
        return;
    NSLog(u"The SMTP server rejected the username/password.");
    reportError(ErrorCode::MailLogin, QStringLiteral("login rejected"));
    endTransmission();
}

void VORAChatLog::messageSent()
{
    if (!m_mailTransmissionDone)
        endTransmission();
}

void VORAChatLog::messageNotSent()
{
    if (m_mailTransmissionDone)
        return;
    const QString reply = m_smtp ? QString::fromLatin1(m_smtp->lastResponse()) : QString();
    NSLog(u"An error occurred while sending email:");
    NSLog(reply);
    reportError(ErrorCode::MailServer, reply);
    endTransmission();
}

void VORAChatLog::connectionTimedOut()
{
    if (m_mailTransmissionDone)
        return;
    NSLog(u"The attempt to send email timed out.");
    reportError(ErrorCode::MailServer, QStringLiteral("server not responding"));
    endTransmission();
}

void VORAChatLog::endTransmission()
{
    m_mailTransmissionDone = true;
    m_emailTimer.reset(); // when the exchange has ended before its second was over
}
