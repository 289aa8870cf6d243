#include "VORALogGenerator.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/appkit/nsfilewrapper.h"
#include "platform/foundation/scalars.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

// Whatever names a chat's people, files and folders have, what is made of it lands in the support folder.

using platform::NSFileWrapper;
namespace filesystem = std::filesystem;

namespace {

constexpr int nameCount = 300;
/// What is read in the support folder, and never written.
const std::set<filesystem::path> readOnly{"linktemplate.html", "imagetemplate.html", "statstemplate.html",
                                          "curses.plist",      "netspeak.plist",     "me.vcf",
                                          "contacts.vcf"};

class Landing : public TestHome {
protected:
    /// The home folder stands a few folders down, so that what climbs out of it is seen.
    Landing() { setenv("HOME", user().c_str(), 1); }

    [[nodiscard]] filesystem::path user() const { return home() / "a/b/user"; }
    [[nodiscard]] filesystem::path support() const { return user() / "Library/Prattlebug"; }

    /// Everything outside the support folder, and what in it is only read, with its kind and contents.
    [[nodiscard]] std::map<std::string, std::string> untouchable() const
    {
        std::map<std::string, std::string> found;
        for (const auto &entry : filesystem::recursive_directory_iterator(home())) {
            const std::string path = entry.path().lexically_relative(home());
            const filesystem::path below = entry.path().lexically_relative(support());
            if (*below.begin() != ".." && below != "." && readOnly.count(below) == 0)
                continue;
            found[path] = entry.is_regular_file() ? read(entry.path()).toStdString()
                                                  : std::to_string(int(entry.symlink_status().type()));
        }
        return found;
    }
};

/// A name of up to five parts, each of which means something to a file system, to the galleries, or to text.
QString hostileName(std::mt19937 &random, const filesystem::path &home)
{
    const QString parts[] = {
        QStringLiteral(".."),
        QStringLiteral("/"),
        QStringLiteral("../"),
        QStringLiteral("../../../../../../"),
        QStringLiteral("."),
        QString(QChar(0)),
        QStringLiteral("~"),
        QStringLiteral("\n"),
        QStringLiteral("\\..\\"),
        QStringLiteral("%2F..%2f"),
        QStringLiteral("\u2215\uFF0F\u202E"),
        QString(QChar(0xD800)),
        QString(QChar(0xDC00)),
        QStringLiteral("-"),
        QStringLiteral("Images"),
        QStringLiteral("Links"),
        QStringLiteral("topimages"),
        QStringLiteral("linktemplate"),
        QStringLiteral("imagetemplate"),
        QStringLiteral("statstemplate"),
        QStringLiteral(".html"),
        QStringLiteral("curses.plist"),
        QStringLiteral("contacts.vcf"),
        QStringLiteral(".prattlebug-1.folder"),
        QString::fromStdString(home.string()) + QStringLiteral("/taken"),
        QString(200, u'x'),
        QString(130, QChar(0x674E)),
    };
    QString name;
    for (auto left = random() % 6; left > 0; --left)
        name += parts[random() % std::size(parts)];
    return name;
}

std::shared_ptr<const NSFileWrapper> attachment(const QString &name, const QString &inner, bool isFolder)
{
    const auto file = std::make_shared<NSFileWrapper>(inner, QByteArray("hostile"));
    if (!isFolder)
        return std::make_shared<NSFileWrapper>(name, QByteArray("hostile"));
    const auto folder =
        std::make_shared<NSFileWrapper>(inner, std::vector<NSFileWrapper::Child>{{name, file}});
    return std::make_shared<NSFileWrapper>(
        name, std::vector<NSFileWrapper::Child>{{inner, file}, {name, folder}, {inner, folder}});
}

} // namespace

TEST_F(Landing, OfHostileNamesIsInTheSupportFolder)
{
    for (const filesystem::path &name : readOnly)
        write(support().lexically_relative(home()) / name, "a template, or a list: ____NAME ____LINKS");
    filesystem::create_directories(support() / "Images");
    for (const char *neighbour :
         {"taken", "a/taken", "a/b/user/taken", "a/b/user/Library/taken", "a/b/Images/x"})
        write(neighbour, "somebody else's");
    const auto before = untouchable();
    ASSERT_EQ(before.size(), 18U);

    std::mt19937 random(1);           // the same names in every run
    constexpr int namesPerChat = 100; // the galleries take no more
    std::vector<VORAChatLog::Messages> chats(nameCount / namesPerChat);
    for (int i = 0; i < nameCount; ++i) {
        const QString name = hostileName(random, user());
        platform::NSAttributedString text(QStringLiteral("look "));
        text.append(u"\uFFFC",
                    makeAttributes({{QStringLiteral("NSAttachment"),
                                     std::make_shared<platform::NSTextAttachment>(attachment(
                                         hostileName(random, user()), hostileName(random, user()), i % 2))},
                                    {QStringLiteral("NSLink"), std::make_shared<platform::NSString>(name)}}));
        chats[size_t(i / namesPerChat)].push_back(std::make_shared<VORAInstantMessage>(
            std::make_shared<VORAPresentity>(QStringLiteral("Jabber"), name),
            std::make_shared<platform::NSAttributedString>(text), platform::NSDate::fromUnixTime(i)));
    }
    for (int turn = 0; turn < 2; ++turn) { // the second one replaces what the first has made
        for (const VORAChatLog::Messages &messages : chats) {
            const auto chatLog = VORAChatLog::withMessages(messages, QStringLiteral("../../../taken"));
            VORALogGenerator::GenerateLinkFiles(chatLog.get());
            VORALogGenerator::GenerateImageFiles(chatLog.get());
            VORALogGenerator::UpdateStatistics(*chatLog);
        }
        EXPECT_TRUE(untouchable() == before);
    }
    const auto count = [](const filesystem::path &folder) {
        return std::distance(filesystem::directory_iterator(folder), filesystem::directory_iterator());
    };
    EXPECT_GT(count(support()), nameCount);
    EXPECT_GT(count(support() / "Images"), nameCount * 9 / 10) << "each has a second of its own";
}
