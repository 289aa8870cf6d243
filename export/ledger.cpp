#include "export/ledger.h"

#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace exporting {

namespace {

constexpr int version = 1;

/// Names of transcripts are bytes. Those that are no UTF-8 stand as hexadecimal digits behind a full stop and
/// a slash, with which no name of ours begins.
constexpr QStringView bytesMark = u"./";

QString textOf(const std::string &name)
{
    const QByteArray bytes = QByteArray::fromStdString(name);
    const QString text = platform::stringFromUtf8(bytes);
    return platform::utf8FromString(text) == bytes
               ? text
               : bytesMark.toString() + QString::fromLatin1(bytes.toHex());
}

std::string nameOf(const QString &text)
{
    return text.startsWith(bytesMark)
               ? QByteArray::fromHex(text.sliced(bytesMark.size()).toLatin1()).toStdString()
               : platform::utf8FromString(text).toStdString();
}

QJsonObject jsonOf(const Summary &summary)
{
    QJsonObject object{{QStringLiteral("title"), summary.title},
                       {QStringLiteral("people"), QJsonArray::fromStringList(QStringList(
                                                      summary.people.begin(), summary.people.end()))},
                       {QStringLiteral("chats"), summary.chats},
                       {QStringLiteral("messages"), summary.messages},
                       {QStringLiteral("files"), summary.files}};
    if (summary.first)
        object[QStringLiteral("first")] = *summary.first;
    if (summary.last)
        object[QStringLiteral("last")] = *summary.last;
    return object;
}

Summary summaryFrom(const QJsonObject &object)
{
    const auto moment = [&](const QString &key) {
        return object.contains(key) ? std::optional(object[key].toInteger()) : std::nullopt;
    };
    Summary summary;
    summary.title = object[QStringLiteral("title")].toString();
    for (const auto &person : object[QStringLiteral("people")].toArray())
        summary.people.push_back(person.toString());
    summary.first = moment(QStringLiteral("first"));
    summary.last = moment(QStringLiteral("last"));
    summary.chats = object[QStringLiteral("chats")].toInteger();
    summary.messages = object[QStringLiteral("messages")].toInteger();
    summary.files = object[QStringLiteral("files")].toInteger();
    return summary;
}

QJsonObject jsonOf(const std::string &key, const WrittenDocument &document)
{
    QJsonArray sources;
    for (const auto &source : document.sources)
        sources += QJsonArray{textOf(source.transcript), QString::fromLatin1(source.digest)};
    QJsonObject beside;
    for (const auto &[path, digest] : document.beside)
        beside[path] = QString::fromLatin1(digest);
    return {{QStringLiteral("is"), textOf(key)},
            {QStringLiteral("path"), document.path},
            {QStringLiteral("digest"), QString::fromLatin1(document.digest)},
            {QStringLiteral("beside"), beside},
            {QStringLiteral("madeWith"), QString::fromLatin1(document.madeWith)},
            {QStringLiteral("sources"), sources},
            {QStringLiteral("summary"), jsonOf(document.summary)}};
}

/// A path that stays in its folder.
bool isInside(const QString &path)
{
    const QStringList parts = path.split(u'/');
    return !path.isEmpty() && !path.contains(QChar::Null) && !parts.contains(QString()) &&
           !parts.contains(QStringLiteral("..")) && !parts.contains(QStringLiteral("."));
}

std::optional<WrittenDocument> documentFrom(const QJsonObject &object)
{
    WrittenDocument document;
    document.path = object[QStringLiteral("path")].toString();
    document.digest = object[QStringLiteral("digest")].toString().toLatin1();
    document.madeWith = object[QStringLiteral("madeWith")].toString().toLatin1();
    bool areInside = isInside(document.path);
    const QJsonObject beside = object[QStringLiteral("beside")].toObject();
    for (auto file = beside.begin(); file != beside.end(); ++file) {
        areInside = areInside && isInside(file.key());
        document.beside[file.key()] = file.value().toString().toLatin1();
    }
    for (const auto &value : object[QStringLiteral("sources")].toArray()) {
        const QJsonArray source = value.toArray();
        document.sources.push_back({nameOf(source.at(0).toString()), source.at(1).toString().toLatin1()});
    }
    document.summary = summaryFrom(object[QStringLiteral("summary")].toObject());
    return areInside ? std::optional(document) : std::nullopt;
}

} // namespace

QByteArray digestOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Blake2b_256).toHex();
}

std::filesystem::path Ledger::pathIn(const std::filesystem::path &folder)
{
    return folder / ".prattlebug-export.json";
}

platform::Result<Ledger> Ledger::load(const std::filesystem::path &folder)
{
    const auto file = platform::readWholeFile(pathIn(folder));
    if (!file && file.error().kind == platform::FailureKind::Missing)
        return Ledger();
    if (!file)
        return tl::unexpected(file.error());
    const QJsonObject object = QJsonDocument::fromJson(*file).object();
    if (object[QStringLiteral("version")].toInt() != version)
        return tl::unexpected(platform::Failure{platform::FailureKind::Malformed, pathIn(folder),
                                                "it is damaged, or of another version of this program"});
    Ledger ledger;
    for (const auto &value : object[QStringLiteral("documents")].toArray()) {
        const QJsonObject entry = value.toObject();
        if (auto document = documentFrom(entry))
            ledger.documents.emplace(nameOf(entry[QStringLiteral("is")].toString()), std::move(*document));
    }
    return ledger;
}

platform::Result<> Ledger::save(const std::filesystem::path &folder) const
{
    // Written a line at a time: as one tree it would take many times the memory.
    QByteArray bytes = "{\"version\":" + QByteArray::number(version) + ",\"documents\":[";
    QByteArray separator = "\n";
    for (const auto &[key, document] : documents) {
        bytes += separator + QJsonDocument(jsonOf(key, document)).toJson(QJsonDocument::Compact);
        separator = ",\n";
    }
    return platform::writeAtomically(pathIn(folder), bytes + "\n]}\n",
                                     {.durability = platform::Durability::Unsynced});
}

std::map<QString, QByteArray> Ledger::files() const
{
    std::map<QString, QByteArray> files;
    for (const auto &[key, document] : documents) {
        files[document.path] = document.digest;
        files.insert(document.beside.begin(), document.beside.end());
    }
    return files;
}

} // namespace exporting
