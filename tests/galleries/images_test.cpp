#include "VORALogGenerator.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "galleries/savedfiles.h"

#include "platform/date/calendar.h"
#include "platform/files/directorywalk.h"

#include <QBuffer>
#include <QImage>
#include <gmock/gmock.h>

using galleries::ImageEntry;
using galleries::ImageStore;
using platform::NSDate;
using platform::NSFileWrapper;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Wrapper = std::shared_ptr<const NSFileWrapper>;

namespace {

struct Sent {
    QString speaker;
    NSDate date;
    std::vector<Wrapper> files;
};

NSDate utc(int year, int month, int day, int hour = 12, int minute = 0, int second = 0)
{
    return platform::dateFromUtc(year, month, day, hour, minute, second).value();
}

Wrapper file(const QString &name, const QByteArray &contents = "x")
{
    return std::make_shared<NSFileWrapper>(name, contents);
}

const Wrapper nameless = std::make_shared<NSFileWrapper>(std::nullopt, QByteArray("x"));

std::unique_ptr<VORAChatLog> chat(const std::vector<Sent> &sent)
{
    VORAChatLog::Messages messages;
    for (const Sent &message : sent) {
        platform::NSAttributedString text(QStringLiteral("look "));
        for (const Wrapper &wrapper : message.files)
            text.append(u"\uFFFC", makeAttributes({{QStringLiteral("NSAttachment"),
                                                    std::make_shared<platform::NSTextAttachment>(wrapper)}}));
        messages.push_back(std::make_shared<VORAInstantMessage>(
            std::make_shared<VORAPresentity>(QStringLiteral("Jabber"), message.speaker),
            std::make_shared<platform::NSAttributedString>(text), message.date));
    }
    return VORAChatLog::withMessages(messages, QStringLiteral("Ann"));
}

class Images : public TestHome {
protected:
    static constexpr const char *storeName = "Library/Prattlebug/gatheredImages.plist";

    Images()
    {
        std::filesystem::create_directories(images());
        write("Library/Prattlebug/imagetemplate.html", "N=____NAME C=____CONTENTS I=____IMAGES.");
    }

    [[nodiscard]] std::filesystem::path support() const { return home() / "Library/Prattlebug"; }
    [[nodiscard]] std::filesystem::path images() const { return support() / "Images"; }
    [[nodiscard]] std::string page(const char *name) const { return read(support() / name).toStdString(); }
    /// What lies directly in a folder.
    [[nodiscard]] static std::vector<std::string> names(const std::filesystem::path &folder)
    {
        std::vector<std::string> names = platform::contentsOfDirectory(folder);
        std::erase(names, "topimages");
        return names;
    }
    [[nodiscard]] ImageStore store() const { return ImageStore::load(home() / storeName).value(); }

    /// A store as an earlier run may have left it.
    void writeStore(const std::vector<std::pair<std::string, std::vector<ImageEntry>>> &speakers) const
    {
        ImageStore store;
        for (const auto &[name, entries] : speakers)
            store.add(QString::fromStdString(name), entries);
        write(storeName, store.propertyList().value());
    }
};

} // namespace

TEST_F(Images, AreNamedAfterTheirSenderAndTheLocalTime)
{
    const QString longName(300, u'x');
    const NSDate winter = utc(2005, 3, 2, 5, 7, 45);
    const NSDate summer = utc(2005, 7, 2, 4, 7, 45);
    const QString bob = QStringLiteral("Bob");
    const struct {
        Wrapper file;
        QString speaker;
        NSDate date;
        std::string name;
    } table[] = {
        {file(QStringLiteral("holiday.jpg")), bob, winter, "holiday-Bob-2005-03-01 21:07:45 -0800.jpg"},
        {file(QStringLiteral("holiday.jpg")), bob, summer, "holiday-Bob-2005-07-01 21:07:45 -0700.jpg"},
        {nameless, bob, winter, "Bob-2005-03-01 21:07:45 -0800.image"},
        {file(QStringLiteral("a.tar.gz")), bob, winter, "a.tar-Bob-2005-03-01 21:07:45 -0800.gz"},
        {file(QStringLiteral("README")), bob, winter, "README-Bob-2005-03-01 21:07:45 -0800."},
        {file(QStringLiteral("Über uns 50%.jpg")), QStringLiteral("José"), winter,
         "Über uns 50%-José-2005-03-01 21:07:45 -0800.jpg"},
        {file(QStringLiteral("../../x")), bob, winter, "..:.-Bob-2005-03-01 21:07:45 -0800.:x"},
        {file(QStringLiteral("/etc/x")), QStringLiteral("a/b"), winter,
         ":etc:x-a:b-2005-03-01 21:07:45 -0800."},
        {file(QStringLiteral("a\n%s.b")), bob, winter, "a\n%s-Bob-2005-03-01 21:07:45 -0800.b"},
        {file(QStringLiteral("a") + QChar(0) + u'b' + QChar(1) + QStringLiteral(".png")), bob, winter,
         "a:b\uFFFD-Bob-2005-03-01 21:07:45 -0800.png"},
        {file(longName + QStringLiteral(".jpg")), bob, winter, std::string(242, 'x') + "-HASH.jpg"},
    };
    for (const auto &row : table) {
        std::filesystem::remove_all(images());
        std::filesystem::create_directory(images());
        std::filesystem::remove(home() / storeName);
        VORALogGenerator::GenerateImageFiles(chat({{row.speaker, row.date, {row.file}}}).get());
        auto found = names(images());
        ASSERT_EQ(found.size(), 1U) << row.name;
        EXPECT_EQ("Images/" + found[0], store().speakers().at(0).entries.at(0).filename.toStdString());
        if (const size_t hash = row.name.find("HASH"); hash != std::string::npos) {
            EXPECT_EQ(found[0].size(), 255U);
            found[0].replace(hash, 8, "HASH");
        }
        EXPECT_EQ(found[0], row.name);
    }
}

