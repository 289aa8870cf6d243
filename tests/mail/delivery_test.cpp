#include "VORAChatLog.h"
#include "VORAHostFlags.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"

#include <gmock/gmock.h>

#include <deque>

using platform::CWSMTP;
using platform::CWSMTPDelegate;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A client that notes what it is asked and sends the events that a test has it send.
class ScriptedClient final : public CWSMTP {
public:
    int connectResult = 0;
    QByteArray reply;
    std::function<void()> whenSending; ///< an answer that comes at once
    std::vector<std::string> calls;
    CWSMTPDelegate *delegate = nullptr;

    void setDelegate(CWSMTPDelegate *receiver) override
    {
        calls.emplace_back("setDelegate");
        delegate = receiver;
    }
    int connect() override
    {
        calls.emplace_back("connect");
        return connectResult;
    }
    void authenticate(const QString &username, const QString &password, const QString &mechanism) override
    {
        calls.push_back(
            (QStringLiteral("authenticate ") + username + u' ' + password + u' ' + mechanism).toStdString());
    }
    void sendMessage() override
    {
        calls.emplace_back("sendMessage");
        if (whenSending)
            whenSending();
    }
    [[nodiscard]] QByteArray lastResponse() const override { return reply; }
};

/// A run loop whose every turn is one step that a test has given it; after the last it cannot run.
class ScriptedRunLoop final : public platform::NSRunLoop {
public:
    std::deque<std::function<void()>> steps;
    std::vector<double> intervals; ///< of all timers it was given
    int turns = 0;

    std::unique_ptr<platform::NSTimer> scheduledTimer(double timeInterval, platform::NSTimer::Action action,
                                                      CWSMTP &userInfo) override
    {
        intervals.push_back(timeInterval);
        return std::make_unique<Timer>(m_timer, std::move(action), userInfo);
    }

    bool runMode(platform::NSRunLoopMode mode, const platform::NSDate &beforeDate) override
    {
        EXPECT_EQ(mode, platform::NSDefaultRunLoopMode);
        EXPECT_EQ(beforeDate, platform::NSDate::distantFuture());
        ++turns;
        if (steps.empty())
            return false;
        const auto step = std::move(steps.front());
        steps.pop_front();
        step();
        return true;
    }

    [[nodiscard]] bool hasTimer() const { return m_timer != nullptr; }
    void fireTimer()
    {
        ASSERT_TRUE(m_timer);
        const platform::NSTimer::Action action = m_timer->action;
        action(*m_timer);
    }

private:
    struct Timer final : platform::NSTimer {
        Timer(Timer *&slot, Action whenFired, CWSMTP &userInfo)
            : NSTimer(userInfo), action(std::move(whenFired)), m_slot(slot)
        {
            m_slot = this;
        }
        ~Timer() override { m_slot = nullptr; }
        Timer(const Timer &) = delete;
        Timer &operator=(const Timer &) = delete;
        Action action;

    private:
        Timer *&m_slot;
    };
    Timer *m_timer = nullptr;
};

class Delivery : public TestHome {
protected:
    Delivery()
    {
        VORAHostFlags::shouldQuit = true;
        chatLog = VORAChatLog::initWithFilePath(write("Kim on Monday.ichat", keyedTranscript({})));
    }
    ~Delivery() override
    {
        VORAHostFlags::shouldQuit = false;
        VORAHostFlags::verbose = false;
    }

    void needLogin() const
    {
        setPreferences("<key>emailNeedsUsername</key><integer>1</integer>"
                       "<key>emailUsername</key><string>sam</string>"
                       "<key>emailPassword</key><string>s3cret</string>");
    }
    void thenTimer()
    {
        loop.steps.emplace_back([this] { loop.fireTimer(); });
    }
    void thenEvent(void (CWSMTPDelegate::*event)())
    {
        loop.steps.emplace_back([this, event] {
            CWSMTPDelegate &delegate = *client.delegate;
            (delegate.*event)();
        });
    }
    /// The failure that the preference pane is told of: code, text and number of failures.
    [[nodiscard]] static std::string report()
    {
        const auto number = [](QStringView key) {
            const auto value = platform::integerFrom(platform::CFPreferencesCopyAppValue(key));
            return value ? std::to_string(*value) : std::string("none");
        };
        return number(u"errorStatus") + " \"" +
               platform::CFPreferencesCopyAppValue(u"reportThis").string().value_or(QString()).toStdString() +
               "\" " + number(u"emailFails");
    }
    /// The messages of the console log, without date and program.
    [[nodiscard]] std::vector<std::string> logged() const
    {
        std::vector<std::string> messages;
        for (const QByteArray &line : consoleLog().split('\n')) {
            const qsizetype start = line.indexOf("] ");
            if (start >= 0)
                messages.push_back(line.sliced(start + 2).toStdString());
        }
        return messages;
    }

    const std::string noReport = "none \"\" none";
    std::unique_ptr<VORAChatLog> chatLog;
    ScriptedClient client;
    ScriptedRunLoop loop;
};

} // namespace

