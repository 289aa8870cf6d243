#include "export/maildir.h"

#include "platform/files/files.h"
#include "platform/files/systemcalls.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <array>
#include <map>
#include <system_error>

namespace exporting {

namespace {

constexpr std::array subfolders{"cur", "new", "tmp"};

/// What stays of a mail's name.
std::string lastingPart(const std::string &name)
{
    return name.substr(0, name.find(':'));
}

} // namespace

QString maildirPath(const std::string &key, const std::optional<qint64> &first)
{
    constexpr qint64 millisecondsASecond = 1000;
    constexpr qsizetype digits = 16;
    const qint64 seconds = std::max<qint64>(first.value_or(0), 0) / millisecondsASecond;
    return QStringLiteral("cur/%1.%2.prattlebug")
        .arg(QString::number(seconds),
             QString::fromLatin1(digestOf(QByteArray::fromStdString(key)).first(digits)));
}

platform::Result<> makeMaildir(const std::filesystem::path &folder)
{
    for (const char *name : subfolders) {
        std::error_code error;
        std::filesystem::create_directory(folder / name, error);
        if (error)
            return tl::unexpected(platform::systemFailure(folder / name, error.value()));
    }
    return {};
}

void findMovedMails(const std::filesystem::path &folder, Ledger &ledger)
{
    std::map<std::string, std::filesystem::path>
        mails; // by what stays of their names, relative to the folder
    for (const char *name : {"cur", "new"}) {
        std::error_code error;
        for (std::filesystem::directory_iterator file(folder / name, error), end; !error && file != end;
             file.increment(error))
            mails[lastingPart(file->path().filename().native())] = name / file->path().filename();
    }
    for (auto &[key, document] : ledger.documents) {
        const std::filesystem::path path = platform::pathFromString(document.path);
        if (!key.starts_with("maildir ") || platform::fileExists(folder / path))
            continue;
        if (const auto mail = mails.find(lastingPart(path.filename().native())); mail != mails.end())
            document.path = platform::stringFromUtf8(QByteArrayView(mail->second.native()));
    }
}

} // namespace exporting