TEST_F(Images, AreSavedAndRecordedNewestFirst)
{
    const QString bob = QStringLiteral("Bob");
    const auto first =
        chat({{bob, utc(2005, 1, 1), {file(QStringLiteral("1.png")), file(QStringLiteral("2"))}},
              {QStringLiteral("Ann"), utc(2005, 1, 2), {nameless}},
              {QStringLiteral("bob"), utc(2005, 1, 2), {}}});
    VORALogGenerator::GenerateImageFiles(first.get());
    EXPECT_EQ(names(images()).size(), 3U);
    const auto second = chat({{bob, utc(2005, 1, 3), {file(QStringLiteral("3"))}},
                              {QStringLiteral("bob"), utc(2005, 1, 2), {file(QStringLiteral("4"))}}});
    VORALogGenerator::GenerateImageFiles(second.get());
    VORALogGenerator::GenerateImageFiles(first.get());
    EXPECT_EQ(names(images()).size(), 5U) << "the same names again";

    ImageStore loaded = store();
    std::string order;
    for (const ImageStore::Speaker &speaker : loaded.speakers()) {
        order += speaker.name.toStdString() + ':';
        for (const ImageEntry &entry : speaker.entries)
            order += entry.filename[7].toLatin1();
    }
    EXPECT_EQ(order, "Bob:31212Ann:AAbob:4");
    ASSERT_TRUE(VORALogGenerator::FindImagesArray(bob, loaded));
    EXPECT_EQ(VORALogGenerator::FindImagesArray(bob, loaded)->size(), 5U);
    EXPECT_FALSE(VORALogGenerator::FindImagesArray(QStringLiteral("BOB"), loaded));

    const QByteArray before = read(home() / storeName);
    VORALogGenerator::GenerateImageFiles(chat({{bob, utc(2005, 1, 1), {}}}).get());
    EXPECT_EQ(read(home() / storeName), before) << "nothing new";
}

TEST_F(Images, HaveTheirSizeInWholePoints)
{
    QImage image(60, 41, QImage::Format_RGB32);
    image.setDotsPerMeterX(3937); // 100 dpi: 43.2 by 29.52 points
    image.setDotsPerMeterY(3937);
    QBuffer png;
    png.open(QIODevice::WriteOnly);
    ASSERT_TRUE(image.save(&png, "png"));
    const auto folder = std::make_shared<NSFileWrapper>(
        QStringLiteral("album"),
        std::vector<NSFileWrapper::Child>{{QStringLiteral("x.png"), file(QString(), png.data())}});
    VORALogGenerator::GenerateImageFiles(chat({{QStringLiteral("Ann"),
                                                utc(2005, 1, 1),
                                                {file(QString(), png.data()), file(QString()), folder}}})
                                             .get());
    std::vector<std::pair<qint64, qint64>> sizes;
    const ImageStore loaded = store();
    for (const ImageEntry &entry : loaded.speakers().at(0).entries)
        sizes.emplace_back(entry.width, entry.height);
    EXPECT_THAT(sizes, ElementsAre(std::pair(43, 29), std::pair(0, 0), std::pair(0, 0)));
}

