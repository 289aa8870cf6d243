#include "export/attachedfiles.h"

#include "export/names.h"

namespace exporting {

namespace {

using platform::NSFileWrapper;

constexpr qint64 costOfAFile = 4096;

qint64 costOf(const NSFileWrapper &wrapper) // no deeper than its reader goes
{
    qint64 cost = wrapper.regularFileContents().size() + costOfAFile;
    for (const NSFileWrapper::Child &child : wrapper.children())
        cost += costOf(*child.wrapper);
    return cost;
}

/// @return the name that was taken, and the rest of it in two parts.
QString takeName(UniqueNames &names, const QString &wanted)
{
    const qsizetype stop = wanted.lastIndexOf(u'.');
    return stop < 0 ? names.take(wanted, {}) : names.take(wanted.first(stop), wanted.sliced(stop));
}

void addChildren(std::vector<AttachedFiles::Beside> &beside, const NSFileWrapper &folder, const QString &path)
{
    UniqueNames names;
    for (const NSFileWrapper::Child &child : folder.children()) {
        const bool isFile = child.wrapper->isRegularFile();
        const QString name = takeName(names, isFile ? attachmentName(child.name) : portableName(child.name));
        if (isFile)
            beside.push_back({path + u'/' + name, child.wrapper->regularFileContents()});
        else
            addChildren(beside, *child.wrapper, path + u'/' + name);
    }
}

bool standsInside(const AttachedFiles::File &file, const Options &options)
{
    if (!file.wrapper->isRegularFile())
        return false;
    if (options.attachments == Attachments::Inside)
        return holdsFiles(options.format);
    return options.attachments == Attachments::Usual &&
           (isMail(options.format) || (options.format == Format::Html && !file.image.isEmpty()));
}

} // namespace

AttachedFiles::AttachedFiles(const conversation::Conversation &conversation, const Options &options,
                             const QString &folder, qint64 limit)
{
    UniqueNames names;
    for (const auto &wrapper : conversation.files) {
        File &file = m_files.emplace_back();
        file.wrapper = wrapper;
        file.name =
            wrapper && wrapper->preferredFilename() ? wrapper->preferredFilename()->simplified() : QString();
        if (file.name.isEmpty())
            file.name =
                wrapper && !wrapper->isRegularFile() ? QStringLiteral("Folder") : QStringLiteral("File");
        if (!wrapper)
            continue;
        file.image = imageType(wrapper->regularFileContents());
        file.isInside = standsInside(file, options);
        if (file.isInside || options.attachments == Attachments::None || isMail(options.format) ||
            (options.attachments == Attachments::Inside && holdsFiles(options.format)))
            continue;
        const qint64 cost = costOf(*wrapper);
        if (cost > limit) {
            ++m_leftOut;
            continue;
        }
        limit -= cost;
        const QString name = wrapper->isRegularFile() ? attachmentName(file.name) : portableName(file.name);
        file.path = folder + u'/' + takeName(names, name);
        if (wrapper->isRegularFile())
            m_beside.push_back({file.path, wrapper->regularFileContents()});
        else
            addChildren(m_beside, *wrapper, file.path);
    }
}

QByteArray imageType(QByteArrayView contents)
{
    if (contents.startsWith("\x89PNG\r\n\x1A\n"))
        return "image/png";
    if (contents.startsWith("\xFF\xD8\xFF"))
        return "image/jpeg";
    if (contents.startsWith("GIF87a") || contents.startsWith("GIF89a"))
        return "image/gif";
    constexpr qsizetype riffHead = 8;
    if (contents.startsWith("RIFF") && contents.size() > riffHead &&
        contents.sliced(riffHead).startsWith("WEBP"))
        return "image/webp";
    constexpr qsizetype bitmapHead = 14;
    if (contents.startsWith("BM") && contents.size() > bitmapHead)
        return "image/bmp";
    return {};
}

} // namespace exporting
