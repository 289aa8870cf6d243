#include "VORALogGenerator.h"

#include "VORALogGenerator+Folding.h"

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
/// @param store if not null, is told of them.
void fold(const VORAChatLog &chatLog, ImageStore *store)
{
    galleries::SavedFiles files(galleries::imagesFolder());
    QHash<const NSFileWrapper *, Size> sizes; // a file may be sent in very many messages
    for (const ImageRecord &record :
         recordsToFold(chatLog, chatLog.GatheredImages(), &ImageRecord::images, u"files")) {
        std::vector<ImageEntry> entries;
        for (const auto &wrapper : record.images) {
            auto size = sizes.constFind(wrapper.get());
            if (size == sizes.cend())
                size = sizes.insert(wrapper.get(), sizeOf(*wrapper));
            const galleries::FileName name = galleries::imageFileName(
                wrapper->preferredFilename(), *record.speaker, record.time->description());
            files.save(wrapper, name);
            entries.push_back(
                {*record.time, QStringLiteral("Images/") + name.text(), size->width, size->height});
        }
        if (store)
            store->add(*record.speaker, std::move(entries));
    }
    if (store)
        store->sort();
}

void save(const ImageStore &store)
{
    if (const auto bytes = store.propertyList())
        static_cast<void>(platform::writeAtomically(galleries::imageStorePath(), *bytes));
}

} // namespace

void VORALogGenerator::GenerateImageFiles(const VORAChatLog *chatLog)
{
    auto store = ImageStore::load(galleries::imageStorePath());
    if (chatLog)
        fold(*chatLog, store ? &*store : nullptr);
    if (chatLog && store)
        save(*store);
    const ImageStore shown = std::move(store).value_or(ImageStore());
    galleries::writeImagePages(shown);
    galleries::refreshTopImages(shown);
}

std::vector<ImageEntry> *VORALogGenerator::FindImagesArray(const QString &name, ImageStore &inData)
{
    return inData.find(name);
}