TEST_F(Images, MakePagesBySpeakerAndMonth)
{
    const auto entry = [](const char16_t *name, int month, qint64 width = 0, qint64 height = 0) {
        return ImageEntry{utc(2005, month, 10), QStringLiteral("Images/") + QString::fromUtf16(name), width,
                          height};
    };
    writeStore({{"Ann Lee", {entry(u"1.png", 3, 300, 300), entry(u"2.PDF", 3), entry(u"3.png", 3, 301, 300)}},
                {"Bob", {entry(u"4", 3), entry(u"5", 3), entry(u"6", 3), entry(u"7", 3), entry(u"8", 3)}},
                {"Cid",
                 {entry(u"a b.pdf", 3), entry(u"b", 3), entry(u"c", 3), entry(u"d", 3), entry(u"e", 3),
                  entry(u"f", 3), entry(u"g", 1)}}});
    VORALogGenerator::GenerateImageFiles(nullptr);

    const auto cell = [](const std::string &name, const std::string &size = " height=\"90\"") {
        const std::string target = "Images%2F" + name;
        return "<td><a href=\"" + target + "\" target=\"_blank\"><img src=\"" + target + '"' + size +
               "/></a></td>";
    };
    const std::string march =
        "\n<h3>March 2005</h3>\n<table class=\"images\" cellpadding=0 cellspacing=10>\n";
    const std::string january =
        "\n<h3>January 2005</h3>\n<table class=\"images\" cellpadding=0 cellspacing=10>\n";
    const std::string row = "</tr><tr>";
    const std::string end = "</tr></table></ul>";
    const std::string pdf = "<td><a href=\"Images%2Fa%20b%2Epdf\" target=\"_blank\"><img "
                            "src=\"Images/pdf.png\"/></a></td>";
    const auto contents = [](int active) {
        const std::string items[] = {
            "<a href=\"Images.html\">All</a><span class=\"numb\">(15)</span></li>",
            "<a href=\"Ann%20Lee-images.html\">Ann Lee</a><span class=\"numb\">(3)</span></li>",
            "<a href=\"Bob-images.html\">Bob</a><span class=\"numb\">(5)</span></li>",
            "<a href=\"Cid-images.html\">Cid</a><span class=\"numb\">(7)</span></li>"};
        std::string list;
        for (int i = 0; i < 4; ++i)
            list += (i == active ? "<li class=\"active\">" : "<li>") + items[i];
        return list;
    };
    const std::string ann = cell("1%2Epng") + cell("2%2EPDF") + cell("3%2Epng", " width=\"90\"");
    EXPECT_EQ(page("Ann Lee-images.html"), "N=Ann Lee C=" + contents(1) + " I=" + march + ann + end + '.');
    EXPECT_EQ(page("Bob-images.html"), "N=Bob C=" + contents(2) + " I=" + march + cell("4") + cell("5") +
                                           cell("6") + cell("7") + cell("8") + row + end + '.');
    EXPECT_EQ(page("Cid-images.html"), "N=Cid C=" + contents(3) + " I=" + march + pdf + cell("b") +
                                           cell("c") + cell("d") + cell("e") + row + cell("f") + end +
                                           january + cell("g") + end + '.');
    EXPECT_EQ(page("Images.html"), "N=Images C=" + contents(0) + " I=" + march + ann + cell("4") + cell("5") +
                                       row + cell("6") + cell("7") + cell("8") + pdf + cell("b") + row +
                                       cell("c") + cell("d") + cell("e") + cell("f") + end + january +
                                       cell("g") + end + end + '.');
}

TEST_F(Images, HaveTheNewestThreeCopied)
{
    const auto entry = [](int day, const char16_t *name) {
        return ImageEntry{utc(2005, 1, day), QString::fromUtf16(name), 0, 0};
    };
    const struct {
        std::vector<ImageEntry> entries;
        std::vector<std::string> copies; // name=contents
    } table[] = {
        {{}, {}},
        {{entry(1, u"Images/1.png")}, {"01.png=1.png"}},
        {{entry(2, u"Images/2.pdf"), entry(1, u"Images/1.png")}, {"01.png=1.png", "02.pdf=2.pdf"}},
        {{entry(3, u"Images/3"), entry(2, u"Images/2.pdf"), entry(1, u"Images/1.png")},
         {"01.png=1.png", "02.pdf=2.pdf", "03.=3"}},
        {{entry(5, u"Images/1.png"), entry(4, u"Images/missing.gif"), entry(3, u"Images/3"),
          entry(2, u"Images/2.pdf"), entry(1, u"Images/1.png")},
         {"01.=3", "03.png=1.png"}},
        {{entry(1, u"Images/1.png"), entry(1, u"Images/2.pdf")}, {"01.pdf=2.pdf"}}, // one of each date
        {{entry(3, u"Images"), entry(2, u"Images/../imagetemplate.html"), entry(1, u"/etc/passwd")}, {}},
    };
    for (const char *name : {"1.png", "2.pdf", "3"})
        write(std::filesystem::path("Library/Prattlebug/Images") / name, name);
    std::filesystem::remove(support() / "imagetemplate.html");
    for (const auto &row : table) {
        writeStore({{"Bob", row.entries}});
        VORALogGenerator::GenerateImageFiles(nullptr);
        std::vector<std::string> copies;
        for (const std::string &name : platform::contentsOfDirectory(images() / "topimages"))
            copies.push_back(name + '=' + read(images() / "topimages" / name).toStdString());
        EXPECT_THAT(copies, testing::UnorderedElementsAreArray(row.copies));
    }
    EXPECT_FALSE(std::filesystem::exists(support() / "Images.html")) << "there is no template";
}

