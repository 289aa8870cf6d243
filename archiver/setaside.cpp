#include "archiver/setaside.h"

#include "archiver/chatledger.h"

#include "galleries/supportfolder.h"

#include "platform/date/calendar.h"
#include "platform/date/nsdate.h"
#include "platform/files/directorywalk.h"
#include "platform/files/files.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// The names in the support folder of what a run makes, but for the saved files.
std::vector<fs::path> madeByRuns()
{
    const fs::path folder = galleries::supportFolder();
    const std::array made{galleries::linkStorePath().filename(), galleries::imageStorePath().filename(),
                          galleries::statisticsStorePath().filename(), ChatLedger::path().filename()};
    const std::array templates{galleries::linkTemplatePath().filename(),
                               galleries::imageTemplatePath().filename(),
                               galleries::statisticsTemplatePath().filename()};
    std::vector<fs::path> names;
    for (const fs::path name : platform::contentsOfDirectory(folder)) {
        const bool isPage = name.extension() == ".html" &&
                            std::find(templates.begin(), templates.end(), name) == templates.end();
        std::error_code error;
        if ((isPage || std::find(made.begin(), made.end(), name) != made.end()) &&
            !fs::is_directory(fs::symlink_status(folder / name, error)))
            names.push_back(name);
    }
    return names;
}

/// A new folder, named after the moment; empty, and @p error, when it cannot be made.
fs::path makeFolder(std::error_code &error)
{
    const QString name = QStringLiteral("Set aside ") + platform::descriptionWithCalendarFormat(
                                                            platform::NSDate::now(), u"%Y-%m-%d %H.%M.%S");
    for (int number = 1; number < 1000; ++number) {
        const QString numbered = number == 1 ? name : name + QStringLiteral(" #%1").arg(number);
        fs::path folder = galleries::supportFolder() / platform::pathFromString(numbered);
        if (fs::create_directory(folder, error))
            return folder;
        if (error)
            return {};
    }
    return {};
}

} // namespace

SetAside setGalleriesAside()
{
    const std::vector<fs::path> names = madeByRuns();
    if (names.empty())
        return {};
    const fs::path from = galleries::supportFolder();
    std::error_code error;
    const fs::path folder = makeFolder(error);
    if (folder.empty())
        return {{}, QString::fromStdString(error.message())};
    std::vector<fs::path> moved;
    for (const fs::path &name : names) {
        fs::rename(from / name, folder / name, error);
        if (error)
            break;
        moved.push_back(name);
    }
    if (!error)
        fs::create_directory_symlink(fs::path("..") / galleries::imagesFolder().filename(),
                                     folder / galleries::imagesFolder().filename(), error);
    if (!error)
        return {folder, {}};
    const QString reason = QString::fromStdString(error.message());
    std::error_code ignored;
    for (const fs::path &name : moved)
        fs::rename(folder / name, from / name, ignored);
    fs::remove(folder, ignored);
    return {{}, reason};
}
