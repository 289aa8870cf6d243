#include "VORALogGenerator.h"

#include "VORALogGenerator+Folding.h"
#include "VORALogGenerator+Run.h"

#include "galleries/imagenames.h"
#include "galleries/savedfiles.h"
#include "galleries/supportfolder.h"

#include "platform/appkit/nsimage.h"

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
ImageStore::Contribution savedFilesOf(const VORAChatLog &chatLog)
{
    const std::vector<ImageRecord> records =
        recordsToFold(chatLog, chatLog.GatheredImages(VORAChatLog::Records::Filled), u"files");
    galleries::SavedFiles files(galleries::imagesFolder());
    QHash<const NSFileWrapper *, Size> sizes; // a file may be sent in very many messages
    ImageStore::Contribution contribution;
    for (const ImageRecord &record : records) {
        ImageStore::Speaker &speaker = contribution.emplace_back(ImageStore::Speaker{*record.speaker, {}});
        for (const auto &wrapper : record.images) {
            const galleries::FileName name = galleries::imageFileName(
                wrapper->preferredFilename(), *record.speaker, record.time->description());
            if (!files.save(wrapper, name))
                continue;
            auto size = sizes.constFind(wrapper.get());
            if (size == sizes.cend())
                size = sizes.insert(wrapper.get(), sizeOf(*wrapper));
            speaker.entries.push_back(
                {*record.time, QStringLiteral("Images/") + name.text(), size->width, size->height});
        }
    }
    if (files.isFull())
        chatLog.logFilesLeftOut();
    return contribution;
}

} // namespace

void VORALogGenerator::GenerateImageFiles(const VORAChatLog *chatLog)
{
    inRun([chatLog](galleries::Session &session) {
        if (chatLog)
            session.addFiles(savedFilesOf(*chatLog));
        else
            session.makeImagePages();
    });
}

std::vector<ImageEntry> *VORALogGenerator::FindImagesArray(const QString &name, ImageStore &inData)
{
    return inData.find(name);
}