TEST_F(Delivery, EveryExchangeEndsLogsAndReportsAsItShould)
{
    using Event = void (CWSMTPDelegate::*)();
    const Event completed = &CWSMTPDelegate::authenticationCompleted;
    const Event rejected = &CWSMTPDelegate::authenticationFailed;
    const Event sent = &CWSMTPDelegate::messageSent;
    const Event refused = &CWSMTPDelegate::messageNotSent;
    const Event timedOut = &CWSMTPDelegate::connectionTimedOut;
    const std::string login = "authenticate sam s3cret LOGIN";
    const std::string reply = "550 5.7.1 %s d\xC3\xA9sol\xC3\xA9"; // each byte of the reply is a character
    const std::string unanswered = "2 \"server not responding\" 1";
    const struct Row {
        bool needsLogin;
        std::vector<Event> events;      ///< after the timer has fired
        std::vector<std::string> calls; ///< after connecting
        std::string report;
        std::vector<std::string> log;
    } rows[] = {
        {false, {sent}, {"sendMessage"}, noReport, {}},
        {true, {completed, sent}, {login, "sendMessage"}, noReport, {}},
        {true,
         {rejected},
         {login},
         "3 \"login rejected\" 1",
         {"The SMTP server rejected the username/password."}},
        {true, {timedOut}, {login}, unanswered, {"The attempt to send email timed out."}},
        {false, {timedOut}, {"sendMessage"}, unanswered, {"The attempt to send email timed out."}},
        {false,
         {refused},
         {"sendMessage"},
         "2 \"" + reply + "\" 1",
         {"An error occurred while sending email:", reply}},
    };
    client.reply = "550 5.7.1 %s d\xE9sol\xE9";
    std::vector<std::string> expectedLog;
    for (const Row &row : rows) {
        setPreferences("");
        if (row.needsLogin)
            needLogin();
        client.calls.clear();
        loop = {};
        thenTimer();
        for (const Event event : row.events)
            thenEvent(event);
        EXPECT_FALSE(chatLog->HandleEmailSending(client, loop));
        EXPECT_TRUE(chatLog->mailTransmissionDone());
        EXPECT_EQ(report(), row.report);
        EXPECT_THAT(loop.intervals, ElementsAre(1.0));
        std::vector<std::string> calls{"setDelegate", "connect"};
        calls.insert(calls.end(), row.calls.begin(), row.calls.end());
        EXPECT_EQ(client.calls, calls);
        expectedLog.insert(expectedLog.end(), row.log.begin(), row.log.end());
        EXPECT_EQ(logged(), expectedLog);
    }
}

TEST_F(Delivery, AnUnreachableServerIsReportedWithoutAWait)
{
    for (const bool waits : {true, false}) {
        setPreferences("");
        VORAHostFlags::shouldQuit = waits;
        client.connectResult = waits ? -1 : 1;
        EXPECT_TRUE(chatLog->HandleEmailSending(client, loop));
        EXPECT_TRUE(chatLog->mailTransmissionDone());
        EXPECT_EQ(report(), "2 \"SMTP unreachable\" 1");
    }
    EXPECT_THAT(loop.intervals, IsEmpty());
    EXPECT_EQ(loop.turns, 0);
    EXPECT_THAT(logged(),
                ElementsAre("Unable to connect to mail server.", "Unable to connect to mail server."));
}

TEST_F(Delivery, ARunLoopThatCannotRunEndsTheExchange)
{
    thenTimer();
    EXPECT_TRUE(chatLog->HandleEmailSending(client, loop));
    EXPECT_TRUE(chatLog->mailTransmissionDone());
    EXPECT_EQ(report(), "4 \"runloop error\" 1");
    EXPECT_THAT(logged(), ElementsAre("Error waiting for email transmission runloop."));
}

TEST_F(Delivery, WithoutShouldQuitTheHostsRunLoopGoesOn)
{
    VORAHostFlags::shouldQuit = false;
    VORAHostFlags::verbose = true;
    EXPECT_TRUE(chatLog->HandleEmailSending(client, loop));
    EXPECT_FALSE(chatLog->mailTransmissionDone());
    EXPECT_EQ(loop.turns, 0);
    EXPECT_THAT(client.calls, ElementsAre("setDelegate", "connect"));
    EXPECT_THAT(logged(), ElementsAre("preparing to email with pantomime"));
    loop.fireTimer();
    EXPECT_THAT(client.calls, ElementsAre("setDelegate", "connect", "sendMessage"));
    client.delegate->messageSent();
    EXPECT_TRUE(chatLog->mailTransmissionDone());
}

TEST_F(Delivery, AnswersMayComeFromWithinTheOperations)
{
    client.whenSending = [this] { client.delegate->messageNotSent(); };
    client.reply = "452 full";
    thenTimer();
    EXPECT_FALSE(chatLog->HandleEmailSending(client, loop));
    EXPECT_EQ(report(), "2 \"452 full\" 1");
}

TEST_F(Delivery, NothingHappensAfterTheEnd)
{
    thenEvent(&CWSMTPDelegate::connectionTimedOut); // before the second is over
    EXPECT_FALSE(chatLog->HandleEmailSending(client, loop));
    EXPECT_FALSE(loop.hasTimer());
    for (const auto event :
         {&CWSMTPDelegate::authenticationCompleted, &CWSMTPDelegate::authenticationFailed,
          &CWSMTPDelegate::messageSent, &CWSMTPDelegate::messageNotSent, &CWSMTPDelegate::connectionTimedOut})
        (client.delegate->*event)();
    EXPECT_THAT(client.calls, ElementsAre("setDelegate", "connect"));
    EXPECT_EQ(report(), "2 \"server not responding\" 1");
}
