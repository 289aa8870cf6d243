#include "galleries/topimages.h"

#include "galleries/filenames.h"
#include "galleries/supportfolder.h"

#include <map>
#include <string>
#include <system_error>

namespace filesystem = std::filesystem;

namespace galleries {

namespace {

constexpr size_t mostTopImages = 3;

/// The names of the newest files by their dates.
std::map<platform::NSDate, QString> newestOf(const ImageStore &store)
{
    std::map<platform::NSDate, QString> newest;
    for (const ImageStore::Speaker &speaker : store.speakers()) {
        for (const ImageEntry &entry : speaker.entries) {
            newest.insert_or_assign(entry.date, entry.filename);
            if (newest.size() > mostTopImages)
                newest.erase(newest.begin());
        }
    }
    return newest;
}

/// Whether @p relative names something inside the folder of attached files: a store that somebody has edited
/// must not have that folder copied into itself, nor anything from elsewhere.
bool isAttachedFile(const filesystem::path &relative)
{
    const filesystem::path path = relative.lexically_normal();
    auto part = path.begin();
    if (part == path.end() || *part++ != imagesFolder().filename())
        return false;
    return part != path.end() && !part->empty() && *part != topImagesFolder().filename();
}

} // namespace

void refreshTopImages(const ImageStore &store)
{
    std::error_code ignored;
    filesystem::remove_all(topImagesFolder(), ignored);
    filesystem::create_directory(topImagesFolder(), ignored);
    int number = 0;
    for (const auto &[date, filename] : newestOf(store)) {
        ++number;
        const filesystem::path source = platform::pathFromString(filename);
        if (!isAttachedFile(source))
            continue;
        const QString name = u'0' + QString::number(number) + u'.' + pathExtension(filename).toString();
        const filesystem::path copy = topImagesFolder() / platform::pathFromString(name);
        try {
            filesystem::copy(supportFolder() / source, copy, filesystem::copy_options::recursive, ignored);
        } catch (const filesystem::filesystem_error &) { // from reading a folder, in spite of the error code
        }
    }
}

} // namespace galleries
