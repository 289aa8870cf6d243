#include "VORALogGenerator.h"

#include "VORALogGenerator+Folding.h"
#include "VORALogGenerator+Run.h"

#include "galleries/imagenames.h"
#include "galleries/imagepages.h"
#include "galleries/savedfiles.h"
#include "galleries/supportfolder.h"
#include "galleries/topimages.h"

#include "platform/appkit/nsimage.h"
#include "platform/files/files.h"

#include <algorithm>
#include <limits>

using galleries::ImageEntry;
using galleries::ImageStore;
using platform::NSFileWrapper;

namespace {

struct Size {
    qint64 width = 0;
    qint64 height = 0;
};

Size sizeOf(const NSFileWrapper &wrapper)
{
    const auto whole = [](double points) {
        return qint64(std::min<double>(points, std::numeric_limits<qint32>::max()));
    };
    const auto image = wrapper.isRegularFile()
                           ? platform::NSImage::initWithData(wrapper.regularFileContents())
                           : std::nullopt;
    return image ? Size{whole(image->width()), whole(image->height())} : Size{};
}

/// Writes the files of @p chatLog into the folder of attached files.
/// @return what the store is to hold of them.
std::vector<ImageStore::Speaker> savedFilesOf(const VORAChatLog &chatLog)
{
    galleries::SavedFiles files(galleries::imagesFolder());
    QHash<const NSFileWrapper *, Size> sizes; // a file may be sent in very many messages
    std::vector<ImageStore::Speaker> speakers;
    for (const ImageRecord &record :
         recordsToFold(chatLog, chatLog.GatheredImages(VORAChatLog::Records::Filled), u"files")) {
        ImageStore::Speaker &speaker = speakers.emplace_back(ImageStore::Speaker{*record.speaker, {}});
        for (const auto &wrapper : record.images) {
            auto size = sizes.constFind(wrapper.get());
            if (size == sizes.cend())
                size = sizes.insert(wrapper.get(), sizeOf(*wrapper));
            const galleries::FileName name = galleries::imageFileName(
                wrapper->preferredFilename(), *record.speaker, record.time->description());
            files.save(wrapper, name);
            speaker.entries.push_back(
                {*record.time, QStringLiteral("Images/") + name.text(), size->width, size->height});
        }
    }
    return speakers;
}

} // namespace

std::filesystem::path ImageGallery::path()
{
    return galleries::imageStorePath();
}

bool ImageGallery::save(const Store &store)
{
    const auto bytes = store.propertyList();
    return bytes && !platform::writeAtomically(path(), *bytes);
}

void ImageGallery::writePages(const Store *store)
{
    const Store empty;
    galleries::writeImagePages(store ? *store : empty);
    galleries::refreshTopImages(store ? *store : empty);
}

void VORALogGenerator::GenerateImageFiles(const VORAChatLog *chatLog)
{
    GalleryRun::call<ImageGallery>(!chatLog, [chatLog](galleries::KeptGallery<ImageGallery> &gallery) {
        const bool isReadable = gallery.refresh();
        if (chatLog) {
            auto files = savedFilesOf(*chatLog);
            if (isReadable)
                gallery.fold(std::move(files));
        }
        gallery.requestPages(); // of an empty store, when it cannot be read
    });
}

std::vector<ImageEntry> *VORALogGenerator::FindImagesArray(const QString &name, ImageStore &inData)
{
    return inData.find(name);
}
