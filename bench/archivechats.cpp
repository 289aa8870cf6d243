#include "VORALogGenerator.h"

#include "archiver/PBArchiver.h"

#include "platform/addressbook/addressbook.h"
#include "platform/files/directorywalk.h"
#include "platform/files/files.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

// prattlebug_archive_bench MODE FOLDER
//
// Archives the transcripts of the home folder into FOLDER, which must exist, as the archiver does but for one
// thing: with MODE "without" there are no galleries, with "alone" each call for them stands by itself, with
// "run" they belong to a run, as in the archiver.

namespace {

/// For an archiver whose command is not run.
class NoDesktop : public DesktopInterface {
public:
    std::optional<std::filesystem::path> runSavePanel(const SavePanel &) override { return std::nullopt; }
    void runAlert(const Alert &) override {}
    [[nodiscard]] bool skipChats() const override { return false; }
    void startProgress(qsizetype) override {}
    void showProgress(qsizetype) override {}
    void showEntry(const std::filesystem::path &) override {}
    void showOutcome(const ArchiveOutcome &) override {}
    void reveal(const std::filesystem::path &) override {}
};

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fputs("prattlebug_archive_bench without|alone|run FOLDER\n", stderr);
        return EXIT_FAILURE;
    }
    const bool hasGalleries = std::strcmp(argv[1], "without") != 0;
    std::optional<VORALogGenerator::Run> run;
    if (std::strcmp(argv[1], "run") == 0)
        run.emplace();

    NoDesktop desktop;
    PBArchiver archiver(desktop);
    const std::filesystem::path folder = PBArchiver::transcriptFolder();
    auto mbox = platform::NSFileHandle::createFileAtPath(std::filesystem::path(argv[2]) / "mbox");
    if (!mbox)
        return EXIT_FAILURE;
    platform::DirectoryWalk walk(folder);
    while (const auto entry = walk.next()) {
        const std::filesystem::path path = folder / *entry;
        const platform::ABAddressBook::Reading reading;
        const auto chatLog = VORAChatLog::initWithFilePath(path);
        const auto created = platform::creationTime(path);
        if (!chatLog || !created)
            continue;
        if (hasGalleries) {
            VORALogGenerator::GenerateLinkFiles(chatLog.get());
            VORALogGenerator::GenerateImageFiles(chatLog.get());
            VORALogGenerator::UpdateStatistics(*chatLog);
        }
        if (!archiver.appendChatLog(*chatLog, *mbox, created->date()))
            return EXIT_FAILURE;
    }
    return mbox->synchronizeFile() ? EXIT_SUCCESS : EXIT_FAILURE;
}
