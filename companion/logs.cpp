#include "companion/commands.h"
#include "companion/console.h"

#include "archiver/transcript.h"

#include "VORAChatLog.h"

#include "platform/files/files.h"
#include "platform/files/temporaries.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <memory>

namespace companion {

namespace {

/// What tells the two logs apart.
struct LogKind {
    QStringView format; ///< the preference
    const char *example;
    const char *noun;                                                      ///< of one entry
    qint64 (VORAChatLog::*entries)() const;                                ///< how many the chat has
    bool (*extend)(const VORAChatLog &, const std::filesystem::path &log); ///< @return whether all was saved
    bool needsFolder;                                                      ///< `Images` beside the log
};

int fail(const platform::Failure &failure)
{
    printError(failure);
    return exitFailed;
}

int fail(const std::filesystem::path &path, const std::string &reason)
{
    return fail({.path = path, .reason = reason});
}

bool extendLinkLog(const VORAChatLog &chatLog, const std::filesystem::path &log)
{
    chatLog.ExtendURLLog(log);
    return true;
}

bool extendImageLog(const VORAChatLog &chatLog, const std::filesystem::path &log)
{
    bool areSaved = true;
    chatLog.ExtendImageLog(log, [&areSaved](const platform::Failure &failure) {
        areSaved = false;
        printError(failure);
    });
    return areSaved;
}

constexpr LogKind links{platform::preference::bookmarkEntry,
                        R"('<a href="%@">%@</a> %@, %@')",
                        "link",
                        &VORAChatLog::linkCount,
                        extendLinkLog,
                        false};
constexpr LogKind images{platform::preference::imageEntry,
                         R"('<img src="Images/%@"> %@, %@')",
                         "file",
                         &VORAChatLog::fileCount,
                         extendImageLog,
                         true};

int extend(const LogKind &kind, const std::string &given, const std::filesystem::path &log)
{
    const std::filesystem::path file = transcriptPath(given);
    const VORAChatLog::Loading loading = loadTranscript(file);
    if (!loading)
        return fail(loading.error());
    const auto before = platform::readWholeFile(log);
    if (!before)
        return fail(log, before.error().reason + (before.error().kind == platform::FailureKind::Missing
                                                      ? "; make an empty file first"
                                                      : ""));
    if (!platform::CFPreferencesCopyAppValue(kind.format).string()) {
        const std::string key = platform::utf8FromString(kind.format).toStdString();
        printError(QByteArrayView(QByteArray::fromStdString(
            key + " is not set. It says what is written for each, as in: prattlebug prefs " + key + ' ' +
            kind.example)));
        return exitFailed;
    }
    const qint64 entries = (**loading.*kind.entries)();
    std::error_code error;
    if (kind.needsFolder && entries > 0 &&
        !std::filesystem::is_directory(log.parent_path() / "Images", error))
        return fail(log.parent_path() / "Images", "no such folder; the files would go there");
    const std::filesystem::path folder = log.has_parent_path() ? log.parent_path() : ".";
    platform::removeLeftTemporaries(folder); // of calls that were killed
    if (kind.needsFolder)
        platform::removeLeftTemporaries(folder / "Images");
    const auto identity = platform::fileIdentity(log);
    const bool areSaved = kind.extend(**loading, log);
    if (platform::fileIdentity(log) == identity) // it is replaced even when there is nothing to add
        return fail(log, "could not be written");
    if (verbosity() != Verbosity::Quiet)
        printLine(QByteArrayView(QByteArray::number(entries) + ' ' + kind.noun + (entries == 1 ? "" : "s") +
                                 " added"));
    return areSaved ? exitDone : exitFailed;
}

void addCommand(CLI::App &commands, const LogKind &kind, const char *name, const char *description,
                const char *footer, Action &action)
{
    const auto paths = std::make_shared<std::pair<std::string, std::string>>();
    CLI::App *command = commands.add_subcommand(name, description);
    command->add_option("FILE", paths->first, "Transcript, *.chat or *.ichat")->required();
    command->add_option("LOG", paths->second, "Text file to append to; it must exist")->required();
    command->footer(footer);
    command->callback([paths, &kind, &action] {
        action = [paths, &kind] { return extend(kind, paths->first, paths->second); };
    });
}

} // namespace

void addLinkLogCommand(CLI::App &commands, Action &action)
{
    addCommand(
        commands, links, "link-log", "Add one chat's links to a text file",
        "Example: prattlebug link-log \"Kim on 2005-03-01.ichat\" links.html\n"
        "The preference bookmarkEntry says what is written for each: its four %@ are the link, the link\n"
        "again, the sender and the date.\n"
        "Exit code: 1 when the chat cannot be read, the file not written, or bookmarkEntry is not set.",
        action);
}

void addImageLogCommand(CLI::App &commands, Action &action)
{
    addCommand(
        commands, images, "image-log", "Save one chat's files, and add them to a text file",
        "Example: prattlebug image-log \"Kim on 2005-03-01.ichat\" pictures/log.html\n"
        "The files go into the folder Images beside LOG, which must exist. The preference imageEntry says\n"
        "what is written for each: its three %@ are the file's name, the sender and the date.\n"
        "Exit code: 1 when the chat cannot be read, a file not written, or imageEntry is not set.",
        action);
}

} // namespace companion
