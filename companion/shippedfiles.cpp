#include "companion/shippedfiles.h"

#include "platform/files/files.h"

#include <QCryptographicHash>
#include <QFile>

#include <array>

namespace companion {

namespace {

struct ShippedFile {
    const char *name;   ///< in the program's resources, and in the list of hashes
    const char *folder; ///< below the support folder; empty for itself
};

constexpr std::array<ShippedFile, 6> shippedFiles{{
    {"linktemplate.html", ""},
    {"imagetemplate.html", ""},
    {"statstemplate.html", ""},
    {"curses.plist", ""},
    {"netspeak.plist", ""},
    {"pdf.png", "Images"},
}};

QByteArray resource(const char *name)
{
    QFile file(QStringLiteral(":/support/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The program was built without its resource %s.", name);
    return file.readAll();
}

/// The list has a line "HASH  NAME" for every version of every file.
bool wasShipped(const QByteArray &bytes, const char *name, const QByteArray &list)
{
    const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
    return list.contains(hash + "  " + name + '\n');
}

} // namespace

ShippedFilesOutcome placeShippedFiles(const std::filesystem::path &supportFolder, bool reset,
                                      Changes &changes)
{
    const QByteArray list = resource("shipped.sha256");
    ShippedFilesOutcome outcome;
    for (const ShippedFile &file : shippedFiles) {
        const std::filesystem::path relative = std::filesystem::path(file.folder) / file.name;
        const std::filesystem::path path = supportFolder / relative;
        const QByteArray bytes = resource(file.name);
        const auto there = platform::readWholeFile(path);
        if (!there && there.error().kind != platform::FailureKind::Missing)
            throw Changes::Failure(path.native() + " cannot be read: " + there.error().reason);
        if (there == bytes)
            continue;
        if (there && !reset && !wasShipped(*there, file.name, list)) {
            outcome.changed += platform::displayPath(relative);
            continue;
        }
        changes.writeFile(path, bytes);
        outcome.placed += platform::displayPath(relative);
    }
    return outcome;
}

} // namespace companion
