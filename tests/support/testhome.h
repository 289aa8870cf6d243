#pragma once

#include "platform/host.h"

#include <QByteArray>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>

/// A test with a home folder, a login name and a time zone of its own, and a console log that it can read.
class TestHome : public testing::Test, private platform::Host {
protected:
    TestHome();
    ~TestHome() override;

    [[nodiscard]] std::filesystem::path home() const { return m_folder.path().toStdString(); }
    /// Writes a file below the home folder, making the folders on the way; its modification time can be
    /// given.
    std::filesystem::path write(const std::filesystem::path &relative, const QByteArray &bytes,
                                std::time_t modified = 0) const;
    [[nodiscard]] static QByteArray read(const std::filesystem::path &path);
    /// Sets a preference, in a file of its own making.
    void setPreferences(const QByteArray &xmlPairs) const;
    /// Sets the local time zone for this test; it starts as America/Los_Angeles.
    static void setTimeZone(const char *name);

    [[nodiscard]] const QByteArray &consoleLog() const { return m_log; }
    [[nodiscard]] int beeps() const { return m_beeps; }
    [[nodiscard]] const QStringList &dialogs() const { return m_dialogs; }

private:
    void consoleLine(QByteArrayView line) override;
    void beep() override { ++m_beeps; }
    void dialog(const QString &message) override { m_dialogs += message; }

    QTemporaryDir m_folder;
    QByteArray m_log;
    int m_beeps = 0;
    QStringList m_dialogs;
};
