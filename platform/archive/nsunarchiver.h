#pragma once

#include "platform/archive/classtable.h"
#include "platform/archive/coder.h"
#include "platform/archive/decodedobjects.h"
#include "platform/archive/typedstream/streamindex.h"
#include "platform/decodingbudget.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>

#include <memory>

namespace platform {

/// Reads typed streams, the platform's non-keyed archives, in either byte order.
///
/// Objects are made when they are asked for, each once. The operations of NSCoder and the ones below read on
/// from where the object that is being made has got to (outside of any object: in the stream). Everything
/// that the object's class does not ask for is passed over.
///
/// All operations throw FormatError when the stream is malformed, holds an object that contains itself, or
/// would take more memory than a file of its size may; after that the unarchiver is of no further use. An
/// object that is not laid out as its class is becomes an UnreadableObject, and the rest is read.
class NSUnarchiver final : public NSCoder {
public:
    /// Opens an unarchiver over a whole stream, which must be smaller than 2 GiB.
    /// @param classes what it can make; lent, and must outlive it.
    [[nodiscard]] static std::unique_ptr<NSUnarchiver> initForReadingWithData(const QByteArray &data,
                                                                              const ClassTable &classes);

    /// Whether @p bytes begin as a typed stream of either byte order does.
    [[nodiscard]] static bool looksLikeTypedStream(QByteArrayView bytes);

    /// From now on, objects archived under @p inArchiveName are made as those of the class @p trueName.
    void decodeClassName(const QByteArray &inArchiveName, const QByteArray &asClassName);

    [[nodiscard]] bool allowsKeyedCoding() const override { return false; }
    ObjectRef decodeObject() override;
    void decodeValueOfObjCType(char type, quint32 &at) override;
    ObjectRef decodeObjectForKey(QByteArrayView key) override;
    qint32 decodeInt32ForKey(QByteArrayView key) override;

    /// The type code of the next value (TypeEncoding::BytesCode for an array of bytes); NUL when there is
    /// none left.
    [[nodiscard]] char nextType();
    /// The next value, of any integer type; an unsigned one above the range is held at its upper end.
    [[nodiscard]] qint64 decodeInteger();
    /// The next value, of any integer or real type.
    [[nodiscard]] double decodeReal();
    /// The next value, an unshared string or an array of bytes. Valid as long as the unarchiver.
    [[nodiscard]] QByteArrayView decodeBytes();
    /// The next value, a C string; empty for nil. Valid as long as the unarchiver.
    [[nodiscard]] QByteArrayView decodeCString();
    /// Passes the next value, of any type.
    void skipValue();
    /// Whether the next value is an object of the class archived as @p className or of one derived from it.
    [[nodiscard]] bool nextIsObjectOfClass(QByteArrayView className);

    /// How many bytes of the object that is being made have not been read: a bound for how many values it can
    /// still hold.
    [[nodiscard]] quint32 bytesLeft() const { return m_cursor->end - m_cursor->offset; }
    void charge(quint64 count, quint64 size) override { m_budget.charge(count, size, offset()); }
    [[nodiscard]] qint64 offset() const override { return m_cursor->offset; }

private:
    using StreamIndex = typedstream::StreamIndex;

    /// How far an object, or the stream itself, has been read.
    struct Cursor {
        quint32 offset = 0;
        quint32 end = 0;                    ///< offset behind the object or the stream
        StreamIndex::Number nextNumber = 0; ///< what the next literal is numbered
        typedstream::Loops loops{};
        typedstream::GroupCursor group{};
    };
    /// What is known of a class that an object has been made of.
    struct KnownClass {
        const ClassMakers *makers = nullptr; ///< null when nobody knows it or any of its superclasses
        QString name{};                      ///< what a place-holder gets, once there has been one
    };

    NSUnarchiver(const QByteArray &data, const ClassTable &classes);

    [[nodiscard]] const ObjectRef &object(StreamIndex::Number number);
    [[nodiscard]] ObjectRef make(StreamIndex::Number number);
    /// What a place-holder for an object of the class gets for its class's name.
    [[nodiscard]] QString archivedName(StreamIndex::Number classNumber);
    [[nodiscard]] const ClassMakers *makersFor(StreamIndex::Number classNumber);
    [[nodiscard]] const ClassMakers *makersNamed(QByteArrayView className) const;
    void passValue() { m_cursor->group.advance(m_cursor->loops); }
    /// Reads what is at an object value: its number, none for nil.
    [[nodiscard]] StreamIndex::Number readObjectNumber();
    [[nodiscard]] char expectValue(const char *what);

    QByteArray m_data;
    const ClassTable &m_classes;
    DecodingBudget m_budget;
    StreamIndex m_index;
    quint32 m_scanned; ///< offset behind the last indexed group
    DecodedObjects m_objects;
    QHash<QByteArray, QByteArray> m_trueNames;
    QHash<StreamIndex::Number, KnownClass> m_knownClasses;
    Cursor m_stream;
    Cursor *m_cursor = &m_stream;
};

} // namespace platform
