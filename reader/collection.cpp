#include "reader/collection.h"

#include "archiver/PBArchiver.h"
#include "archiver/transcript.h"

#include "index/chatindex.h"

#include "platform/files/directorywalk.h"
#include "platform/files/files.h"

#include <QDir>
#include <QStandardPaths>

#include <algorithm>
#include <system_error>
#include <utility>

namespace reader {

namespace {

namespace fs = std::filesystem;

std::shared_ptr<QTemporaryDir> folderForTheSession()
{
    for (const auto place : {QStandardPaths::RuntimeLocation, QStandardPaths::TempLocation}) {
        auto folder = std::make_shared<QTemporaryDir>(QStandardPaths::writableLocation(place) +
                                                      QStringLiteral("/prattlebug-reader-XXXXXX"));
        if (folder->isValid())
            return folder;
    }
    return std::make_shared<QTemporaryDir>();
}

bool isInside(const fs::path &path, const fs::path &folder)
{
    std::error_code error;
    const fs::path whole = fs::weakly_canonical(path, error);
    const fs::path around = fs::weakly_canonical(folder, error);
    return std::mismatch(around.begin(), around.end(), whole.begin(), whole.end()).first == around.end();
}

std::string extensionOf(const fs::path &file)
{
    std::string extension = file.extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? char(letter - 'A' + 'a') : letter;
    });
    return extension;
}

/// The name by which a transcript that is called anything is taken for one.
std::string linkName(const fs::path &file)
{
    const std::string name = file.stem().native();
    return (name.find(" on ") == std::string::npos ? name + " on " : name) + extensionOf(file);
}

} // namespace

Collection Collection::of(const QStringList &arguments)
{
    std::vector<fs::path> given;
    for (const QString &argument : arguments) {
        std::error_code error;
        const fs::path path = transcriptPath(QFile::encodeName(argument).toStdString());
        const fs::path whole = fs::absolute(path, error);
        given.push_back(error ? path : whole.lexically_normal());
    }
    Collection result;
    const fs::path home = PBArchiver::transcriptFolder();
    const bool isHome = std::all_of(given.begin(), given.end(), [&home](const fs::path &path) {
        std::error_code error;
        return isInside(path, home) && (path == home || !fs::is_directory(path, error));
    });
    if (isHome) {
        result.folder = home;
        result.index = indexing::ChatIndex::fileInHome();
        result.isHome = true;
        return result;
    }
    result.temporary = folderForTheSession();
    const fs::path own = QFile::encodeName(result.temporary->path()).toStdString();
    result.index = own / "chats.index";
    std::error_code error;
    if (given.size() == 1 && fs::is_directory(given.front(), error)) {
        result.folder = given.front();
    } else {
        result.folder = own / "links";
        result.linked = std::move(given);
    }
    return result;
}

fs::path Collection::transcript(const fs::path &relative) const
{
    std::error_code error;
    fs::path path = folder / relative;
    if (linked.empty())
        return path;
    const fs::path target = fs::read_symlink(path, error);
    return error ? path : target;
}

bool isNamedAsTranscript(const fs::path &path)
{
    const std::string extension = extensionOf(path);
    return extension == ".chat" || extension == ".ichat";
}

void linkTranscripts(const fs::path &folder, const std::vector<fs::path> &linked)
{
    std::error_code
        error; // what cannot be linked is missing in the lists; the window opens what was named all the same
    fs::remove_all(folder, error);
    int number = 0;
    const auto link = [&](const fs::path &file) {
        const fs::path own = folder / std::to_string(++number); // files may have the same name
        fs::create_directories(own, error);
        fs::create_symlink(file, own / linkName(file), error);
    };
    fs::create_directories(folder, error);
    for (const fs::path &path : linked) {
        if (!fs::is_directory(path, error)) {
            link(path);
            continue;
        }
        platform::DirectoryWalk walk(path);
        while (const auto entry = walk.next()) {
            if (isNamedAsTranscript(*entry))
                link(path / *entry);
        }
    }
}

} // namespace reader
