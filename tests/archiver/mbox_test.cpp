#include "archiver/mboxmessage.h"

#include "tests/support/testhome.h"

#include "platform/date/calendar.h"

using Mbox = TestHome;

namespace {

MboxMessage messageOn(const platform::NSDate &date)
{
    return {.address = QStringLiteral("sam@example.org"),
            .subject = QStringLiteral("[IM] José"),
            .date = date,
            .plainText = "Kim: hi\nSent",
            .html = "<html>hi</html>"};
}

} // namespace

TEST_F(Mbox, IsTheMessageByteForByte)
{
    const auto date = platform::dateFromUtc(2005, 3, 5, 22, 3, 22).value(); // 14:03:22 in Los Angeles
    EXPECT_EQ(mboxMessageBytes(messageOn(date), 1109739465).toStdString(),
              "From sam@example.org Tue Mar  1 20:57:45 2005\n"
              "From: sam@example.org\n"
              "To: sam@example.org\n"
              "Subject: [IM] Jos\xC3\xA9\n"
              "Date: 05 Mar 05 14:03:22\n"
              "Content-Type: multipart/alternative;\n"
              "\tboundary=\"_____fbtvcfbtvcfbtvcfbtvcfbtvcfbtvcfbtvc\"\n"
              "\n"
              "--_____fbtvcfbtvcfbtvcfbtvcfbtvcfbtvcfbtvc\n"
              "Content-Type: text/plain; charset=\"utf8\"\n"
              "\n"
              "Kim: hi\n"
              "Sent\n"
              "--_____fbtvcfbtvcfbtvcfbtvcfbtvcfbtvcfbtvc\n"
              "Content-Type: text/html; charset=\"utf8\"\n"
              "\n"
              "<html>hi</html>\n"
              "--_____fbtvcfbtvcfbtvcfbtvcfbtvcfbtvcfbtvc--\n"
              "\n");
}

TEST_F(Mbox, HidesLinesThatLookLikeSeparators)
{
    MboxMessage message = messageOn(platform::NSDate::now());
    message.plainText = "From a\nKim: From b\n>From c\n>> From d\n>>From e\nFromage\n\nFrom ";
    message.html = "x\nFrom y";
    const QByteArray bytes = mboxMessageBytes(message, 0);
    EXPECT_TRUE(
        bytes.contains("\n\n>From a\nKim: From b\n>>From c\n>> From d\n>>>From e\nFromage\n\n>From \n--"))
        << bytes.constData();
    EXPECT_TRUE(bytes.contains("x\n>From y\n--"));
}

TEST_F(Mbox, LetsNoValueAddALineToTheHeader)
{
    MboxMessage message = messageOn(platform::NSDate::now());
    message.address = QStringLiteral("a\r\nBcc: b");
    message.subject = QStringLiteral("[IM] x\ry\nz\n");
    const QByteArray bytes = mboxMessageBytes(message, 0);
    EXPECT_TRUE(bytes.startsWith("From a Bcc: b ")) << bytes.constData();
    EXPECT_TRUE(bytes.contains("\nFrom: a Bcc: b\nTo: a Bcc: b\nSubject: [IM] x y z \nDate: "));

    message.address.clear();
    EXPECT_TRUE(
        mboxMessageBytes(message, 0).startsWith("From  Wed Dec 31 16:00:00 1969\nFrom: \nTo: \nSubject: "));
}
