#pragma once

#include "export/attachedfiles.h"
#include "export/options.h"

#include "conversation/conversation.h"

#include "platform/text/encoding.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <stdexcept>

namespace exporting {

/// Why a chat has no document: a small transcript can name one large text or file very many times.
class TooLarge : public std::runtime_error {
public:
    TooLarge() : std::runtime_error("it would become too large") {}
};

/// The bytes of a document, or of a part of one, on their way.
class Output {
public:
    /// The most that one chat may become, in bytes, given the size of its transcript: 64 MiB, and 16 times
    /// the transcript.
    [[nodiscard]] static constexpr qsizetype limitFor(qsizetype transcript)
    {
        return (qsizetype(1) << 26) + 16 * transcript;
    }

    explicit Output(qsizetype limit) : m_limit(limit) {}

    // Both throw TooLarge.
    Output &operator<<(QByteArrayView bytes)
    {
        m_bytes += bytes;
        check();
        return *this;
    }
    Output &operator<<(QStringView text) ///< as UTF-8
    {
        platform::appendUtf8(m_bytes, text);
        check();
        return *this;
    }

    /// For what appends by itself; check() is to be called after it.
    [[nodiscard]] QByteArray &bytes() { return m_bytes; }
    [[nodiscard]] qsizetype limit() const { return m_limit; }
    void check() const
    {
        if (m_bytes.size() > m_limit)
            throw TooLarge();
    }

private:
    QByteArray m_bytes;
    qsizetype m_limit;
};

/// A chat in a document.
struct Chat {
    const conversation::Conversation &conversation;
    const AttachedFiles &files; ///< where they stand
    QString transcript;         ///< path of the transcript, relative to its folder where it is in there
    QByteArray mailIdentity;    ///< in mails: what it is known by
};

/// Makes documents of one format: pure functions, whose results depend on what they are given, and on the
/// local time zone.
class Writer {
public:
    virtual ~Writer() = default;

    /// With the full stop.
    [[nodiscard]] virtual QString suffix() const = 0;
    /// What stands before the chats. @param title of the document.
    virtual void begin(Output &output, const QString &title) const = 0;
    /// A chat. @throws TooLarge
    virtual void add(Output &output, const Chat &chat) const = 0;
    /// What stands between two chats.
    [[nodiscard]] virtual QByteArrayView separator() const { return {}; }
    /// What stands behind the chats.
    virtual void end(Output &output) const = 0;
};

[[nodiscard]] std::unique_ptr<const Writer> writerFor(const Options &options);

// Each in a file of its own.
[[nodiscard]] std::unique_ptr<const Writer> htmlWriter(const Options &options);
[[nodiscard]] std::unique_ptr<const Writer> textWriter();
[[nodiscard]] std::unique_ptr<const Writer> markdownWriter();
[[nodiscard]] std::unique_ptr<const Writer> jsonWriter(const Options &options);
[[nodiscard]] std::unique_ptr<const Writer> csvWriter();
[[nodiscard]] std::unique_ptr<const Writer> mailWriter(const Options &options);

} // namespace exporting
