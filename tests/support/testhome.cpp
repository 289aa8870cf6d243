#include "tests/support/testhome.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

TestHome::TestHome()
{
    setenv("HOME", m_folder.path().toUtf8().constData(), 1);
    setenv("USER", "sam", 1);
    setTimeZone("America/Los_Angeles");
    Host::install(this);
}

TestHome::~TestHome()
{
    Host::install(nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(home(), ignored); // QTemporaryDir cannot remove names that are no UTF-8
}

void TestHome::setTimeZone(const char *name)
{
    setenv("TZ", name, 1);
    tzset();
}

std::filesystem::path TestHome::write(const std::filesystem::path &relative, const QByteArray &bytes,
                                      std::time_t modified) const
{
    const std::filesystem::path path = home() / relative;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(bytes.constData(), bytes.size());
    stream.close();
    EXPECT_TRUE(stream) << path;
    if (modified != 0) {
        const timespec times[] = {{modified, 0}, {modified, 0}};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
    }
    return path;
}

QByteArray TestHome::read(const std::filesystem::path &path)
{
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream) << path;
    return QByteArray::fromStdString({std::istreambuf_iterator<char>(stream), {}});
}

void TestHome::setPreferences(const QByteArray &xmlPairs) const
{
    write("Library/Preferences/com.velmoria.prattlebug.plist",
          "<plist version=\"1.0\"><dict>" + xmlPairs + "</dict></plist>");
}

void TestHome::consoleLine(QByteArrayView line)
{
    m_log += line;
    m_log += '\n';
}
