// Python's property list module and libplist as witnesses: they read what we write, and we what they write.

#include "dump.h"
#include "platform/files/files.h"
#include "platform/propertylist/xmlwriter.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <memory>

using platform::PropertyList;

namespace {

class Witness : public testing::Test {
protected:
    /// What the witness prints when it is run with these arguments on our file.
    std::string python(QStringList arguments) const
    {
        arguments.prepend(QStringLiteral(PRATTLEBUG_PROPERTY_LIST_WITNESS));
        arguments.append(path());
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(PRATTLEBUG_PYTHON), arguments);
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0);
        return process.readAllStandardOutput().toStdString();
    }
    QString path() const { return m_folder.filePath(QStringLiteral("list.plist")); }
    QByteArray file() const
    {
        return platform::readWholeFile(platform::pathFromString(path())).value_or("(none)");
    }
    void write(QByteArrayView bytes) const
    {
        EXPECT_TRUE(platform::writeAtomically(platform::pathFromString(path()), bytes));
    }

private:
    QTemporaryDir m_folder;
};

QByteArray written(const PropertyList &value)
{
    platform::XMLPropertyListWriter writer;
    writer.value(value);
    return writer.finish();
}

} // namespace

TEST_F(Witness, WritesWhatWeRead)
{
    for (const QStringList &arguments :
         {QStringList{QStringLiteral("make"), QStringLiteral("binary")},
          QStringList{QStringLiteral("make"), QStringLiteral("xml")}, QStringList{QStringLiteral("text")}}) {
        const std::string expected = python(arguments);
        ASSERT_GT(expected.size(), 1000U);
        EXPECT_EQ(dumpOf(file()), expected) << arguments.last().toStdString();
    }
}

TEST_F(Witness, ReadsWhatWeWrite)
{
    const std::string expected = python({QStringLiteral("make"), QStringLiteral("binary")});
    const QByteArray xml = written(platform::readPropertyList(file()));
    EXPECT_EQ(dumpOf(xml), expected);
    write(xml);
    EXPECT_EQ(python({QStringLiteral("read")}), expected);

    plist_t list = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &list);
    ASSERT_NE(list, nullptr);
    char *binary = nullptr;
    uint32_t length = 0;
    plist_to_bin(list, &binary, &length);
    EXPECT_EQ(dumpOf(QByteArray(binary, length)), expected);
    plist_to_bin_free(binary);
    plist_free(list);
}
