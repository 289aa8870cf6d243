#include "platform/appkit/nsfilewrapper.h"

#include "platform/text/encoding.h"

#include <gtest/gtest.h>

#include <QtEndian>

#include <utility>
#include <vector>

namespace {

using platform::NSFileWrapper;
using Entries = std::vector<std::pair<QByteArray, QByteArray>>;

QByteArray number(quint32 value)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray data(const QByteArray &bytes)
{
    return number(1) + number(quint32(bytes.size())) + bytes;
}

QByteArray paddedData(const QByteArray &bytes, quint32 padding)
{
    return number(1) + number(0x80000000) + number(quint32(bytes.size())) + number(padding) +
           QByteArray(padding, '\0') + bytes;
}

QByteArray folder(const Entries &entries)
{
    QByteArray bytes = number(3) + number(quint32(entries.size()));
    for (const auto &[name, record] : entries)
        bytes += number(quint32(name.size())) + name;
    for (const auto &[name, record] : entries)
        bytes += number(quint32(record.size()));
    for (const auto &[name, record] : entries)
        bytes += record;
    return bytes;
}

QByteArray serialized(const QByteArray &record)
{
    return "rtfd" + number(0) + record;
}

std::shared_ptr<const NSFileWrapper> wrapperOf(const QByteArray &bytes)
{
    return NSFileWrapper::initWithSerializedRepresentation(bytes, [](quint64) {});
}

/// "name=contents" for a file, "name(child=… child=…)" for a folder; "-" for no name.
std::string described(const NSFileWrapper &wrapper, const QString &name) // NOLINT(misc-no-recursion)
{
    std::string text = platform::utf8FromString(name).toStdString();
    if (wrapper.isRegularFile())
        return text + '=' + wrapper.regularFileContents().toStdString();
    text += '(';
    for (const NSFileWrapper::Child &child : wrapper.children())
        text += (text.back() == '(' ? "" : " ") + described(*child.wrapper, child.name);
    return text + ')';
}

std::string described(const QByteArray &bytes)
{
    const auto wrapper = wrapperOf(bytes);
    return described(*wrapper, wrapper->preferredFilename().value_or(QStringLiteral("-")));
}

const QByteArray nameKey = "__@UTF8PreferredName@__";
const QByteArray legacyNameKey = "__@PreferredName@__";

} // namespace

TEST(FileWrapper, ReadsItsSerializedForm)
{
    const struct {
        const char *what;
        QByteArray record;
        const char *expected;
    } cases[] = {
        {"file", folder({{"..", data("bytes")}, {".", data("attributes")}, {nameKey, data("a.txt")}}),
         "a.txt=bytes"},
        {"file of another order", folder({{nameKey, data("a")}, {".", data("")}, {"..", data("x")}}), "a=x"},
        {"nameless file", folder({{"..", data("bytes")}}), "-=bytes"},
        {"empty name", folder({{"..", data("x")}, {nameKey, data("")}}), "-=x"},
        {"empty file", folder({{"..", data("")}, {nameKey, data("a")}}), "a="},
        {"name of another encoding", folder({{"..", data("x")}, {legacyNameKey, data("caf\x8E")}}),
         "caf\u00E9=x"},
        {"both names", folder({{"..", data("x")}, {legacyNameKey, data("old")}, {nameKey, data("n\u00E9w")}}),
         "n\u00E9w=x"},
        {"malformed name", folder({{"..", data("x")}, {nameKey, data("a\xFFz")}}), "a\uFFFDz=x"},
        {"padded", folder({{"..", paddedData("bytes", 4000)}, {nameKey, paddedData("a", 0)}}), "a=bytes"},
        {"file attributes that are none", folder({{"..", data("x")}, {".", "?"}}), "-=x"},
        {"folder",
         folder({{nameKey, data("pictures")}, {"a.png", data("A")}, {"b", data("B")}, {".", data("")}}),
         "pictures(a.png=A b=B)"},
        {"empty folder", folder({}), "-()"},
        {"folders in folders",
         folder(
             {{nameKey, data("top")},
              {"in", folder({{"deep", folder({{"a", data("A")}})}, {"file", folder({{"..", data("F")}})}})},
              {"b", data("B")}}),
         "top(in(deep(a=A) file=F) b=B)"},
        {"names that are paths", folder({{"../up", data("x")}, {"/root", data("y")}, {"", data("z")}}),
         "-(../up=x /root=y =z)"},
        {"bytes behind a record's end", folder({{"..", data("x") + "more"}}) + "more", "-=x"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(described(serialized(c.record)), c.expected) << c.what;

    const auto top = wrapperOf(serialized(folder({{"in", folder({{"a", data("AAA")}})}, {"b", data("BB")}})));
    EXPECT_EQ(top->totalSize(), 5);
}

TEST(FileWrapper, WhatIsNoSuchFormIsANamelessFile)
{
    QByteArray deep = data("x");
    for (int i = 0; i < 10'000; ++i)
        deep = folder({{"f", deep}});
    QByteArray deepest = data("x"); // which is still read
    for (int i = 0; i < 65; ++i)
        deepest = folder({{"f", deepest}});
    EXPECT_FALSE(wrapperOf(serialized(deepest))->isRegularFile());

    const QByteArray good = folder({{"..", data("bytes")}, {nameKey, data("a.txt")}});
    const QByteArray bytes[] = {
        "",
        "r",
        "\x89PNG\r\n",
        "rtfd",
        "rtfx" + number(0) + good,
        "rtfd" + number(1) + good,
        serialized(data("bytes")),
        serialized(number(2)),
        serialized(folder({{"..", folder({})}})), // contents that are a folder
        serialized(folder({{nameKey, number(3)}})),
        serialized(folder({{"a", number(2) + number(0)}})), // a record of an unknown type
        serialized(folder({{"a", ""}})),
        serialized(folder({{"a", number(1)}})),
        serialized(deep),
        serialized(folder({{"f", deepest}})),
    };
    for (const QByteArray &c : bytes) {
        const auto wrapper = wrapperOf(c);
        EXPECT_TRUE(wrapper->isRegularFile() && !wrapper->preferredFilename())
            << c.left(60).toHex().constData();
        EXPECT_EQ(wrapper->regularFileContents(), c);
    }
}

TEST(FileWrapper, NoLengthIsBelieved)
{
    const QByteArray records[] = {
        folder({{"..", data("bytes")}, {nameKey, data("a.txt")}}),
        folder({{"..", paddedData("bytes", 3)}, {nameKey, data("a.txt")}, {".", data("zz")}}),
        folder({{"folder", folder({{"a", data("A")}})}, {"b", data("B")}, {nameKey, data("top")}}),
    };
    for (const QByteArray &record : records) {
        const QByteArray whole = serialized(record);
        for (qsizetype at = 0; at < whole.size(); ++at) {
            EXPECT_EQ(wrapperOf(whole.first(at))->regularFileContents(), whole.first(at)) << at;
            for (const quint32 value : {0U, 1U, 3U, 5U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
                QByteArray changed = whole;
                changed.replace(at, 4, number(value));
                const auto wrapper = wrapperOf(changed);
                ASSERT_TRUE(wrapper);
                EXPECT_LE(wrapper->totalSize(), changed.size()) << at << ' ' << value;
            }
        }
    }
}