TEST_F(Images, AreSavedAlthoughTheStoreCannotBeRead)
{
    for (const char *bytes :
         {"no property list {", "{}", "(text)", "({speaker = Ann;})", "({filenames = ();})",
          "({speaker = Ann; filenames = ({filename = x; width = 1; height = 1;});})",
          "({speaker = Ann; filenames = ({date = \"2005-03-01 21:07:45 -0800\"; filename = x; width = "
          "1;});})",
          "({speaker = Ann; filenames = ({date = \"2005-03-01 21:07:45 -0800\"; filename = x; width = 1; "
          "height = wide;});})"}) {
        write(storeName, bytes);
        std::filesystem::remove_all(images());
        std::filesystem::create_directory(images());
        VORALogGenerator::GenerateImageFiles(
            chat({{QStringLiteral("Ann"), utc(2005, 1, 1, 20), {file(QStringLiteral("a.png"))}}}).get());
        EXPECT_EQ(read(home() / storeName), bytes);
        EXPECT_THAT(names(images()), ElementsAre("a-Ann-2005-01-01 12:00:00 -0800.png")) << bytes;
        EXPECT_THAT(platform::contentsOfDirectory(images() / "topimages"), IsEmpty());
        EXPECT_EQ(page("Images.html"), "N=Images C=<li class=\"active\"><a href=\"Images.html\">All</a><span "
                                       "class=\"numb\">(0)</span></li> I=</tr></table></ul>.");
    }
    write(storeName, "({speaker = Ann; filenames = ();}, {speaker = Bob; filenames = ({date = \"2005-03-01 "
                     "21:07:45 -0800\"; filename = x; width = 1; height = 2;});})");
    VORALogGenerator::GenerateImageFiles(nullptr);
    EXPECT_THAT(page("Ann-images.html"), testing::EndsWith("I=.")) << "no files, no sections";
    EXPECT_EQ(store().speakers().at(1).entries.at(0).height, 2);

    std::filesystem::remove_all(images());
    VORALogGenerator::GenerateImageFiles(
        chat({{QStringLiteral("Ann"), utc(2005, 1, 1), {file(QStringLiteral("a.png"))}}}).get());
    EXPECT_FALSE(std::filesystem::exists(images())) << "only the setup makes it";
    EXPECT_EQ(store().total(), 2);
    EXPECT_EQ(consoleLog(), "");
}

TEST_F(Images, ThatAreFoldersAreWrittenWithAllTheyHold)
{
    const auto folder = [](std::vector<NSFileWrapper::Child> children) {
        return std::make_shared<NSFileWrapper>(QStringLiteral("album"), std::move(children));
    };
    const Wrapper inner = folder({{QStringLiteral("linktemplate.html"), file(QString(), "inner")}});
    const QString ann = QStringLiteral("Ann");
    const auto fold = [&ann](const Wrapper &wrapper) {
        VORALogGenerator::GenerateImageFiles(chat({{ann, utc(2005, 1, 1, 20), {wrapper}}}).get());
    };
    const auto path = images() / "album-Ann-2005-01-01 12:00:00 -0800.";
    fold(folder({{QStringLiteral("old"), file(QString())}}));
    fold(folder({{QStringLiteral("."), file(QString(), "dot")},
                 {QStringLiteral(".."), file(QString(), "dots")},
                 {QStringLiteral("../x"), file(QString(), "x")},
                 {QString(), inner},
                 {QString(300, u'y'), file(QString())}}));
    EXPECT_THAT(names(path), UnorderedElementsAre("._", ".._", "..:x", "_", testing::StartsWith("yyyy")));
    EXPECT_EQ(read(path / ".._"), "dots");
    EXPECT_EQ(read(path / "_/linktemplate.html"), "inner");
    EXPECT_EQ(read(images() / "topimages/01./_/linktemplate.html"), "inner");
    EXPECT_THAT(names(images()), ElementsAre(path.filename())) << "no temporary folder is left";

    fold(file(QStringLiteral("album"), "now a file"));
    EXPECT_EQ(read(path), "now a file");
    fold(inner);
    EXPECT_THAT(names(path), ElementsAre("linktemplate.html"));
}

