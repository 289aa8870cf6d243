#pragma once

#include <QByteArray>
#include <QStringView>

#include <stdexcept>
#include <vector>

namespace companion {

/// Writes one JSON document (RFC 8259) in UTF-8, value after value, indented.
///
/// Not QJsonDocument: what is written here can name one large value many times, and has to stop before it has
/// filled the memory.
class JsonWriter {
public:
    /// Thrown when the document has grown past the limit.
    class TooLarge : public std::runtime_error {
    public:
        TooLarge() : std::runtime_error("the output would be larger than 64 MiB") {}
    };
    static constexpr qsizetype largestDocument = qsizetype(64) << 20;

    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(QStringView key);

    void string(QStringView value);
    void integer(qint64 value);
    /// The shortest decimal that reads back to the same double; null when it is not finite. Always with a
    /// fraction or an exponent, so that it reads back as a real.
    void real(double value);
    void boolean(bool value) { literal(value ? "true" : "false"); }
    void null() { literal("null"); }

    [[nodiscard]] const QByteArray &document() const { return m_document; }

private:
    void open(char bracket);
    void close(char bracket);
    void literal(QByteArrayView text);
    void beforeValue();
    void newLine();
    void appendQuoted(QStringView text);

    QByteArray m_document;
    std::vector<bool> m_empty; ///< for each open container, whether nothing stands in it yet
    bool m_afterKey = false;
};

} // namespace companion