TEST_F(Images, ThatAreSentAgainAreHardLinksWithinALimit)
{
    std::vector<std::filesystem::path> failed;
    const auto note = [&failed](const platform::Failure &failure) { failed.push_back(failure.path); };
    galleries::SavedFiles saved(images(), note, 13'000);
    const auto save = [&saved](const char16_t *name, const Wrapper &wrapper) {
        return saved.save(wrapper, {QString::fromUtf16(name), {}});
    };
    const Wrapper a = file(QString(), "a");
    const Wrapper b = file(QString(), "b");
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(save(u"1", a)) << "which it is already";
    EXPECT_TRUE(save(u"2", a));
    EXPECT_EQ(std::filesystem::hard_link_count(images() / "1"), 2U);
    EXPECT_TRUE(save(u"1", b));
    EXPECT_TRUE(save(u"3", a)) << "a link to the second";
    EXPECT_EQ(read(images() / "1") + read(images() / "2") + read(images() / "3"), "baa");
    EXPECT_EQ(std::filesystem::hard_link_count(images() / "2"), 2U);
    std::filesystem::remove(images() / "3");
    EXPECT_TRUE(save(u"4", a)) << "a copy, where no link can be made";
    EXPECT_EQ(std::filesystem::hard_link_count(images() / "4"), 1U);
    EXPECT_FALSE(saved.isFull());
    EXPECT_FALSE(save(u"5", file(QString(), "c")));
    EXPECT_FALSE(save(u"1", a)) << "nor anything after it";
    EXPECT_TRUE(saved.isFull());
    EXPECT_THAT(names(images()), UnorderedElementsAre("1", "2", "4"));
    EXPECT_THAT(failed, IsEmpty());

    galleries::SavedFiles nowhere(home() / "none", note);
    EXPECT_TRUE(nowhere.save(a, {QStringLiteral("1"), {}})) << "it has its entry all the same";
    EXPECT_THAT(failed, ElementsAre(home() / "none/1"));
}

TEST_F(Images, BeyondTheLimitHaveNeitherFilesNorEntries)
{
    std::vector<NSFileWrapper::Child> children(20'000, {QString(), file(QString(), QByteArray())});
    const Wrapper album = std::make_shared<NSFileWrapper>(QStringLiteral("album"), std::move(children));
    const QString ann = QStringLiteral("Ann");
    VORALogGenerator::GenerateImageFiles(
        chat({{ann, utc(2005, 1, 1), {file(QStringLiteral("a"))}}, {ann, utc(2005, 1, 2), {album, nameless}}})
            .get());
    EXPECT_EQ(store().total(), 1);
    EXPECT_EQ(names(images()).size(), 1U);
    EXPECT_EQ(consoleLog().count("more than one chat may write"), 1);
}

TEST_F(Images, ExtendALogAndStandBesideIt)
{
    const auto chatLog =
        chat({{QStringLiteral("Ann"), utc(2005, 3, 2, 5, 7), {file(QStringLiteral("a%@.jpg")), nameless}}});
    const auto log = write("log", "old\n");
    std::filesystem::create_directory(home() / "Images");
    chatLog->ExtendImageLog(log);
    EXPECT_EQ(read(log), "old\n") << "there is no format";
    EXPECT_THAT(names(home() / "Images"),
                UnorderedElementsAre("a%@-Ann-TueMar10907PM.jpg", "Ann-TueMar10907PM.image"));

    setPreferences("<key>imageEntry</key><string>%@ %@ (%@) %@\n</string>");
    chatLog->ExtendImageLog(log);
    EXPECT_EQ(read(log), "old\na%@-Ann-TueMar10907PM.jpg Ann (Tue March 1, 09:07PM) %@\n"
                         "Ann-TueMar10907PM.image Ann (Tue March 1, 09:07PM) %@\n");

    std::filesystem::create_directories(home() / "other/Images");
    chatLog->ExtendImageLog(home() / "other/missing");
    EXPECT_THAT(names(home() / "other"), ElementsAre("Images"));
    EXPECT_EQ(names(home() / "other/Images").size(), 2U);
}
